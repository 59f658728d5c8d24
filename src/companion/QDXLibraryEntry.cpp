#include "companion/QDXLibraryEntry.h"

#include <algorithm>
#include <cstring>

namespace Norvane {
namespace QDXDesktopSDK {
namespace QDXLibraryManager {

bool QDXLibraryEntry::operator<(QDXLibraryEntry const& other) const
{
    // Versions are compared through their signed difference, as every library of the family does.
    long long const versions = static_cast<long long>(version - other.version);
    if (versions != 0)
        return versions < 0;
    if (priority != other.priority)
        return priority < other.priority;
    std::string const& text = path.GetString();
    std::string const& otherText = other.path.GetString();
    int const bytes = std::memcmp(text.data(), otherText.data(), std::min(text.size(), otherText.size()));
    return bytes != 0 ? bytes < 0 : text.size() < otherText.size();
}

}  // namespace QDXLibraryManager
}  // namespace QDXDesktopSDK
}  // namespace Norvane
