#include "support/CountTimer.h"
#include "support/StdProcessTime.h"
#include "support/TestWait.h"

#include <gtest/gtest.h>

using namespace Norvane::QDXDesktopSDK;

namespace {

void WaitTicks(long long milliseconds)
{
    long long const start = StdProcessUtil::GetTickCount();
    ASSERT_TRUE(WaitUntil([&] { return StdProcessUtil::GetTickCount() - start >= milliseconds; }));
}

}  // namespace

TEST(CountTimerTest, UpdatesOnlyOnceTheIntervalHasPassed)
{
    CountTimer timer(20, false, false);
    EXPECT_FALSE(CountTimer(60000, false, false).UpdateTimeDuration(false));
    EXPECT_FALSE(CountTimer(-1, false, false).UpdateTimeDuration(false));

    WaitTicks(20);
    ASSERT_TRUE(timer.UpdateTimeDuration(false));
    EXPECT_GE(timer.GetTimeDuration(), 20);
    EXPECT_GE(timer.GetLastStep(), 20);
    EXPECT_TRUE(CountTimer(60000, false, false).UpdateTimeDuration(true));
}

TEST(CountTimerTest, StartDueMakesTheFirstUpdateImmediate)
{
    CountTimer timer(60000, false, true);
    EXPECT_TRUE(timer.UpdateTimeDuration(false));
    EXPECT_FALSE(timer.UpdateTimeDuration(false));

    // An unlimited interval that starts due must not overflow its step.
    CountTimer unlimited(-1, false, true);
    EXPECT_TRUE(unlimited.UpdateTimeDuration(false));
    EXPECT_FALSE(unlimited.UpdateTimeDuration(false));
}

TEST(CountTimerTest, CountsDownToZeroAndNoFurther)
{
    CountTimer timer(0, false, false);
    timer.SetTimeDuration(1000000);
    long long const remaining = timer.GetTimeDuration(true);
    EXPECT_LE(remaining, 1000000);
    EXPECT_GT(remaining, 1000000 - 10000);

    timer.SetTimeDuration(5);
    WaitTicks(10);
    EXPECT_EQ(0, timer.GetTimeDuration(true));
    EXPECT_EQ(0, timer.GetTimeDuration(true));
}
