// A library's version comes from its stamp, "$Id: name,v 1.2.3.4 date maker $":
// the name before the first "," may hold digits of its own, so the version is
// looked for only after it.
#include "support/ElfSymbol.h"
#include "support/Path.h"
#include "support/QdxUtilResource.h"

namespace Norvane {
namespace QDXDesktopSDK {

unsigned long long Path::GetVersion() const
{
    std::vector<unsigned char> bytes;
    QdxUtil::LoadResourceFromBinary(bytes, m_path, "_ZL7version", false);
    return ElfSymbol::VersionOfStamp(std::string(bytes.begin(), bytes.end()));
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
