#ifndef QDX_SEARCH_INPUTS_H
#define QDX_SEARCH_INPUTS_H

#include "companion/LibraryPathManager.h"
#include "support/Path.h"
#include "support/StatSignature.h"

#include <string>
#include <utility>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

/// Everything that the search for a companion's copies depends on, taken
/// cheaply: the settings it starts from (the sender's working folder, and
/// what the path manager holds: its working folder, whether a configuration
/// is loaded, the library path and key), a stat of "slp.json" while no
/// configuration is loaded (the search reads the file then), and a stat of
/// each folder in which a copy could lie. A copy can only appear in a folder
/// by adding an entry to it, which changes the folder's stat, and a folder
/// that does not exist yet has to appear first. So while the inputs still
/// hold and were `IsConclusive` when taken, a search finds exactly what it
/// found when they were taken.
class SearchInputs {
public:
    /// Takes the stats now (one per distinct folder, and one of "slp.json"
    /// when the search reads it). `candidateFiles` are all the files that a
    /// search starting from these settings may look at.
    SearchInputs(Path const& senderWorkingPath, LibraryPathManager::State settings,
                 std::vector<Path> const& candidateFiles);

    /// Whether a search now would start from the same settings (texts
    /// compared exactly) and every watched path still gives the same stat:
    /// one stat per watched path, nothing else touches the disk.
    bool StillHold(Path const& senderWorkingPath, LibraryPathManager const& manager) const;

    /// Whether any later change would show in `StillHold`: every watched path
    /// is absolute (a relative one depends on the current folder), and
    /// whatever exists was last modified long enough before the take that a
    /// change cannot repeat its times (StatSignature::ShowsLaterChanges).
    bool IsConclusive() const;

private:
    void Watch(Path const& path);

    std::string m_senderWorkingPath;
    LibraryPathManager::State m_settings;
    std::vector<std::pair<Path, StatSignature>> m_watched;  // distinct paths, in the order first met
    long long m_takenAtNs;                                  // the real-time clock before the first stat
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
