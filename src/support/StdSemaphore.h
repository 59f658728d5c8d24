#ifndef QDX_STD_SEMAPHORE_H
#define QDX_STD_SEMAPHORE_H

#include "support/StdConditionVariable.h"
#include "support/StdMutex.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// A counting semaphore. Units are taken by WaitForSignal and given back by
/// Release, by any thread (not necessarily the one that took them).
class StdSemaphore : public StdConditionVariable {
public:
    /// Starts with `count` units available.
    explicit StdSemaphore(unsigned int count);

    /// Takes one unit, waiting up to `milliseconds` (negative: without limit)
    /// for one to be released. Returns whether a unit was taken.
    bool WaitForSignal(long long milliseconds) override;

    /// Gives one unit back and wakes one waiter.
    void Release();

private:
    StdMutex m_countMutex;
    unsigned int m_count;  // guarded by m_countMutex
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
