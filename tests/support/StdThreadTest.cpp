#include "ThreadWaits.h"
#include "support/CountTimer.h"
#include "support/SingletonManager.h"
#include "support/StdConditionVariable.h"
#include "support/StdMutex.h"
#include "support/StdProcessTime.h"
#include "support/StdProcessWait.h"
#include "support/StdReadWriteLock.h"
#include "support/StdSemaphore.h"
#include "support/StdThread.h"
#include <gtest/gtest.h>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>
#include <sys/wait.h>
#include <unistd.h>

using namespace Norvane::QDXDesktopSDK;
using namespace Norvane::QDXDesktopSDK::StdProcessUtil;

namespace {
// Shared with the thread functions, whose threads may outlive the objects that started them.
struct Gate {
    std::atomic<bool> open{false};
    std::atomic<int> runs{0};
};
StdThread::ThreadFunction Blocked(std::shared_ptr<Gate> const& gate, int result)
{
    return [gate, result](void*) {
        ++gate->runs;
        while (!gate->open)
            Sleep(1);
        return result;
    };
}
// Never destroyed: the singleton registry outlives this file's statics and
// destroys the probes still registered when the process exits.
std::mutex& s_journalMutex = *new std::mutex;
std::vector<std::string>& s_destroyed = *new std::vector<std::string>;  // guarded by s_journalMutex
struct Probe : Singleton {
    static inline std::atomic<int> s_created{0};
    Probe() { ++s_created; }
    ~Probe() override
    {
        std::lock_guard<std::mutex> lock(s_journalMutex);
        s_destroyed.push_back(GetSingletonName());
    }
    static Singleton* Create(Singleton*& slot, SingletonFlag flag)
    {
        return flag == GetOrCreate && slot == nullptr ? slot = new Probe() : slot;
    }
    static Singleton* Get(SingletonFlag flag, char const* name, int order = 1)
    {
        return Singleton::GetInstanceImpl(&Create, flag, name, order);
    }
};
}  // namespace

TEST(StdThreadTest, RunOnARunningObjectStartsNothing)
{
    StdThread thread;
    auto gate = std::make_shared<Gate>();
    thread.Run(Blocked(gate, 7), nullptr);
    ASSERT_TRUE(WaitUntil([&] { return gate->runs == 1; }));
    long long const id = thread.GetThreadId();
    EXPECT_NE(0, id);
    EXPECT_EQ(-1, thread.GetExitCode());
    EXPECT_EQ(id, thread.Run([](void*) { return 0; }, nullptr));
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
    delete deleted;  // the sanitizer builds watch the last hand-over
    // Closed, the object still counts its thread as running: no wait ends early, no second thread starts.
    EXPECT_FALSE(closed.Wait(0));
    EXPECT_EQ(closedId, closed.Run(Blocked(gate, 8), nullptr));
    gate->open = true;
    auto const gone = [](long long id) { return ThreadName(std::to_string(id)).empty(); };
    ASSERT_TRUE(WaitUntil([&] { return gone(closedId) && gone(deletedId); }));
    EXPECT_EQ(closedId, closed.GetThreadId());
    EXPECT_EQ(-1, closed.GetExitCode());
    ASSERT_TRUE(closed.Wait(10000));
    EXPECT_EQ(0, closed.GetThreadId());
    EXPECT_EQ(-1, closed.GetExitCode());  // the result of a thread let go of is discarded
    EXPECT_EQ(2, gate->runs);
}

TEST(StdThreadTest, WorkerThreadsRunMainThreadFunctionsThemselves)
{
    StdThread worker(
        [](void*) {
            long long self = GetThreadId();
            return StdThread::RunFunctionOnMainThread(
                [](void* id) {
                    return GetThreadId() == *static_cast<long long*>(id) && !StdThread::IsCurrentThreadIsMainThread()
                               ? 42
                               : 1;
                },
                &self);
        },
        nullptr);
    ASSERT_TRUE(worker.Wait(10000));
    EXPECT_EQ(42, worker.GetExitCode());
}

TEST(StdMutexTest, OtherThreadGetsInOnlyAfterEveryLevelIsReleased)
{
    StdMutex mutex;
    ASSERT_TRUE(mutex.lock());
    ASSERT_TRUE(mutex.try_lock_for(0));
    EXPECT_EQ(2, mutex.GetRecursionCount());
    auto const otherLocks = [&](int milliseconds) {
        bool locked = false;
        std::thread([&] {
            if ((locked = mutex.try_lock_for(milliseconds)))
                mutex.unlock();
        }).join();
        return locked;
    };
    EXPECT_FALSE(otherLocks(20));
    mutex.unlock();
    EXPECT_FALSE(otherLocks(20));
    EXPECT_EQ(GetThreadId(), mutex.GetOwnerThreadId());
    mutex.unlock();
    EXPECT_TRUE(otherLocks(10000));
    EXPECT_EQ(0, mutex.GetRecursionCount());
}

TEST(StdConditionVariableTest, RememberedSignalSemaphoreAndReadWriteLockWithARefusedReaderUndone)
{
    StdConditionVariable condition;
    condition.Signal(false);
    condition.Signal(false);
    EXPECT_TRUE(condition.WaitForSignal(0));
    EXPECT_FALSE(condition.WaitForSignal(20));
    StdSemaphore semaphore(2);
    EXPECT_TRUE(semaphore.WaitForSignal(0));
    EXPECT_TRUE(semaphore.WaitForSignal(0));
    EXPECT_FALSE(semaphore.WaitForSignal(20));
    bool taken = false;
    std::thread waiter([&] { taken = semaphore.WaitForSignal(10000); });
    semaphore.Release();
    waiter.join();
    EXPECT_TRUE(taken);
    EXPECT_FALSE(semaphore.WaitForSignal(0));
    StdReadWriteLock lock;
    ASSERT_TRUE(lock.LockRead(0));
    bool secondReader = false;
    std::thread([&] { secondReader = lock.LockRead(1000); }).join();
    EXPECT_TRUE(secondReader);
    lock.UnlockRead();
    EXPECT_FALSE(lock.LockWrite(0));
    lock.UnlockRead();
    ASSERT_TRUE(lock.LockWrite(0));
    bool readerDuringWrite = true;
    std::thread([&] { readerDuringWrite = lock.LockRead(20); }).join();
    EXPECT_FALSE(readerDuringWrite);
    lock.UnlockWrite();
    ASSERT_TRUE(lock.LockRead(0));
    EXPECT_FALSE(lock.LockWrite(0));
    lock.UnlockRead();
    EXPECT_TRUE(lock.LockWrite(0));
}

TEST(CountTimerTest, UpdatesOnceTheIntervalPassedAndCountsDownToZero)
{
    CountTimer timer(20, false, false);
    EXPECT_FALSE(CountTimer(60000, false, false).UpdateTimeDuration(false));
    EXPECT_FALSE(CountTimer(-1, false, false).UpdateTimeDuration(false));
    EXPECT_TRUE(CountTimer(60000, false, false).UpdateTimeDuration(true));
    CountTimer unlimited(-1, false, true);  // starts due; must not overflow its step
    EXPECT_TRUE(unlimited.UpdateTimeDuration(false));
    EXPECT_FALSE(unlimited.UpdateTimeDuration(false));
    long long start = GetTickCount();
    ASSERT_TRUE(WaitUntil([&] { return GetTickCount() - start >= 20; }));
    ASSERT_TRUE(timer.UpdateTimeDuration(false));
    EXPECT_GE(timer.GetTimeDuration(), 20);
    EXPECT_GE(timer.GetLastStep(), 20);
    timer.SetTimeDuration(5);
    start = GetTickCount();
    ASSERT_TRUE(WaitUntil([&] { return GetTickCount() - start >= 10; }));
    EXPECT_EQ(0, timer.GetTimeDuration(true));
    EXPECT_EQ(0, timer.GetTimeDuration(true));
}

TEST(StdProcessTimeTest, LocalTimeStringIdsFreshInAForkChildAndWaitForCondition)
{
    setenv("TZ", "XST-2", 1);
    tzset();
    EXPECT_EQ("2023-11-15T00:13:20.000123+0200", GetLocalTimeString(Time_Millisecond, 1700000000123LL, ""));
    EXPECT_EQ("00:13:20.123456789", GetLocalTimeString(Time_Nanosecond, 1700000000123456789LL, "%H:%M:%S"));
    EXPECT_EQ(static_cast<long long>(getpid()), GetPid());
    EXPECT_EQ(GetPid(), GetThreadId());
    long long const parentPid = GetPid();
    pid_t const child = fork();
    ASSERT_NE(-1, child);
    if (child == 0)
        _exit(GetPid() == getpid() && GetPid() != parentPid && GetThreadId() == getpid() ? 0 : 1);
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    int tests = 0;  // WaitForCondition
    auto const holdsFrom3 = [](void* count) { return ++*static_cast<int*>(count) >= 3; };
    EXPECT_TRUE(WaitForCondition(holdsFrom3, &tests, -1, 0));
    EXPECT_EQ(3, tests);
    tests = 1;  // holds from the next test on, as if a thread ended during the interval
    EXPECT_FALSE(WaitForCondition(holdsFrom3, &tests, 0, 5));  // tests, sleeps once, then the time is up
    EXPECT_EQ(2, tests);
}

TEST(SingletonManagerTest, RacingRequestsGetOneInstanceDestroyedByDescendingOrderThenNameAndCreatedAgain)
{
    // Construction waits until both requests are under way.
    static std::atomic<int> s_requests{0};
    auto const slowCreate = [](Singleton*& slot, Singleton::SingletonFlag flag) -> Singleton* {
        if (flag == Singleton::GetOrCreate && slot == nullptr)
            WaitUntil([] { return s_requests == 2; });
        return Probe::Create(slot, flag);
    };
    Singleton* results[2] = {nullptr, nullptr};
    auto const race = [&](int i) {
        ++s_requests;
        results[i] = Singleton::GetInstanceImpl(slowCreate, Singleton::GetOrCreate, "Slow", 2);
    };
    std::thread first(race, 0), second(race, 1);
    first.join();
    second.join();
    ASSERT_NE(nullptr, results[0]);
    EXPECT_EQ(results[0], results[1]);
    EXPECT_EQ(nullptr, Probe::Get(Singleton::GetExisting, "Gone"));
    Singleton* gone = Probe::Get(Singleton::GetOrCreate, "Gone", 20);
    ASSERT_NE(nullptr, gone);
    EXPECT_EQ(gone, Probe::Get(Singleton::GetOrCreate, "Gone"));
    EXPECT_EQ(nullptr, Probe::Get(Singleton::Destroy, "Gone"));
    EXPECT_EQ(nullptr, Probe::Get(Singleton::GetExisting, "Gone"));
    ASSERT_NE(nullptr, Probe::Get(Singleton::GetOrCreate, "Gone", 20));
    for (auto [name, order] : {std::pair{"One", 1}, {"Twelve", 12}, {"Seven", 7}, {"AlsoSeven", 7}})
        Probe::Get(Singleton::GetOrCreate, name, order);
    EXPECT_EQ(nullptr, SingletonManager::Instance(Singleton::Destroy));
    EXPECT_EQ((std::vector<std::string>{"Gone", "Gone", "Twelve", "AlsoSeven", "Seven", "Slow", "One"}), s_destroyed);
    EXPECT_EQ(nullptr, SingletonManager::Instance(Singleton::GetExisting));
    ASSERT_NE(nullptr, Probe::Get(Singleton::GetOrCreate, "One", 1));
    EXPECT_EQ(8, Probe::s_created.load());
}
