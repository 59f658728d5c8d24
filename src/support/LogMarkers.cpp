#include "support/LogMarkers.h"

namespace Norvane {
namespace QDXDesktopSDK {
namespace LogMarkers {

Path PathOf(char const* name)
{
    return Path::GetTempPath().Append(name);
}

bool Exists(char const* name)
{
    return PathOf(name).Exists();
}

int MarkedLevel()
{
    if (Exists(kDev))
        return 6;
    return Exists(kDebug) ? 5 : 0;
}

}  // namespace LogMarkers
}  // namespace QDXDesktopSDK
}  // namespace Norvane
