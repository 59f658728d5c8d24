#include "support/StdSemaphore.h"

#include "support/CountTimer.h"

#include <algorithm>

namespace Norvane {
namespace QDXDesktopSDK {

StdSemaphore::StdSemaphore(unsigned int count) : m_count(count) {}

bool StdSemaphore::WaitForSignal(long long milliseconds)
{
    CountTimer timer(milliseconds, false, false);
    long long const slice = (milliseconds >= 0 && milliseconds < 1000) ? std::max(milliseconds / 10, 1LL) : 100;
    for (;;) {
        {
            StdAutoMutexLock lock(m_countMutex, -1);
            if (!lock.IsLocked())
                return false;
            if (m_count > 0) {
                --m_count;
                return true;
            }
        }
        // The count, not the condition's signals, decides: the condition
        // only shortens the wait after a release.
        WaitSlice(slice);
        if (timer.UpdateTimeDuration(false))
            return false;
    }
}

void StdSemaphore::Release()
{
    {
        StdAutoMutexLock lock(m_countMutex, -1);
        ++m_count;
    }
    Signal(false);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
