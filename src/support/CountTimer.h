#ifndef QDX_COUNT_TIMER_H
#define QDX_COUNT_TIMER_H

namespace Norvane {
namespace QDXDesktopSDK {

/// Measures elapsed time, or counts a duration down, on the monotonic tick
/// count, and tells when an update interval has passed. Waits with a time-out
/// use one with the time-out as its interval. Not thread safe: one owner.
class CountTimer {
public:
    /// Starts now with a stored duration of 0. A negative `interval`
    /// (milliseconds) never passes. With `startDue` the first update is due at
    /// once instead of one interval from now.
    CountTimer(long long interval, bool countDown, bool startDue);

    /// Unless `force`, returns false and changes nothing while less than the
    /// interval has passed since the last update. Otherwise stores the time
    /// since start (or, counting down, lowers the stored duration by it, not
    /// below 0, and restarts) and returns true.
    bool UpdateTimeDuration(bool force);

    /// The stored duration in milliseconds: elapsed, or remaining when counting down.
    long long GetTimeDuration() const { return m_duration; }
    /// UpdateTimeDuration(force), then the stored duration.
    long long GetTimeDuration(bool force);
    /// Stores `duration` (milliseconds) and switches to counting down.
    void SetTimeDuration(long long duration);
    /// Sets the update interval in milliseconds; negative never passes.
    void SetTimerUpdateDuration(long long interval);
    /// Milliseconds between the last update and the one before it.
    long long GetLastStep() const { return m_lastStep; }

private:
    long long m_startTick;
    long long m_lastUpdateTick;
    long long m_duration = 0;
    long long m_interval = 0;
    long long m_lastStep = 0;
    bool m_countDown;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
