#ifndef QDX_SINGLETON_MANAGER_H
#define QDX_SINGLETON_MANAGER_H

#include "support/Singleton.h"
#include "support/StdMutex.h"

#include <atomic>
#include <map>
#include <memory>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// The registry of the process-wide singletons, itself the one instance held
/// by the static AutoReleaseSingletonManager. Users go through
/// Singleton::GetInstanceImpl; these operations are what it builds on.
///
/// Locks: the static object's mutex (making and destroying the registry),
/// the registry mutex (the map and the counts) and one mutex per record
/// (constructing and destroying that record's instance). A constructor or
/// destructor runs under its record's mutex alone, never the registry mutex,
/// so it may itself ask for other singletons.
class SingletonManager : public Singleton {
public:
    /// GetOrCreate: the registry, made when missing. GetExisting: the
    /// registry or null. Destroy: destroys every singleton and then the
    /// registry, and returns null.
    static SingletonManager* Instance(SingletonFlag flag);

    /// The instance registered under `name` (null counts as ""). With
    /// GetOrCreate a missing one is made through `creator`, which then
    /// receives `name` and `order`; with Destroy an existing one is destroyed
    /// unless another request on it is in progress. Returns the instance, or
    /// null when there is none (always null for Destroy).
    Singleton* SingletonInstance(InstanceFunction creator, SingletonFlag flag, char const* name, int order);
    /// SingletonInstance without a creation function: finds or destroys an
    /// instance, never creates one.
    Singleton* GetInstanceByName(char const* name, SingletonFlag flag);
    /// Destroys `instance` if it is registered. Unless `force`, an instance
    /// that another thread is creating or fetching at the moment survives.
    void DeleteSingletonInstance(Singleton* instance, bool force);
    /// Destroys every instance, highest order first; equal orders go in name order.
    void RemoveAllSingletons();
    /// Removes all singletons before the registry itself is deleted.
    void BeforeDestroy() override;

private:
    /// One registered name.
    struct SingletonData {
        // Written under the record's mutex, read under the registry mutex too.
        std::atomic<Singleton*> instance{nullptr};
        InstanceFunction creator = nullptr;  // guarded by mutex
        std::unique_ptr<StdMutex> mutex;     // made on first need; guarded by the registry mutex
        int refCount = 0;                    // guarded by the registry mutex

        /// Adds `delta` to the requests and deletions in progress; returns the new count.
        int RefCount(int delta) { return refCount += delta; }
    };

    SingletonManager() = default;

    /// The double-checked creation of the instance registered under `name`;
    /// null at once without a `creator`.
    Singleton* CreateSingletonData(InstanceFunction creator, char const* name, int order);

    StdMutex m_mutex;
    std::map<std::string, std::unique_ptr<SingletonData>> m_records;  // guarded by m_mutex

    // Written under the static object's mutex only; read without it.
    static std::atomic<SingletonManager*> m_pInstance;
};

/// The static object that owns the registry: its mutex guards making and
/// destroying the registry, and its destruction when the library is unloaded
/// destroys the registry with every singleton left. After that, no registry
/// can be made again and every request returns null.
class AutoReleaseSingletonManager {
public:
    AutoReleaseSingletonManager() = default;
    ~AutoReleaseSingletonManager();
    AutoReleaseSingletonManager(AutoReleaseSingletonManager const&) = delete;
    AutoReleaseSingletonManager& operator=(AutoReleaseSingletonManager const&) = delete;

private:
    friend class SingletonManager;

    StdMutex m_mutex;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
