#include "ThreadWaits.h"
#include "support/SingletonManager.h"
#include "support/StdProcessTime.h"
#include "support/StdProcessWait.h"
#include "support/TimerManager.h"
#include <gtest/gtest.h>
#include <atomic>
#include <memory>
#include <string>
#include <dirent.h>

using namespace Norvane::QDXDesktopSDK;
using namespace Norvane::QDXDesktopSDK::StdProcessUtil;

namespace {
int TimerThreads()
{
    int count = 0;
    if (DIR* tasks = opendir("/proc/self/task")) {
        while (dirent const* entry = readdir(tasks))
            count += entry->d_name[0] != '.' && ThreadName(entry->d_name) == "QDXTimer";
        closedir(tasks);
    }
    return count;
}
// Shared with the callback, which may outlive the test's locals.
struct Calls {
    std::atomic<int> count{0};
    std::atomic<long long> lastTick{0};
    std::atomic<long long> lastThread{0};
};
TimerManager::TimerCallback Counting(std::shared_ptr<Calls> const& calls)
{
    return [calls](std::string const&) {
        calls->lastTick = GetTickCount();
        calls->lastThread = GetThreadId();
        ++calls->count;
    };
}
}  // namespace

TEST(TimerManagerTest, OneShotReschedulingIdleThreadEndAndCallbacksChangingTimers)
{
    auto once = std::make_shared<Calls>();
    auto hourly = std::make_shared<Calls>();
    auto replacement = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("once", -1, Counting(once)));
    ASSERT_TRUE(ScheduleTimer("job", 3600, Counting(hourly)));
    EXPECT_TRUE(IsTimerScheduled("once"));
    ASSERT_TRUE(WaitUntil([&] { return once->count == 1; }));
    EXPECT_EQ("QDXTimer", ThreadName(std::to_string(once->lastThread)));
    EXPECT_FALSE(IsTimerScheduled("once"));
    long long const rescheduled = GetTickCount();
    ASSERT_TRUE(ScheduleTimer("job", -2, Counting(replacement)));
    ASSERT_TRUE(WaitUntil([&] { return replacement->count == 1; }));
    EXPECT_GE(replacement->lastTick - rescheduled, 1991);
    EXPECT_EQ(0, hourly->count);
    EXPECT_EQ(1, once->count);
    EXPECT_FALSE(ScheduleTimer("job", 1, nullptr));
    // The idle thread ends by itself (about three seconds); the next timer starts another.
    EXPECT_TRUE(WaitForCondition([](void*) { return TimerThreads() == 0; }, nullptr, 30000, 10));
    // A callback may remove its own timer and schedule another.
    auto self = std::make_shared<Calls>();
    auto spawned = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("self", 0, [self, spawned](std::string const& name) {
        ++self->count;
        EXPECT_TRUE(ScheduleTimer(name, 0, nullptr));
        EXPECT_TRUE(ScheduleTimer("spawned", -1, Counting(spawned)));
    }));
    EXPECT_TRUE(WaitUntil([] { return TimerThreads() == 1; }));
    ASSERT_TRUE(WaitUntil([&] { return spawned->count == 1; }));
    EXPECT_EQ(1, self->count);
    EXPECT_FALSE(IsTimerScheduled("self"));
}

TEST(TimerManagerTest, ManualPassesRunAtMostOncePerSecond)
{
    auto passes = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("passes", 0, Counting(passes)));  // due at every pass
    ASSERT_TRUE(WaitUntil([] { return TimerThreads() == 1; }));
    EXPECT_TRUE(ScheduleTimer("_ManualTrigger", 0, nullptr));  // stops the thread
    ASSERT_TRUE(WaitUntil([] { return TimerThreads() == 0; }));
    // Only a second call within 991 ms of the first proves anything; a stalled machine tries again.
    bool checked = false;
    for (int attempt = 0; attempt < 5 && !checked; ++attempt) {
        int const before = passes->count;
        long long firstCall = 0;
        ASSERT_TRUE(WaitUntil([&] {
            firstCall = GetTickCount();
            return ScheduleTimer("", 0, nullptr) && passes->count > before;
        }));
        EXPECT_EQ(GetThreadId(), passes->lastThread);
        ScheduleTimer("", 0, nullptr);
        if (GetTickCount() - firstCall < 991) {
            EXPECT_EQ(before + 1, passes->count);
            checked = true;
        }
    }
    EXPECT_TRUE(checked);
}

TEST(TimerManagerTest, RegistryDestructionDuringACallbackStopsTheThread)
{
    auto entered = std::make_shared<std::atomic<bool>>(false);
    auto destroying = std::make_shared<std::atomic<bool>>(false);
    ASSERT_TRUE(ScheduleTimer("slow", 0, [entered, destroying](std::string const&) {
        *entered = true;
        WaitUntil([&] { return destroying->load(); });
        Sleep(50);  // still busy while the destruction begins; then it asks for more
        ScheduleTimer("late", 1, [](std::string const&) {});
    }));
    ASSERT_TRUE(WaitUntil([&] { return entered->load(); }));
    *destroying = true;
    EXPECT_EQ(nullptr, SingletonManager::Instance(Singleton::Destroy));
    EXPECT_TRUE(WaitUntil([] { return TimerThreads() == 0; }));
    auto after = std::make_shared<Calls>();
    ASSERT_TRUE(ScheduleTimer("after", -1, Counting(after)));
    EXPECT_TRUE(WaitUntil([&] { return after->count == 1; }));
}

TEST(TimerManagerTest, AStopAskedForDuringAPassDoesNotCutTheNextThreadsFirstSleep)
{
    // The first pass of a restarted thread comes a second after its start, so a manual pass made
    // at once is the first; only a manual pass well within that second proves anything, and a
    // stalled machine tries again.
    bool checked = false;
    for (int attempt = 0; attempt < 5 && !checked; ++attempt) {
        auto stopped = std::make_shared<Calls>();
        ASSERT_TRUE(ScheduleTimer("stopper", 0, [stopped](std::string const& name) {
            ScheduleTimer(name, 0, nullptr);
            ScheduleTimer("_ManualTrigger", 0, nullptr);  // asked while the loop runs this pass
            Counting(stopped)(name);
        }));
        ASSERT_TRUE(WaitUntil([&] { return stopped->count == 1 && TimerThreads() == 0; }));
        // Past the least gap between two passes, which would hold back any pass.
        ASSERT_TRUE(WaitUntil([&] { return GetTickCount() - stopped->lastTick > 1500; }));
        auto probe = std::make_shared<Calls>();
        long long const restart = GetTickCount();
        ASSERT_TRUE(ScheduleTimer("probe", 0, Counting(probe)));  // due at every pass
        Sleep(250);  // time enough for a thread that does not sleep first to make its pass
        ScheduleTimer("", 0, nullptr);
        bool const inTime = GetTickCount() - restart < 900;
        ScheduleTimer("probe", 0, nullptr);
        ScheduleTimer("_ManualTrigger", 0, nullptr);
        if (inTime) {
            EXPECT_EQ(1, probe->count);
            EXPECT_EQ(GetThreadId(), probe->lastThread);
            checked = true;
        }
    }
    EXPECT_TRUE(checked);
}
