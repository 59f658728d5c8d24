#include "support/StdMutex.h"

#include "support/StdProcessTime.h"

#include <ctime>

namespace Norvane {
namespace QDXDesktopSDK {

StdMutex::StdMutex()
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

StdMutex::~StdMutex()
{
    pthread_mutex_destroy(&m_mutex);
}

bool StdMutex::try_lock_for(long long milliseconds)
{
    int result = 0;
    if (milliseconds < 0) {
        result = pthread_mutex_lock(&m_mutex);
    } else if (milliseconds == 0) {
        result = pthread_mutex_trylock(&m_mutex);
    } else {
        // The system's timed lock measures against the real-time clock only.
        timespec deadline{};
        clock_gettime(CLOCK_REALTIME, &deadline);
        deadline.tv_sec += static_cast<time_t>(milliseconds / 1000);
        deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000L;
        if (deadline.tv_nsec >= 1000000000L) {
            deadline.tv_sec += 1;
            deadline.tv_nsec -= 1000000000L;
        }
        result = pthread_mutex_timedlock(&m_mutex, &deadline);
    }
    if (result != 0)
        return false;
    if (m_recursionCount.load(std::memory_order_relaxed) == 0)
        m_ownerThreadId.store(StdProcessUtil::GetThreadId(), std::memory_order_relaxed);
    m_recursionCount.fetch_add(1, std::memory_order_relaxed);
    return true;
}

bool StdMutex::lock()
{
    return try_lock_for(-1);
}

void StdMutex::unlock()
{
    // The bookkeeping must be undone while the mutex is still held, before
    // another thread can take it and record itself.
    int const count = m_recursionCount.load(std::memory_order_relaxed);
    int const lowered = count > 0 ? count - 1 : 0;
    m_recursionCount.store(lowered, std::memory_order_relaxed);
    if (lowered == 0)
        m_ownerThreadId.store(0, std::memory_order_relaxed);
    pthread_mutex_unlock(&m_mutex);
}

long long StdMutex::GetOwnerThreadId() const
{
    return m_ownerThreadId.load(std::memory_order_relaxed);
}

int StdMutex::GetRecursionCount() const
{
    return m_recursionCount.load(std::memory_order_relaxed);
}

StdAutoMutexLock::StdAutoMutexLock(StdMutex& mutex, long long milliseconds)
    : m_mutex(mutex), m_locked(milliseconds < 0 ? mutex.lock() : mutex.try_lock_for(milliseconds))
{
}

StdAutoMutexLock::~StdAutoMutexLock()
{
    if (m_locked)
        m_mutex.unlock();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
