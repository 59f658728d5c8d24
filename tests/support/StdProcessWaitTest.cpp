#include "support/StdProcessTime.h"
#include "support/StdProcessWait.h"

#include <gtest/gtest.h>

using namespace Norvane::QDXDesktopSDK;

namespace {

// A condition that holds from its `holdsFrom`-th test on and counts the tests.
StdProcessUtil::WaitCondition HoldsFrom(int holdsFrom, int& tests)
{
    return [holdsFrom, &tests](void* argument) {
        EXPECT_EQ(&tests, argument);
        return ++tests >= holdsFrom;
    };
}

}  // namespace

TEST(StdProcessWaitTest, ReturnsAsSoonAsTheConditionHolds)
{
    int tests = 0;
    EXPECT_TRUE(StdProcessUtil::WaitForCondition(HoldsFrom(1, tests), &tests, 0, 1000));
    EXPECT_EQ(1, tests);
    // Without limit, and with the interval derived from that, it still ends.
    tests = 0;
    EXPECT_TRUE(StdProcessUtil::WaitForCondition(HoldsFrom(3, tests), &tests, -1, 0));
    EXPECT_EQ(3, tests);
    EXPECT_FALSE(StdProcessUtil::WaitForCondition(StdProcessUtil::WaitCondition(), nullptr, -1, 1));
}

TEST(StdProcessWaitTest, TimeOutEndsTheWaitWithoutSpinning)
{
    int tests = 0;
    long long const start = StdProcessUtil::GetTickCount();
    // No interval given: a tenth of the time-out, 10 milliseconds.
    EXPECT_FALSE(StdProcessUtil::WaitForCondition(HoldsFrom(1 << 30, tests), &tests, 100, 0));
    long long const elapsed = StdProcessUtil::GetTickCount() - start;
    EXPECT_GE(elapsed, 100);
    // Every test after the first follows a sleep of at least one interval.
    EXPECT_GE(tests, 2);
    EXPECT_LE(tests, 2 + elapsed / 10);

    // A time-out of 0 tests, sleeps once, tests again and gives up.
    tests = 0;
    EXPECT_FALSE(StdProcessUtil::WaitForCondition(HoldsFrom(1 << 30, tests), &tests, 0, 5));
    EXPECT_EQ(2, tests);
}
