#ifndef QDX_STD_CONDITION_VARIABLE_H
#define QDX_STD_CONDITION_VARIABLE_H

#include "support/StdMutex.h"

#include <pthread.h>

namespace Norvane {
namespace QDXDesktopSDK {

/// An event that threads wait for. A signal given while nobody waits is
/// remembered for the next wait (one at most, however many were given).
/// Waiters wake in short slices and check the counters themselves, so a
/// wake-up lost between the check and the wait costs one slice, never the
/// signal. Any thread may call any operation.
class StdConditionVariable {
public:
    StdConditionVariable();
    virtual ~StdConditionVariable();
    StdConditionVariable(StdConditionVariable const&) = delete;
    StdConditionVariable& operator=(StdConditionVariable const&) = delete;

    /// Gives one signal to the waiters and wakes one of them, or all of them
    /// when `all` (they then compete for the signals given). With nobody
    /// waiting the signal is kept for the next wait.
    void Signal(bool all);

    /// Waits up to `milliseconds` (negative: without limit) for a signal.
    /// Returns true when it consumed one, false when the time ran out.
    virtual bool WaitForSignal(long long milliseconds);

protected:
    /// Blocks on the system condition until woken or `milliseconds` pass.
    void WaitSlice(long long milliseconds);

private:
    pthread_cond_t m_condition;
    pthread_mutex_t m_conditionMutex;
    StdMutex m_counterMutex;
    unsigned int m_pendingSignals = 0;  // guarded by m_counterMutex
    unsigned int m_waiters = 0;         // guarded by m_counterMutex
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
