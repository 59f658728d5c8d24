#include "support/LogTarget.h"

#include "support/Logger.h"

namespace Norvane {
namespace QDXDesktopSDK {

LogTarget::LogTarget(char const* name)
{
    Register(name);
}

void LogTarget::Register(char const* name)
{
    if (name == nullptr || *name == '\0')
        return;
    // No logger can be made any more once the library is being unloaded.
    if (Logger* logger = Logger::Instance(Singleton::GetOrCreate))
        logger->AddTarget(name, this, false);
}

void LogTarget::Reset() {}

LogTarget::~LogTarget()
{
    if (Logger* logger = Logger::Instance(Singleton::GetExisting))
        logger->RemoveTarget(this);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
