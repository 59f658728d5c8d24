#include "support/Singleton.h"

#include "support/SingletonManager.h"

namespace Norvane {
namespace QDXDesktopSDK {

Singleton* Singleton::GetInstanceImpl(InstanceFunction creator, SingletonFlag flag, char const* name, int order)
{
    // Only a creating request may bring the registry back, so that shut-down
    // paths asking for an existing instance never rebuild it.
    SingletonManager* registry = SingletonManager::Instance(flag == GetOrCreate ? GetOrCreate : GetExisting);
    if (registry == nullptr)
        return nullptr;
    return registry->SingletonInstance(creator, flag, name, order);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
