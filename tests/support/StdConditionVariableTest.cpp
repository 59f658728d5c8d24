#include "support/StdConditionVariable.h"
#include "support/StdProcessTime.h"
#include "support/StdReadWriteLock.h"
#include "support/StdSemaphore.h"
#include "support/TestWait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace Norvane::QDXDesktopSDK;

TEST(StdConditionVariableTest, SignalWithoutWaiterIsRememberedOnce)
{
    StdConditionVariable condition;
    condition.Signal(false);
    condition.Signal(false);
    EXPECT_TRUE(condition.WaitForSignal(0));
    EXPECT_FALSE(condition.WaitForSignal(20));
}

TEST(StdConditionVariableTest, WaitWithoutSignalRunsOutAfterItsTimeOut)
{
    StdConditionVariable condition;
    long long const start = StdProcessUtil::GetTickCount();
    EXPECT_FALSE(condition.WaitForSignal(50));
    EXPECT_GE(StdProcessUtil::GetTickCount() - start, 50);
}

TEST(StdConditionVariableTest, EveryWaiterConsumesOneSignal)
{
    StdConditionVariable condition;
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            if (condition.WaitForSignal(-1))
                ++woken;
        });
    }
    // Signals given before a waiter arrives are not stored up, so keep giving
    // them until every waiter got one.
    EXPECT_TRUE(WaitUntil([&] {
        condition.Signal(false);
        return woken == 3;
    }));
    for (std::thread& waiter : waiters)
        waiter.join();
}

TEST(StdSemaphoreTest, UnitsAreTakenAndReleasedAcrossThreads)
{
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
}

TEST(StdReadWriteLockTest, ReadersShareAndExcludeTheWriter)
{
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

    // The refused reader must not count: the next one has to take the write
    // permission again instead of slipping in beside a writer.
    ASSERT_TRUE(lock.LockRead(0));
    EXPECT_FALSE(lock.LockWrite(0));
    lock.UnlockRead();
    EXPECT_TRUE(lock.LockWrite(0));
}
