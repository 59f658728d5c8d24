#ifndef QDX_STD_MUTEX_H
#define QDX_STD_MUTEX_H

#include <atomic>

#include <pthread.h>

namespace Norvane {
namespace QDXDesktopSDK {

/// A recursive mutex with a timed lock. The thread that holds it may lock it
/// again and must unlock it as often. Every lock of the library is one of
/// these, held through a StdAutoMutexLock.
class StdMutex {
public:
    StdMutex();
    ~StdMutex();
    StdMutex(StdMutex const&) = delete;
    StdMutex& operator=(StdMutex const&) = delete;

    /// Locks within `milliseconds`: negative waits without limit, 0 tries once
    /// without waiting, a positive value waits until the real-time clock
    /// reaches now plus that many milliseconds. Returns whether it was obtained.
    bool try_lock_for(long long milliseconds);
    /// try_lock_for(-1): false only when the system refuses the lock.
    bool lock();
    /// Releases one level of the lock. Only the holder may call it.
    void unlock();

    /// The kernel thread id of the holder, 0 while free. Any thread may ask;
    /// the answer may be stale unless the caller is the holder.
    long long GetOwnerThreadId() const;
    /// How many times the holder has locked it, 0 while free; as above.
    int GetRecursionCount() const;

private:
    pthread_mutex_t m_mutex;
    // Both written only by the holder, with m_mutex held; atomic so that any
    // thread may read them for diagnostics.
    std::atomic<long long> m_ownerThreadId{0};
    std::atomic<int> m_recursionCount{0};
};

/// Holds a StdMutex for the scope of the object.
class StdAutoMutexLock {
public:
    /// Locks `mutex`: a negative `milliseconds` waits without limit, any
    /// other value as StdMutex::try_lock_for. The library always passes -1.
    StdAutoMutexLock(StdMutex& mutex, long long milliseconds);
    /// Unlocks the mutex if the constructor obtained it.
    ~StdAutoMutexLock();
    StdAutoMutexLock(StdAutoMutexLock const&) = delete;
    StdAutoMutexLock& operator=(StdAutoMutexLock const&) = delete;

    /// Whether the constructor obtained the mutex.
    bool IsLocked() const { return m_locked; }

private:
    StdMutex& m_mutex;
    bool const m_locked;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
