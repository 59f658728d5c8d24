#include "support/StdProcessTime.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

using namespace Norvane::QDXDesktopSDK;
using namespace Norvane::QDXDesktopSDK::StdProcessUtil;

namespace {

void SetZone(char const* zone)
{
    setenv("TZ", zone, 1);
    tzset();
}

// Whether `duration` seconds after some second of [before, after] is a full
// hour in a zone `offset` seconds east of UTC.
bool LandsOnFullHour(time_t before, time_t after, long long duration, long long offset)
{
    for (time_t now = before; now <= after; ++now) {
        if ((now + duration + offset) % 3600 == 0)
            return true;
    }
    return false;
}

}  // namespace

TEST(StdProcessTimeTest, ClockAgreesAcrossPrecisions)
{
    EXPECT_EQ(1999, TimeToOtherTimePrecision(1999999, Time_Microsecond, Time_Millisecond));
    EXPECT_EQ(2000000000LL, TimeToOtherTimePrecision(2, Time_Second, Time_Nanosecond));
    long long const seconds = GetLocalTime(Time_Second);
    EXPECT_LE(std::llabs(GetLocalTime(Time_Millisecond) / 1000 - seconds), 2);
    EXPECT_LE(std::llabs(static_cast<long long>(time(nullptr)) - seconds), 2);
}

TEST(StdProcessTimeTest, LocalTimeStringShowsFractionAndZone)
{
    SetZone("UTC");
    EXPECT_EQ("2023-11-14T22:13:20+0000", GetLocalTimeString(Time_Second, 1700000000, nullptr));
    EXPECT_EQ("2023-11-14T22:13:20.000123+0000", GetLocalTimeString(Time_Millisecond, 1700000000123LL, ""));
    EXPECT_EQ("2023-11-14T22:13:20.123456+0000", GetLocalTimeString(Time_Microsecond, 1700000000123456LL, nullptr));
    EXPECT_EQ("22:13:20.123456789", GetLocalTimeString(Time_Nanosecond, 1700000000123456789LL, "%H:%M:%S"));

    SetZone("XST-2");
    EXPECT_EQ("2023-11-15T00:13:20+0200", GetLocalTimeString(Time_Second, 1700000000, nullptr));
    // No time given means now.
    std::string const now = GetLocalTimeString(Time_Microsecond, 0, nullptr);
    EXPECT_EQ(31u, now.size()) << now;
}

TEST(StdProcessTimeTest, UtcDifferenceFollowsTheZone)
{
    SetZone("XST-2");
    EXPECT_EQ(7200, UTCTimeDiff(Time_Second));
    EXPECT_EQ(1000 - 7200, TimeConvert(1000, true, Time_Second));
    EXPECT_EQ(1000 + 7200, TimeConvert(1000, false, Time_Second));
    EXPECT_EQ(5000000 - 7200000, GetUTCTime(5000000, Time_Millisecond));
    EXPECT_LE(std::llabs(GetUTCTime(0, Time_Second) - (GetLocalTime(Time_Second) - 7200)), 2);
}

TEST(StdProcessTimeTest, NextHourIsAFullLocalHour)
{
    SetZone("UTC");
    time_t before = time(nullptr);
    long long duration = GetNextHourlyDurationInSeconds();
    time_t after = time(nullptr);
    EXPECT_TRUE(LandsOnFullHour(before, after, duration, 0)) << duration;

    SetZone("XST-5:30");
    before = time(nullptr);
    duration = GetNextHourlyDurationInSeconds();
    after = time(nullptr);
    EXPECT_TRUE(LandsOnFullHour(before, after, duration, 5 * 3600 + 1800)) << duration;
}

TEST(StdProcessTimeTest, IdentifiesProcessAndKernelThread)
{
    EXPECT_EQ(static_cast<long long>(getpid()), GetPid());
    EXPECT_EQ(GetPid(), GetThreadId());
    long long other = 0;
    std::thread([&] { other = GetThreadId(); }).join();
    EXPECT_NE(GetThreadId(), other);
    EXPECT_FALSE(IsDebuggerPresent());
}

TEST(StdProcessTimeTest, IdsAreFreshInTheChildOfAFork)
{
    long long const parentPid = StdProcessUtil::GetPid();
    StdProcessUtil::GetThreadId();
    pid_t const child = fork();
    ASSERT_NE(-1, child);
    if (child == 0) {
        bool const fresh = StdProcessUtil::GetPid() == getpid() && StdProcessUtil::GetPid() != parentPid &&
                           StdProcessUtil::GetThreadId() == getpid();
        _exit(fresh ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
}

TEST(StdProcessTimeTest, DebugOutputIsWrittenUnchanged)
{
    testing::internal::CaptureStdout();
    OutputDebugString("a %s line\n", false);
    OutputDebugString("next", true);
    OutputDebugString("", true);
    OutputDebugString(nullptr, true);
    EXPECT_EQ("a %s line\nnext\r\n", testing::internal::GetCapturedStdout());
}
