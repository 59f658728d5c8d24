#include "support/TimerManager.h"

#include "support/StdConditionVariable.h"
#include "support/StdProcessTime.h"

#include <climits>
#include <cstdlib>
#include <map>
#include <utility>
#include <vector>

#include <pthread.h>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

constexpr long long kLoopSleepMilliseconds = 1000;
// Slightly under the loop's second, so that a loop waking a little early
// does not skip a whole pass.
constexpr long long kMinimumPassGap = 991;
// A timer may fire this much early rather than wait a whole further pass.
constexpr long long kEarlyTolerance = 9;
constexpr long long kIdleEnd = 3001;
// Long enough for a pass with slow callbacks to finish, short enough that
// unloading the library never stalls noticeably on a stuck one.
constexpr long long kStopWaitMilliseconds = 5000;

// The loop state the calling thread runs, if it is a timer thread: a thread
// that must not wait for itself needs to know.
thread_local void const* t_loopState = nullptr;

long long PeriodMilliseconds(long long seconds)
{
    long long milliseconds = 0;
    if (__builtin_mul_overflow(seconds, 1000LL, &milliseconds))
        return seconds < 0 ? -LLONG_MAX : LLONG_MAX;
    return milliseconds;
}

}  // namespace

// Shared by the manager and its timer loop, so that a loop still finishing a
// pass when the manager is destroyed works on memory that is still its own.
struct TimerManager::LoopState {
    StdMutex mutex;
    std::map<std::string, Timer> timers;  // guarded by mutex
    long long lastPassTick = 0;           // guarded by mutex
    long long emptySinceTick = 0;         // guarded by mutex; 0 while timers exist
    std::atomic<bool> keepRunning{false};
    // Wakes the loop when keepRunning is cleared, so that stopping it does not
    // take the rest of its second.
    StdConditionVariable wake;

    void Stop()
    {
        keepRunning = false;
        wake.Signal(false);
    }
};

Singleton* TimerManager::InstanceFunctionImpl(Singleton*& slot, SingletonFlag flag)
{
    if (flag == GetOrCreate && slot == nullptr)
        slot = new TimerManager();
    return slot;
}

TimerManager* TimerManager::Instance(SingletonFlag flag)
{
    return InstanceOf<TimerManager>(flag);
}

TimerManager::TimerManager() : m_state(std::make_shared<LoopState>()) {}

bool TimerManager::Schedule(std::string const& name, long long periodSeconds, TimerCallback callback)
{
    if (name.empty())
        return ManualPass();
    if (name == kManualTriggerName)
        return ControlThread(periodSeconds);
    if (!callback)
        return Remove(name);
    return Add(name, periodSeconds, std::move(callback));
}

bool TimerManager::IsScheduled(std::string const& name) const
{
    StdAutoMutexLock lock(m_state->mutex, -1);
    return m_state->timers.count(name) != 0;
}

void TimerManager::BeforeDestroy()
{
    m_closing = true;
    if (OnTimerThread()) {
        // Destroyed by one of its own callbacks: the loop ends after this
        // pass, on the state it shares.
        m_state->Stop();
        return;
    }
    // Bounded, like the wait below: a caller stuck while stopping the thread
    // must not hang the unloading of the library.
    StdAutoMutexLock control(m_controlMutex, kStopWaitMilliseconds);
    // Only now, so that a thread start that was under way is stopped too.
    m_state->Stop();
    if (control.IsLocked())
        m_thread.Wait(kStopWaitMilliseconds);
}

bool TimerManager::ManualPass()
{
    RunPass(*m_state, m_thread.IsRunning());
    return true;
}

bool TimerManager::ControlThread(long long periodSeconds)
{
    if (OnTimerThread()) {
        // The loop cannot wait for itself to end; it only learns to stop.
        if (periodSeconds == 0)
            m_state->Stop();
        return true;
    }
    StdAutoMutexLock control(m_controlMutex, -1);
    if (periodSeconds == 0) {
        m_state->Stop();
        m_thread.Wait(-1);
        if (!m_closing)
            m_state->keepRunning = true;
    } else if (m_state->keepRunning && m_thread.GetThreadId() == 0) {
        m_state->keepRunning = false;
    }
    return true;
}

bool TimerManager::Remove(std::string const& name)
{
    // The callback is destroyed after the lock is released, in case what it
    // holds calls back into the manager as it goes.
    decltype(m_state->timers)::node_type removed;
    {
        StdAutoMutexLock lock(m_state->mutex, -1);
        removed = m_state->timers.extract(name);
    }
    return !removed.empty();
}

bool TimerManager::Add(std::string const& name, long long periodSeconds, TimerCallback callback)
{
    TimerCallback replaced;
    {
        StdAutoMutexLock lock(m_state->mutex, -1);
        if (m_closing)
            return false;
        Timer& timer = m_state->timers[name];
        timer.period = PeriodMilliseconds(periodSeconds);
        timer.lastRun = StdProcessUtil::GetTickCount();
        replaced = std::move(timer.callback);
        timer.callback = std::move(callback);
    }
    // A callback on the timer thread: the loop running it takes the timer up.
    if (OnTimerThread())
        return true;

    StdAutoMutexLock control(m_controlMutex, -1);
    if (m_closing)
        return true;
    // A thread whose flag is clear is on its way out (it ran idle, or was
    // told to stop from within), so it cannot be relied on for this timer.
    if (m_thread.GetThreadId() != 0 && m_state->keepRunning)
        return true;
    m_thread.Wait(-1);
    m_state->keepRunning = true;
    m_thread.Run([state = m_state](void*) { return TimerLoop(state); }, nullptr);
    return true;
}

bool TimerManager::OnTimerThread() const
{
    return t_loopState == m_state.get();
}

int TimerManager::TimerLoop(std::shared_ptr<LoopState> const& state)
{
    pthread_setname_np(pthread_self(), "QDXTimer");
    t_loopState = state.get();
    while (state->keepRunning) {
        SleepBeforePass(*state);
        if (!state->keepRunning)
            break;
        RunPass(*state, true);
    }
    t_loopState = nullptr;
    return 0;
}

void TimerManager::SleepBeforePass(LoopState& state)
{
    // Only a stop cuts the sleep short. The wake-up may be older than this
    // loop: one sent while no loop waited (a stop asked for during a pass) is
    // kept for the next wait, which may be the first of the next thread.
    long long const start = StdProcessUtil::GetTickCount();
    for (long long left = kLoopSleepMilliseconds; left > 0 && state.keepRunning;
         left = start + kLoopSleepMilliseconds - StdProcessUtil::GetTickCount())
        state.wake.WaitForSignal(left);
}

bool TimerManager::RunPass(LoopState& state, bool threadRuns)
{
    std::vector<std::pair<std::string, TimerCallback>> due;
    long long now = 0;
    {
        StdAutoMutexLock lock(state.mutex, -1);
        now = StdProcessUtil::GetTickCount();
        // Claimed before the callbacks run, so that no second pass, of either
        // kind, can start while this one is still calling them.
        if (now - state.lastPassTick < kMinimumPassGap)
            return false;
        state.lastPassTick = now;
        for (auto entry = state.timers.begin(); entry != state.timers.end();) {
            Timer& timer = entry->second;
            if (now - timer.lastRun - std::llabs(timer.period) < -kEarlyTolerance) {
                ++entry;
                continue;
            }
            timer.lastRun = now;
            if (timer.period < 0) {
                due.emplace_back(entry->first, std::move(timer.callback));
                entry = state.timers.erase(entry);
            } else {
                due.emplace_back(entry->first, timer.callback);
                ++entry;
            }
        }
    }

    for (auto const& [name, callback] : due)
        callback(name);

    StdAutoMutexLock lock(state.mutex, -1);
    if (!state.timers.empty())
        state.emptySinceTick = 0;
    else if (state.emptySinceTick == 0)
        state.emptySinceTick = now;
    else if (threadRuns && now - state.emptySinceTick >= kIdleEnd)
        state.keepRunning = false;
    return true;
}

namespace StdProcessUtil {

bool ScheduleTimer(std::string const& name, long long periodSeconds, TimerManager::TimerCallback callback)
{
    TimerManager* manager = TimerManager::Instance(Singleton::GetOrCreate);
    return manager != nullptr && manager->Schedule(name, periodSeconds, std::move(callback));
}

bool IsTimerScheduled(std::string const& name)
{
    TimerManager const* manager = TimerManager::Instance(Singleton::GetExisting);
    return manager != nullptr && manager->IsScheduled(name);
}

}  // namespace StdProcessUtil

}  // namespace QDXDesktopSDK
}  // namespace Norvane
