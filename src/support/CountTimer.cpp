#include "support/CountTimer.h"

#include "support/StdProcessTime.h"

#include <algorithm>
#include <climits>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// A due-at-start timer with an unlimited interval starts its last update
// almost at the lowest tick value, so the difference must saturate.
long long TicksBetween(long long earlier, long long later)
{
    long long difference = 0;
    if (__builtin_sub_overflow(later, earlier, &difference))
        return LLONG_MAX;
    return difference;
}

}  // namespace

CountTimer::CountTimer(long long interval, bool countDown, bool startDue)
    : m_startTick(StdProcessUtil::GetTickCount()), m_lastUpdateTick(m_startTick), m_countDown(countDown)
{
    SetTimerUpdateDuration(interval);
    if (startDue)
        m_lastUpdateTick -= m_interval;
}

bool CountTimer::UpdateTimeDuration(bool force)
{
    long long const now = StdProcessUtil::GetTickCount();
    long long const step = TicksBetween(m_lastUpdateTick, now);
    if (!force && step < m_interval)
        return false;
    if (m_countDown) {
        m_duration = std::max(0LL, m_duration - (now - m_startTick));
        m_startTick = now;
    } else {
        m_duration = now - m_startTick;
    }
    m_lastStep = step;
    m_lastUpdateTick = now;
    return true;
}

long long CountTimer::GetTimeDuration(bool force)
{
    UpdateTimeDuration(force);
    return m_duration;
}

void CountTimer::SetTimeDuration(long long duration)
{
    m_duration = duration;
    m_countDown = true;
}

void CountTimer::SetTimerUpdateDuration(long long interval)
{
    m_interval = interval < 0 ? LLONG_MAX : interval;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
