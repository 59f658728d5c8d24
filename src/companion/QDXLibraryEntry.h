#ifndef QDX_LIBRARY_ENTRY_H
#define QDX_LIBRARY_ENTRY_H

#include "support/Path.h"

#include <set>

namespace Norvane {
namespace QDXDesktopSDK {
namespace QDXLibraryManager {

/// One candidate copy of a companion library found while locating it.
struct QDXLibraryEntry {
    Path path;                   ///< the candidate file
    unsigned long long version;  ///< its packed version stamp; 0 when it has none
    int priority;                ///< 100 configured or extra folder, 1 this library's folder, 0 the host's

    /// The order of choice: version, then priority, then the path text
    /// (bytewise, a shorter prefix first). The last entry is chosen.
    bool operator<(QDXLibraryEntry const& other) const;
};

using QDXLibraryEntrySet = std::set<QDXLibraryEntry>;

}  // namespace QDXLibraryManager
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
