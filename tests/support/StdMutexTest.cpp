#include "support/StdMutex.h"
#include "support/StdProcessTime.h"
#include "support/TestWait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace Norvane::QDXDesktopSDK;

TEST(StdMutexTest, HolderRelocksAndEveryLevelIsCounted)
{
    StdMutex mutex;
    {
        StdAutoMutexLock guard(mutex, -1);
        ASSERT_TRUE(guard.IsLocked());
        ASSERT_TRUE(mutex.try_lock_for(0));
        ASSERT_TRUE(mutex.try_lock_for(50));
        EXPECT_EQ(3, mutex.GetRecursionCount());
        EXPECT_EQ(StdProcessUtil::GetThreadId(), mutex.GetOwnerThreadId());
        mutex.unlock();
        mutex.unlock();
        EXPECT_EQ(1, mutex.GetRecursionCount());
        EXPECT_EQ(StdProcessUtil::GetThreadId(), mutex.GetOwnerThreadId());
    }
    EXPECT_EQ(0, mutex.GetRecursionCount());
    EXPECT_EQ(0, mutex.GetOwnerThreadId());
}

TEST(StdMutexTest, OtherThreadGetsInOnlyAfterEveryLevelIsReleased)
{
    StdMutex mutex;
    ASSERT_TRUE(mutex.lock());
    ASSERT_TRUE(mutex.lock());
    // The holder releases one level per round; the other thread tries in each.
    std::atomic<int> released{0};
    std::atomic<int> tried{0};
    std::atomic<int> refused{0};
    long long otherTid = 0;
    long long otherOwner = 0;
    std::thread other([&] {
        otherTid = StdProcessUtil::GetThreadId();
        for (int round = 0; round < 2; ++round) {
            WaitUntil([&] { return released == round; });
            {
                StdAutoMutexLock guard(mutex, 0);
                if (!guard.IsLocked() && !mutex.try_lock_for(20))
                    ++refused;
            }
            ++tried;
        }
        WaitUntil([&] { return released == 2; });
        StdAutoMutexLock guard(mutex, 10000);
        if (guard.IsLocked())
            otherOwner = mutex.GetOwnerThreadId();
    });
    for (int round = 1; round <= 2; ++round) {
        ASSERT_TRUE(WaitUntil([&] { return tried == round; }));
        // A guard that failed must not have released one of the holder's levels.
        EXPECT_EQ(3 - round, mutex.GetRecursionCount());
        mutex.unlock();
        released = round;
    }
    other.join();
    EXPECT_EQ(2, refused.load());
    EXPECT_EQ(otherTid, otherOwner);
    EXPECT_EQ(0, mutex.GetRecursionCount());
}
