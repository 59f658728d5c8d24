#include "support/SingletonManager.h"

#include "support/StaticSetUpOrder.h"

#include <algorithm>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// Set when the static owner is destroyed: its mutex is gone with it, so no
// registry may be made any more.
std::atomic<bool> s_ownerGone{false};

AutoReleaseSingletonManager& Owner()
{
    // Made on first use, so that a request from another module's static
    // set-up finds it ready whatever order the modules are set up in.
    static AutoReleaseSingletonManager owner;
    return owner;
}

// Made while the library loads, ahead of the modules that keep singletons,
// so that it is destroyed after them and their destructors can still log.
struct OwnerAtLoad {
    OwnerAtLoad() { Owner(); }
} const s_ownerAtLoad QDX_STATIC_SET_UP_SINGLETON_MANAGER;

}  // namespace

std::atomic<SingletonManager*> SingletonManager::m_pInstance{nullptr};

AutoReleaseSingletonManager::~AutoReleaseSingletonManager()
{
    SingletonManager::Instance(Singleton::Destroy);
    s_ownerGone.store(true, std::memory_order_release);
}

SingletonManager* SingletonManager::Instance(SingletonFlag flag)
{
    SingletonManager* registry = m_pInstance.load(std::memory_order_acquire);
    if (flag == GetExisting || (flag == GetOrCreate && registry != nullptr))
        return registry;
    if (s_ownerGone.load(std::memory_order_acquire))
        return nullptr;

    StdAutoMutexLock lock(Owner().m_mutex, -1);
    registry = m_pInstance.load(std::memory_order_acquire);
    if (flag == GetOrCreate) {
        if (registry == nullptr) {
            registry = new SingletonManager();
            m_pInstance.store(registry, std::memory_order_release);
        }
        return registry;
    }
    if (registry != nullptr) {
        // The singletons are destroyed while the registry is still reachable,
        // so that their destructors can ask for the ones still alive.
        registry->BeforeDestroy();
        m_pInstance.store(nullptr, std::memory_order_release);
        delete registry;
    }
    return nullptr;
}

Singleton* SingletonManager::SingletonInstance(InstanceFunction creator, SingletonFlag flag, char const* name,
                                               int order)
{
    Singleton* instance = nullptr;
    {
        StdAutoMutexLock lock(m_mutex, -1);
        auto const found = m_records.find(name != nullptr ? name : "");
        if (found != m_records.end())
            instance = found->second->instance.load(std::memory_order_acquire);
    }
    if (instance != nullptr) {
        if (flag != Destroy)
            return instance;
        DeleteSingletonInstance(instance, false);
        return nullptr;
    }
    if (flag != GetOrCreate)
        return nullptr;
    return CreateSingletonData(creator, name, order);
}

Singleton* SingletonManager::GetInstanceByName(char const* name, SingletonFlag flag)
{
    return SingletonInstance(nullptr, flag, name, 0);
}

Singleton* SingletonManager::CreateSingletonData(InstanceFunction creator, char const* name, int order)
{
    if (creator == nullptr)
        return nullptr;

    SingletonData* record = nullptr;
    {
        StdAutoMutexLock lock(m_mutex, -1);
        std::unique_ptr<SingletonData>& entry = m_records[name != nullptr ? name : ""];
        if (!entry)
            entry = std::make_unique<SingletonData>();
        record = entry.get();
        if (Singleton* existing = record->instance.load(std::memory_order_acquire))
            return existing;
        if (!record->mutex)
            record->mutex = std::make_unique<StdMutex>();
        // The count keeps the record, and its mutex, alive while this request
        // works on it without the registry mutex.
        record->RefCount(1);
    }

    Singleton* instance = nullptr;
    {
        StdAutoMutexLock lock(*record->mutex, -1);
        instance = record->instance.load(std::memory_order_acquire);
        if (instance == nullptr) {
            Singleton* slot = nullptr;
            instance = creator(slot, GetOrCreate);
            if (instance != nullptr) {
                if (name != nullptr)
                    instance->m_name = name;
                instance->m_order = order;
                record->creator = creator;
            }
            record->instance.store(slot, std::memory_order_release);
        }
    }

    StdAutoMutexLock lock(m_mutex, -1);
    record->RefCount(-1);
    return instance;
}

void SingletonManager::DeleteSingletonInstance(Singleton* instance, bool force)
{
    if (instance == nullptr)
        return;

    std::string name;
    SingletonData* record = nullptr;
    {
        StdAutoMutexLock lock(m_mutex, -1);
        for (auto const& entry : m_records) {
            if (entry.second->instance.load(std::memory_order_acquire) == instance) {
                name = entry.first;
                record = entry.second.get();
                break;
            }
        }
        if (record == nullptr)
            return;
        if (record->RefCount(1) >= 2 && !force) {
            // Another thread is creating or fetching it right now.
            record->RefCount(-1);
            return;
        }
    }

    {
        StdAutoMutexLock lock(*record->mutex, -1);
        Singleton* slot = record->instance.load(std::memory_order_acquire);
        if (slot != nullptr && record->creator != nullptr) {
            Singleton* held = slot;
            slot = record->creator(held, Destroy);
        }
        // A null slot here means the class destroyed the instance itself.
        if (slot != nullptr)
            slot->BeforeDestroy();
        // Unregistered before the destructor runs, so that no lookup can hand
        // out an instance that is being destroyed.
        record->instance.store(nullptr, std::memory_order_release);
        delete slot;
    }

    StdAutoMutexLock lock(m_mutex, -1);
    auto const found = m_records.find(name);
    if (found != m_records.end() && found->second.get() == record && (record->RefCount(-1) < 1 || force))
        m_records.erase(found);
}

void SingletonManager::RemoveAllSingletons()
{
    std::vector<Singleton*> ordered;
    {
        StdAutoMutexLock lock(m_mutex, -1);
        for (auto const& entry : m_records) {
            Singleton* instance = entry.second->instance.load(std::memory_order_acquire);
            if (instance == nullptr)
                continue;
            // Before the first lower order: equal orders keep name order.
            auto const position = std::find_if(ordered.begin(), ordered.end(), [instance](Singleton const* listed) {
                return listed->m_order < instance->m_order;
            });
            ordered.insert(position, instance);
        }
    }
    for (Singleton* instance : ordered)
        DeleteSingletonInstance(instance, true);
}

void SingletonManager::BeforeDestroy()
{
    RemoveAllSingletons();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
