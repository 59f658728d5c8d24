#include "support/StdConditionVariable.h"

#include "support/CountTimer.h"

#include <algorithm>
#include <ctime>

namespace Norvane {
namespace QDXDesktopSDK {

StdConditionVariable::StdConditionVariable()
{
    // Slices are measured on the monotonic clock so that a change of the
    // wall clock neither stretches nor cuts them.
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&m_condition, &attributes);
    pthread_condattr_destroy(&attributes);
    pthread_mutex_init(&m_conditionMutex, nullptr);
}

StdConditionVariable::~StdConditionVariable()
{
    pthread_cond_destroy(&m_condition);
    pthread_mutex_destroy(&m_conditionMutex);
}

void StdConditionVariable::Signal(bool all)
{
    {
        StdAutoMutexLock lock(m_counterMutex, -1);
        if (m_waiters == 0) {
            // Remembered for the next wait, but signals given to nobody do
            // not pile up.
            m_pendingSignals = 1;
        } else {
            ++m_pendingSignals;
            if (m_pendingSignals > m_waiters)
                m_pendingSignals = m_waiters;
        }
    }
    if (all)
        pthread_cond_broadcast(&m_condition);
    else
        pthread_cond_signal(&m_condition);
}

bool StdConditionVariable::WaitForSignal(long long milliseconds)
{
    {
        StdAutoMutexLock lock(m_counterMutex, -1);
        if (m_waiters == 0 && m_pendingSignals > 0) {
            m_pendingSignals = 0;
            return true;
        }
        ++m_waiters;
    }

    CountTimer timer(milliseconds, false, false);
    long long const slice = (milliseconds >= 0 && milliseconds < 1000) ? std::max(milliseconds / 10, 1LL) : 1000;
    bool signalled = false;
    for (;;) {
        WaitSlice(slice);
        StdAutoMutexLock lock(m_counterMutex, -1);
        if (m_pendingSignals > 0) {
            --m_pendingSignals;
            signalled = true;
            break;
        }
        if (timer.UpdateTimeDuration(false))
            break;
    }

    StdAutoMutexLock lock(m_counterMutex, -1);
    --m_waiters;
    // Signals meant for waiters that gave up must not reach a later wait.
    if (m_waiters == 0)
        m_pendingSignals = 0;
    return signalled;
}

void StdConditionVariable::WaitSlice(long long milliseconds)
{
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += static_cast<time_t>(milliseconds / 1000);
    deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1000000000L;
    }
    pthread_mutex_lock(&m_conditionMutex);
    pthread_cond_timedwait(&m_condition, &m_conditionMutex, &deadline);
    pthread_mutex_unlock(&m_conditionMutex);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
