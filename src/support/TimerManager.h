#ifndef QDX_TIMER_MANAGER_H
#define QDX_TIMER_MANAGER_H

#include "support/Singleton.h"
#include "support/StdMutex.h"
#include "support/StdThread.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Runs named periodic and one-shot callbacks on one background thread
/// ("QDXTimer") with a resolution of about a second. Registered as the
/// singleton "TimerManager" with the highest order, so that it is the first
/// one destroyed at unload, while the thread manager it relies on still
/// exists. Users go through StdProcessUtil::ScheduleTimer and
/// IsTimerScheduled.
///
/// Passes: a pass runs every due timer once; the loop makes one about every
/// second, a host may make one itself (a manual pass), and no two passes of
/// either kind run less than 991 milliseconds apart. The thread ends by
/// itself once no timer has been left for about three seconds, and the next
/// timer scheduled starts a new one.
///
/// Shutdown: BeforeDestroy refuses new timers, clears the keep-running flag,
/// wakes the loop and waits up to five seconds for the thread to hand its
/// result back (not at all when a callback destroys the manager from the
/// timer thread itself). The timers and the flags live in a block that the
/// loop shares with the manager, so a loop still finishing a slow pass after
/// that never touches the freed manager; it sees the cleared flag and ends.
class TimerManager : public Singleton {
public:
    /// What a timer calls, with the timer's name, on the timer thread or on
    /// the thread making a manual pass, without any lock held: it may
    /// schedule and remove timers, its own included.
    using TimerCallback = std::function<void(std::string const&)>;

    /// One scheduled timer.
    struct Timer {
        long long period = 0;   ///< milliseconds; the absolute value is the interval, negative fires once
        long long lastRun = 0;  ///< tick of the last run (or of scheduling)
        TimerCallback callback;
    };

    static constexpr char const* kSingletonName = "TimerManager";
    static constexpr int kSingletonOrder = 12;
    /// The name that controls the thread instead of scheduling a timer.
    static constexpr char const* kManualTriggerName = "_ManualTrigger";

    /// The registry's creation function: an empty manager, thread idle.
    static Singleton* InstanceFunctionImpl(Singleton*& slot, SingletonFlag flag);
    /// The timer manager: created when missing with GetOrCreate, null when
    /// there is none with GetExisting. Any thread may call it.
    static TimerManager* Instance(SingletonFlag flag);

    /// StdProcessUtil::ScheduleTimer on this manager. Returns false for a
    /// timer given while the manager is being destroyed.
    bool Schedule(std::string const& name, long long periodSeconds, TimerCallback callback);
    /// Whether a timer of that name is scheduled. Any thread may call it.
    bool IsScheduled(std::string const& name) const;

    /// Stops the timer thread: see Shutdown above. Called by the registry.
    void BeforeDestroy() override;

private:
    struct LoopState;

    TimerManager();

    bool ManualPass();
    bool ControlThread(long long periodSeconds);
    bool Remove(std::string const& name);
    bool Add(std::string const& name, long long periodSeconds, TimerCallback callback);
    /// Whether the caller is this manager's timer thread, which must never
    /// wait for itself.
    bool OnTimerThread() const;

    static int TimerLoop(std::shared_ptr<LoopState> const& state);
    /// The loop's second of sleep before each pass, its first included; ends
    /// early only when the loop is to stop.
    static void SleepBeforePass(LoopState& state);
    /// One pass unless the last lies less than 991 ms back; whether it ran.
    static bool RunPass(LoopState& state, bool threadRuns);

    std::shared_ptr<LoopState> const m_state;
    std::atomic<bool> m_closing{false};  // set once by BeforeDestroy
    // Serialises starting and stopping the thread: the thread's start and
    // end are never decided by two callers at once. Never taken on the timer
    // thread, which would then wait for itself.
    StdMutex m_controlMutex;
    StdThread m_thread;  // Run and Wait only under m_controlMutex
};

namespace StdProcessUtil {

/// Schedules, replaces or removes the timer `name` of the timer manager,
/// which it creates when missing; any thread may call it, a timer callback
/// included.
/// - An empty name makes a manual pass on the calling thread (nothing
///   happens within 991 ms of the last pass); returns true.
/// - "_ManualTrigger" controls the thread and schedules nothing; returns
///   true. Period 0 stops the thread and waits for it to end, so that
///   timers run only through manual passes until the next timer is
///   scheduled (from the timer thread itself it only asks the loop to end).
///   Any other period tidies up after a thread that ended by itself.
/// - An empty callback removes the timer; returns whether one was removed.
/// - Otherwise stores the timer under `name`, replacing one of that name,
///   with `periodSeconds` as its interval (negative: fires once, then is
///   gone) counted from now, starts the thread when it does not run, and
///   returns true; false when there is no timer manager to be had.
bool ScheduleTimer(std::string const& name, long long periodSeconds, TimerManager::TimerCallback callback);

/// Whether a timer `name` is scheduled. Never creates the timer manager:
/// false without one. Any thread may call it.
bool IsTimerScheduled(std::string const& name);

}  // namespace StdProcessUtil

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
