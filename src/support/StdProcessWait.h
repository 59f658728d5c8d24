#ifndef QDX_STD_PROCESS_WAIT_H
#define QDX_STD_PROCESS_WAIT_H

#include <functional>

namespace Norvane {
namespace QDXDesktopSDK {
namespace StdProcessUtil {

/// A condition to wait for; it receives the argument given to the wait.
using WaitCondition = std::function<bool(void*)>;

/// Polls `condition(argument)` until it holds or `timeout` milliseconds have
/// passed (negative: without limit), sleeping `interval` milliseconds between
/// tests. An interval below 1 becomes a tenth of a time-out under one minute
/// (at least 1), else one second. Returns true as soon as the condition
/// holds, false when the time ran out: after each interval the time is
/// checked before the condition, so a time-out of 0 means one test and one
/// interval, whatever changed during it. An empty condition never holds and
/// returns false at once. The condition runs on the calling thread, which
/// may be any thread.
bool WaitForCondition(WaitCondition const& condition, void* argument, long long timeout, long long interval);

}  // namespace StdProcessUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
