#include "support/StdProcessWait.h"

#include "support/CountTimer.h"
#include "support/StdProcessTime.h"

#include <algorithm>

namespace Norvane {
namespace QDXDesktopSDK {
namespace StdProcessUtil {

bool WaitForCondition(WaitCondition const& condition, void* argument, long long timeout, long long interval)
{
    if (!condition)
        return false;
    if (condition(argument))
        return true;
    if (interval < 1) {
        // Derived from a negative or tiny time-out the interval would be 0 or
        // less, and the wait would spin.
        interval = (timeout < 60000) ? std::max(timeout / 10, 1LL) : 1000;
    }
    CountTimer timer(timeout, false, false);
    // The time-out is checked before the condition, so that a wait with a
    // time-out of 0 is one test and one interval, whatever changed during it.
    for (;;) {
        Sleep(interval);
        if (timer.UpdateTimeDuration(false))
            return false;
        if (condition(argument))
            return true;
    }
}

}  // namespace StdProcessUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane
