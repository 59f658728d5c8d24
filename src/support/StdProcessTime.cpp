#include "support/StdProcessTime.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <string>

#include <pthread.h>
#include <sys/types.h>
#include <unistd.h>

namespace Norvane {
namespace QDXDesktopSDK {
namespace StdProcessUtil {

namespace {

// No real offset reaches 30 hours, so this value marks the cache as not yet filled.
constexpr long long kUtcDiffUnknown = 108000;
std::atomic<long long> s_utcDiffSeconds{kUtcDiffUnknown};

long long TimespecTo(timespec const& value, Time_SecondPrecision precision)
{
    return TimeToOtherTimePrecision(value.tv_sec, Time_Second, precision) +
           TimeToOtherTimePrecision(value.tv_nsec, Time_Nanosecond, precision);
}

}  // namespace

long long TimeToOtherTimePrecision(long long time, Time_SecondPrecision from, Time_SecondPrecision to)
{
    for (int step = from; step < to; ++step)
        time *= 1000;
    for (int step = to; step < from; ++step)
        time /= 1000;
    return time;
}

long long GetTickCount()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return TimespecTo(now, Time_Millisecond);
}

void Sleep(long long milliseconds)
{
    if (milliseconds <= 0)
        return;
    timespec remaining{static_cast<time_t>(milliseconds / 1000), static_cast<long>(milliseconds % 1000) * 1000000L};
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

long long GetLocalTime(Time_SecondPrecision precision)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return TimespecTo(now, precision);
}

std::string GetLocalTimeString(Time_SecondPrecision precision, long long time, char const* format)
{
    if (time <= 0)
        time = GetLocalTime(precision);
    time_t const seconds = static_cast<time_t>(TimeToOtherTimePrecision(time, precision, Time_Second));
    tm local{};
    localtime_r(&seconds, &local);

    bool const defaultFormat = format == nullptr || *format == '\0';
    char buffer[128];
    std::size_t length = strftime(buffer, sizeof buffer, defaultFormat ? "%Y-%m-%dT%H:%M:%S" : format, &local);
    std::string text(buffer, length);
    if (precision > Time_Second) {
        long long const unitsPerSecond = TimeToOtherTimePrecision(1, Time_Second, precision);
        std::snprintf(buffer, sizeof buffer, ".%06lld", time % unitsPerSecond);
        text += buffer;
    }
    if (defaultFormat) {
        length = strftime(buffer, sizeof buffer, "%z", &local);
        text.append(buffer, length);
    }
    return text;
}

long long UTCTimeDiff(Time_SecondPrecision precision)
{
    long long diff = s_utcDiffSeconds.load(std::memory_order_relaxed);
    if (diff == kUtcDiffUnknown) {
        // Two threads computing it at once get the same value; either may store it.
        time_t const now = time(nullptr);
        tm utc{};
        gmtime_r(&now, &utc);
        diff = static_cast<long long>(now - mktime(&utc));
        s_utcDiffSeconds.store(diff, std::memory_order_relaxed);
    }
    return TimeToOtherTimePrecision(diff, Time_Second, precision);
}

long long TimeConvert(long long time, bool toUTC, Time_SecondPrecision precision)
{
    long long const diff = UTCTimeDiff(precision);
    return toUTC ? time - diff : time + diff;
}

long long GetUTCTime(long long time, Time_SecondPrecision precision)
{
    return TimeConvert(time > 0 ? time : GetLocalTime(precision), true, precision);
}

long long GetNextHourlyDurationInSeconds()
{
    time_t const now = time(nullptr);
    if (now == static_cast<time_t>(-1))
        return -1;
    tm next{};
    if (localtime_r(&now, &next) == nullptr)
        return -1;
    next.tm_hour += 1;
    next.tm_min = 0;
    next.tm_sec = 0;
    time_t const hour = mktime(&next);
    if (hour == static_cast<time_t>(-1))
        return -1;
    return static_cast<long long>(hour - now);
}

// Both ids are asked for on every lock and every log line, and a system call
// costs about a microsecond here: they are kept, and forgotten in the child of
// a fork, whose ids differ.
namespace {

std::atomic<long long> s_processId{0};
thread_local long long t_threadId = 0;

void ForgetIdsInChild()
{
    s_processId.store(0, std::memory_order_relaxed);
    t_threadId = 0;
}

void ForgetIdsOnFork()
{
    static int const registered = pthread_atfork(nullptr, nullptr, &ForgetIdsInChild);
    static_cast<void>(registered);
}

}  // namespace

long long GetPid()
{
    long long id = s_processId.load(std::memory_order_relaxed);
    if (id == 0) {
        ForgetIdsOnFork();
        id = static_cast<long long>(getpid());
        s_processId.store(id, std::memory_order_relaxed);
    }
    return id;
}

long long GetThreadId()
{
    if (t_threadId == 0) {
        ForgetIdsOnFork();
        t_threadId = static_cast<long long>(gettid());
    }
    return t_threadId;
}

void OutputDebugString(char const* text, bool addLineEnd)
{
    if (text == nullptr || *text == '\0')
        return;
    std::fputs(text, stdout);
    if (addLineEnd)
        std::fputs("\r\n", stdout);
    std::fflush(stdout);
}

bool IsDebuggerPresent()
{
    std::ifstream status("/proc/self/status");
    static char const kTracer[] = "TracerPid:";
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, sizeof kTracer - 1, kTracer) == 0)
            return std::strtoll(line.c_str() + sizeof kTracer - 1, nullptr, 10) != 0;
    }
    return false;
}

}  // namespace StdProcessUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane
