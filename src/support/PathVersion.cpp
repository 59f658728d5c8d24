// A library's version comes from its stamp, "$Id: name,v 1.2.3.4 date maker $":
// the name before the first "," may hold digits of its own, so the version is
// looked for only after it.
#include "support/Path.h"
#include "support/QdxUtilResource.h"
#include "support/QdxUtilVersion.h"

namespace Norvane {
namespace QDXDesktopSDK {

unsigned long long Path::GetVersion() const
{
    std::vector<unsigned char> bytes;
    QdxUtil::LoadResourceFromBinary(bytes, m_path, "_ZL7version", false);
    std::string text(bytes.begin(), bytes.end());
    std::size_t const comma = text.find(',');
    if (comma != std::string::npos)
        text.erase(0, comma);
    return QdxUtil::GetVersionFromString(text);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
