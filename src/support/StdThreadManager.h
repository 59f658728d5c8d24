#ifndef QDX_STD_THREAD_MANAGER_H
#define QDX_STD_THREAD_MANAGER_H

#include "support/Singleton.h"
#include "support/StdMutex.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// Holds the thread lock, the one mutex under which every StdThread and its
/// system thread hand their shared state to each other. Registered as the
/// singleton "StdThreadManager" with an order below the timer manager's, so
/// that it outlives the timer thread's last hand-over at unload.
class StdThreadManager : public Singleton {
public:
    static constexpr char const* kSingletonName = "StdThreadManager";
    static constexpr int kSingletonOrder = 7;

    /// The registry's creation function for the thread manager.
    static Singleton* InstanceFunctionImpl(Singleton*& slot, SingletonFlag flag);
    /// The thread manager: created when missing with GetOrCreate; null when
    /// there is none with GetExisting, or when no registry can be made any
    /// more because the library is being unloaded. Any thread may call it.
    static StdThreadManager* Instance(SingletonFlag flag);

    /// Waits until no thread holds the thread lock, so that a thread leaving
    /// its last hand-over is out of the mutex before the mutex goes.
    ~StdThreadManager() override;

    /// The thread lock; it lives as long as the manager.
    StdMutex& GetThreadLock() { return m_threadLock; }

private:
    StdThreadManager() = default;

    StdMutex m_threadLock;
};

/// Holds the thread lock for the scope of the object. Without a thread
/// manager (once the registry is gone at unload) it holds a process-lifetime
/// mutex instead, so that the threads still finishing then exclude each
/// other all the same. Not to be held while asking for a singleton's
/// destruction.
class StdAutoThreadLock {
public:
    StdAutoThreadLock();

private:
    StdAutoMutexLock m_lock;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
