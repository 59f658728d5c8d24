#include "support/SingletonManager.h"
#include "support/StdProcessTime.h"
#include "support/StdProcessWait.h"
#include "support/TestWait.h"
#include "support/TimerManager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>

using namespace Norvane::QDXDesktopSDK;
using StdProcessUtil::IsTimerScheduled;
using StdProcessUtil::ScheduleTimer;

namespace {

std::string ThreadName(std::string const& threadId)
{
    std::ifstream comm("/proc/self/task/" + threadId + "/comm");
    std::string name;
    std::getline(comm, name);
    return name;
}

// How many threads of this process carry the timer thread's name.
int TimerThreads()
{
    int count = 0;
    if (DIR* tasks = opendir("/proc/self/task")) {
        while (dirent const* entry = readdir(tasks)) {
            if (entry->d_name[0] != '.' && ThreadName(entry->d_name) == "QDXTimer")
                ++count;
        }
        closedir(tasks);
    }
    return count;
}

// Calls of a timer; shared with the callback, which may outlive the test's locals.
struct Calls {
    std::atomic<int> count{0};
    std::atomic<long long> lastTick{0};
    std::atomic<long long> lastThread{0};
};

TimerManager::TimerCallback Counting(std::shared_ptr<Calls> const& calls)
{
    return [calls](std::string const&) {
        calls->lastTick = StdProcessUtil::GetTickCount();
        calls->lastThread = StdProcessUtil::GetThreadId();
        ++calls->count;
    };
}

}  // namespace

TEST(TimerManagerTest, TimersFireWhenDueOnTheTimerThreadAndReplaceByName)
{
    EXPECT_FALSE(IsTimerScheduled("once"));
    EXPECT_EQ(nullptr, TimerManager::Instance(Singleton::GetExisting));

    auto once = std::make_shared<Calls>();
    auto hourly = std::make_shared<Calls>();
    auto replacement = std::make_shared<Calls>();
    long long const scheduled = StdProcessUtil::GetTickCount();
    ASSERT_TRUE(ScheduleTimer("once", -1, Counting(once)));
    ASSERT_TRUE(ScheduleTimer("job", 3600, Counting(hourly)));
    EXPECT_TRUE(IsTimerScheduled("once"));
    ASSERT_TRUE(WaitUntil([&] { return once->count == 1; }));
    EXPECT_GE(once->lastTick - scheduled, 991);
    EXPECT_EQ("QDXTimer", ThreadName(std::to_string(once->lastThread)));
    EXPECT_FALSE(IsTimerScheduled("once"));

    // The new period counts from now, not from the first scheduling.
    long long const rescheduled = StdProcessUtil::GetTickCount();
    ASSERT_TRUE(ScheduleTimer("job", -2, Counting(replacement)));
    ASSERT_TRUE(WaitUntil([&] { return replacement->count == 1; }));
    EXPECT_GE(replacement->lastTick - rescheduled, 1991);
    EXPECT_EQ(0, hourly->count);
    EXPECT_EQ(1, once->count);

    // Removal tells whether there was a timer to remove.
    EXPECT_FALSE(ScheduleTimer("job", 1, nullptr));
    ASSERT_TRUE(ScheduleTimer("job", 3600, Counting(hourly)));
    EXPECT_TRUE(ScheduleTimer("job", 1, nullptr));
    EXPECT_FALSE(IsTimerScheduled("job"));
}

TEST(TimerManagerTest, CallbacksMayRemoveTheirOwnTimerAndScheduleOthers)
{
    auto self = std::make_shared<Calls>();
    auto spawned = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("self", 0, [self, spawned](std::string const& name) {
        ++self->count;
        EXPECT_EQ("self", name);
        EXPECT_TRUE(ScheduleTimer(name, 0, nullptr));
        EXPECT_TRUE(ScheduleTimer("spawned", -1, Counting(spawned)));
    }));
    ASSERT_TRUE(WaitUntil([&] { return spawned->count == 1; }));
    EXPECT_EQ(1, self->count);
    EXPECT_FALSE(IsTimerScheduled("self"));
}

TEST(TimerManagerTest, ConcurrentSchedulingKeepsOneThread)
{
    // Racing to start the thread, and replacing and removing timers while it
    // runs, must never bring up a second loop.
    std::atomic<bool> go{false};
    std::atomic<int> done{0};
    auto fired = std::make_shared<Calls>();
    std::vector<std::thread> schedulers;
    for (int i = 0; i < 4; ++i) {
        schedulers.emplace_back([&, i] {
            while (!go)
                std::this_thread::yield();
            std::string const name = "t" + std::to_string(i);
            for (int round = 0; round < 50; ++round) {
                ScheduleTimer(name, round % 2 == 0 ? 0 : -1, Counting(fired));
                ScheduleTimer("", 0, nullptr);
                ScheduleTimer(name, 0, nullptr);
            }
            ScheduleTimer(name, -1, Counting(fired));
            ++done;
        });
    }
    go = true;
    int most = 0;
    while (done < 4)
        most = std::max(most, TimerThreads());
    for (std::thread& scheduler : schedulers)
        scheduler.join();
    EXPECT_LE(most, 1);
    EXPECT_TRUE(WaitUntil([] {
        return !IsTimerScheduled("t0") && !IsTimerScheduled("t1") && !IsTimerScheduled("t2") &&
               !IsTimerScheduled("t3");
    }));
}

TEST(TimerManagerTest, ManualPassesRunAtMostOncePerSecond)
{
    auto passes = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("passes", 0, Counting(passes)));  // due at every pass
    ASSERT_TRUE(WaitUntil([] { return TimerThreads() == 1; }));
    // Stopping the thread leaves the passes to this thread alone.
    EXPECT_TRUE(ScheduleTimer("_ManualTrigger", 0, nullptr));
    EXPECT_FALSE(IsTimerScheduled("_ManualTrigger"));
    ASSERT_TRUE(WaitUntil([] { return TimerThreads() == 0; }));

    // Only a second call within 991 ms of the first proves anything; a
    // stalled machine gets another attempt.
    bool checked = false;
    for (int attempt = 0; attempt < 5 && !checked; ++attempt) {
        int const before = passes->count;
        long long firstCall = 0;
        ASSERT_TRUE(WaitUntil([&] {
            firstCall = StdProcessUtil::GetTickCount();
            return ScheduleTimer("", 0, nullptr) && passes->count > before;
        }));
        EXPECT_EQ(StdProcessUtil::GetThreadId(), passes->lastThread);
        ScheduleTimer("", 0, nullptr);
        if (StdProcessUtil::GetTickCount() - firstCall < 991) {
            EXPECT_EQ(before + 1, passes->count);
            checked = true;
        }
    }
    EXPECT_TRUE(checked);
}

TEST(TimerManagerTest, ThreadEndsWhenIdleAndTheNextTimerStartsAnother)
{
    auto once = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("once", -1, Counting(once)));
    ASSERT_TRUE(WaitUntil([&] { return once->count == 1; }));
    // About three seconds after the last timer; allow plenty more.
    EXPECT_TRUE(StdProcessUtil::WaitForCondition([](void*) { return TimerThreads() == 0; }, nullptr, 30000, 10));

    ASSERT_TRUE(ScheduleTimer("again", -1, Counting(once)));
    EXPECT_TRUE(WaitUntil([] { return TimerThreads() == 1; }));
    EXPECT_TRUE(WaitUntil([&] { return once->count == 2; }));
}

TEST(TimerManagerTest, DestroyRequestsStopTheThreadEvenFromItsOwnCallback)
{
    auto passes = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("passes", 0, Counting(passes)));
    ASSERT_TRUE(WaitUntil([&] { return passes->count >= 1; }));
    EXPECT_EQ(nullptr, TimerManager::Instance(Singleton::Destroy));
    EXPECT_TRUE(WaitUntil([] { return TimerThreads() == 0; }));
    EXPECT_FALSE(IsTimerScheduled("passes"));

    // The thread cannot wait for itself; its loop must end all the same, and
    // finish its pass without the manager. Armed only once this thread is
    // done with the manager: destroying it while another thread is still
    // inside one of its calls is not allowed.
    auto armed = std::make_shared<std::atomic<bool>>(false);
    auto destroyer = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("destroyer", 0, [armed, destroyer](std::string const&) {
        if (*armed && ++destroyer->count == 1)
            TimerManager::Instance(Singleton::Destroy);
    }));
    ASSERT_TRUE(ScheduleTimer("other", 0, Counting(passes)));  // runs after the destroyer
    *armed = true;
    ASSERT_TRUE(WaitUntil([&] { return destroyer->count >= 1; }));
    EXPECT_TRUE(WaitUntil([] { return TimerThreads() == 0; }));
    EXPECT_EQ(nullptr, TimerManager::Instance(Singleton::GetExisting));
}

TEST(TimerManagerTest, RegistryDestructionDuringACallbackStopsTheThread)
{
    struct Shutdown {
        std::atomic<bool> entered{false};
        std::atomic<bool> destroying{false};
    };
    auto shutdown = std::make_shared<Shutdown>();
    ASSERT_TRUE(ScheduleTimer("slow", 0, [shutdown](std::string const&) {
        shutdown->entered = true;
        WaitUntil([&] { return shutdown->destroying.load(); });
        // Still busy while the destruction begins; then it asks for more.
        StdProcessUtil::Sleep(50);
        ScheduleTimer("late", 1, [](std::string const&) {});
    }));
    ASSERT_TRUE(WaitUntil([&] { return shutdown->entered.load(); }));
    shutdown->destroying = true;
    EXPECT_EQ(nullptr, SingletonManager::Instance(Singleton::Destroy));
    EXPECT_TRUE(WaitUntil([] { return TimerThreads() == 0; }));

    // A new registry brings a new manager and thread.
    auto after = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("after", -1, Counting(after)));
    EXPECT_TRUE(WaitUntil([&] { return after->count == 1; }));
}
