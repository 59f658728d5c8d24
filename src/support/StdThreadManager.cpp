#include "support/StdThreadManager.h"

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

StdMutex& ThreadLock()
{
    if (StdThreadManager* manager = StdThreadManager::Instance(Singleton::GetOrCreate))
        return manager->GetThreadLock();
    // Never destroyed: threads may still hand over after every static of the
    // library has been torn down.
    static StdMutex* const s_lastResort = new StdMutex();
    return *s_lastResort;
}

}  // namespace

Singleton* StdThreadManager::InstanceFunctionImpl(Singleton*& slot, SingletonFlag flag)
{
    if (flag == GetOrCreate && slot == nullptr)
        slot = new StdThreadManager();
    return slot;
}

StdThreadManager* StdThreadManager::Instance(SingletonFlag flag)
{
    return InstanceOf<StdThreadManager>(flag);
}

StdThreadManager::~StdThreadManager()
{
    StdAutoMutexLock drain(m_threadLock, -1);
}

StdAutoThreadLock::StdAutoThreadLock() : m_lock(ThreadLock(), -1) {}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
