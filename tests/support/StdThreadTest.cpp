#include "support/StdProcessTime.h"
#include "support/StdThread.h"
#include "support/TestWait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <unistd.h>

using namespace Norvane::QDXDesktopSDK;

namespace {

bool ThreadExists(long long threadId)
{
    return access(("/proc/self/task/" + std::to_string(threadId)).c_str(), F_OK) == 0;
}

// What blocked thread functions saw. Shared with them, since their threads
// may outlive the objects, and the test's locals, that started them.
struct Gate {
    std::atomic<bool> open{false};
    std::atomic<int> runs{0};
    std::atomic<long long> ranOn{0};
    std::atomic<void*> argument{nullptr};
};

// Runs until the gate opens, then returns `result`.
StdThread::ThreadFunction Blocked(std::shared_ptr<Gate> const& gate, int result)
{
    return [gate, result](void* argument) {
        gate->ranOn = StdProcessUtil::GetThreadId();
        gate->argument = argument;
        ++gate->runs;
        while (!gate->open)
            StdProcessUtil::Sleep(1);
        return result;
    };
}

}  // namespace

TEST(StdThreadTest, RunReportsTheRunningThreadAndItsResult)
{
    StdThread thread;
    EXPECT_EQ(0, thread.GetThreadId());
    EXPECT_EQ(-2, thread.GetExitCode());

    auto gate = std::make_shared<Gate>();
    int value = 0;
    long long const started = thread.Run(Blocked(gate, 7), &value);
    ASSERT_TRUE(WaitUntil([&] { return gate->runs == 1; }));
    long long const id = thread.GetThreadId();
    EXPECT_TRUE(started == id || started == -1);  // -1: the thread took over a second to start
    EXPECT_EQ(id, gate->ranOn);
    EXPECT_NE(StdProcessUtil::GetThreadId(), id);
    EXPECT_EQ(&value, gate->argument);
    EXPECT_EQ(-1, thread.GetExitCode());

    // A running object starts nothing more.
    EXPECT_EQ(id, thread.Run([](void*) { return 0; }, nullptr));
    EXPECT_EQ(id, thread.GetThreadId());
    EXPECT_FALSE(thread.Wait(0));

    gate->open = true;
    EXPECT_TRUE(thread.Wait(10000));
    EXPECT_EQ(0, thread.GetThreadId());
    EXPECT_EQ(7, thread.GetExitCode());
    EXPECT_EQ(1, gate->runs);
    EXPECT_TRUE(thread.Wait(0));
}

TEST(StdThreadTest, ClosedAndDeletedObjectsLeaveTheirThreadsToFinishAlone)
{
    auto gate = std::make_shared<Gate>();
    StdThread closed(Blocked(gate, 5), nullptr);
    auto* deleted = new StdThread(Blocked(gate, 6), nullptr);
    ASSERT_TRUE(WaitUntil([&] { return closed.IsRunning() && deleted->IsRunning(); }));
    long long const closedId = closed.GetThreadId();
    long long const deletedId = deleted->GetThreadId();

    closed.Close();
    EXPECT_EQ(closedId, closed.GetThreadId());
    EXPECT_EQ(-1, closed.GetExitCode());
    delete deleted;

    // The last hand-overs must not write into the objects; the address
    // sanitizer build watches the deleted one.
    gate->open = true;
    ASSERT_TRUE(WaitUntil([&] { return !ThreadExists(closedId) && !ThreadExists(deletedId); }));
    EXPECT_EQ(closedId, closed.GetThreadId());
    EXPECT_EQ(-1, closed.GetExitCode());

    // Nothing is left to wait for, and the object can be used again.
    EXPECT_TRUE(closed.Wait(0));
    EXPECT_EQ(0, closed.GetThreadId());
    closed.Run([](void*) { return 9; }, nullptr);
    EXPECT_TRUE(closed.Wait(10000));
    EXPECT_EQ(9, closed.GetExitCode());
}

TEST(StdThreadTest, ObjectsLetGoWhileTheirThreadsFinish)
{
    // Quick functions race their last hand-over against Close and the
    // destructor; the sanitizer builds watch every one of them.
    struct Finished {
        std::mutex mutex;
        std::vector<long long> threads;  // guarded by mutex
    };
    auto finished = std::make_shared<Finished>();
    for (int i = 0; i < 40; ++i) {
        StdThread thread(
            [finished](void*) {
                std::lock_guard<std::mutex> lock(finished->mutex);
                finished->threads.push_back(StdProcessUtil::GetThreadId());
                return 0;
            },
            nullptr);
        if (i % 2 == 0)
            thread.Close();
    }
    EXPECT_TRUE(WaitUntil([&] {
        std::lock_guard<std::mutex> lock(finished->mutex);
        for (long long id : finished->threads) {
            if (ThreadExists(id))
                return false;
        }
        return finished->threads.size() == 40;
    }));
}

TEST(StdThreadTest, WorkerThreadsRunMainThreadFunctionsThemselves)
{
    EXPECT_TRUE(StdThread::IsCurrentThreadIsMainThread());
    EXPECT_EQ(0, StdThread::RunFunctionOnMainThread(StdThread::ThreadFunction(), nullptr));

    // Written by the worker, read here after Wait saw its last hand-over.
    long long ids[2] = {0, 0};
    StdThread worker(
        [](void* argument) {
            auto* seen = static_cast<long long*>(argument);
            seen[0] = StdProcessUtil::GetThreadId();
            auto const onRunner = [](void* same) {
                static_cast<long long*>(same)[1] = StdProcessUtil::GetThreadId();
                return StdThread::IsCurrentThreadIsMainThread() ? 1 : 42;
            };
            return StdThread::RunFunctionOnMainThread(onRunner, seen);
        },
        ids);
    ASSERT_TRUE(worker.Wait(10000));
    EXPECT_EQ(42, worker.GetExitCode());
    EXPECT_NE(0, ids[0]);
    EXPECT_EQ(ids[0], ids[1]);
}
