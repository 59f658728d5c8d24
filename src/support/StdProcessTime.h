#ifndef QDX_STD_PROCESS_TIME_H
#define QDX_STD_PROCESS_TIME_H

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Clocks, time texts and the identity of the calling process and thread.
namespace StdProcessUtil {

/// Units of a time value: seconds, milliseconds, microseconds, nanoseconds.
enum Time_SecondPrecision : int {
    Time_Second = 0,
    Time_Millisecond = 1,
    Time_Microsecond = 2,
    Time_Nanosecond = 3,
};

/// `time` in `from` units converted to `to` units (truncating when coarser).
long long TimeToOtherTimePrecision(long long time, Time_SecondPrecision from, Time_SecondPrecision to);
/// The monotonic clock in milliseconds.
long long GetTickCount();
/// Sleeps `milliseconds`, resuming after signals; 0 or less returns at once.
void Sleep(long long milliseconds);
/// The real-time clock since the epoch, in `precision` units.
long long GetLocalTime(Time_SecondPrecision precision);
/// The local time `time` (in `precision` units; 0 or less: now) as text:
/// `format` for strftime, or "%Y-%m-%dT%H:%M:%S" when null or empty; then,
/// above second precision, "." and the sub-second part in at least six
/// digits; then, with the default format only, the zone offset ("+0200").
std::string GetLocalTimeString(Time_SecondPrecision precision, long long time, char const* format);
/// Local time minus UTC, computed once, in `precision` units.
long long UTCTimeDiff(Time_SecondPrecision precision);
/// `time` with the UTC difference added, or subtracted when `toUTC`.
long long TimeConvert(long long time, bool toUTC, Time_SecondPrecision precision);
/// `time` (0 or less: now) converted towards UTC.
long long GetUTCTime(long long time, Time_SecondPrecision precision);
/// Seconds from now to the start of the next full local hour; -1 on failure.
long long GetNextHourlyDurationInSeconds();
/// The process id.
long long GetPid();
/// The kernel thread id of the calling thread.
long long GetThreadId();
/// Prints `text` to standard output as it is; with `addLineEnd` a line with a
/// single "\r" follows. Null or empty text prints nothing.
void OutputDebugString(char const* text, bool addLineEnd);
/// Whether a debugger traces this process ("TracerPid:" in /proc/self/status
/// is not 0).
bool IsDebuggerPresent();

}  // namespace StdProcessUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
