#include "companion/SearchInputs.h"

#include "support/StdProcessTime.h"

#include <algorithm>

namespace Norvane {
namespace QDXDesktopSDK {

SearchInputs::SearchInputs(Path const& senderWorkingPath, LibraryPathManager::State settings,
                           std::vector<Path> const& candidateFiles)
    : m_senderWorkingPath(senderWorkingPath.GetString()),
      m_settings(std::move(settings)),
      // Read before any stat: a change after it is stamped no earlier than
      // this, less the file system's clock tick.
      m_takenAtNs(StdProcessUtil::GetLocalTime(StdProcessUtil::Time_Nanosecond))
{
    if (!m_settings.configLoaded && !m_settings.workingPath.IsEmpty())
        Watch(LibraryPathManager::ConfigFileIn(m_settings.workingPath));
    for (Path const& file : candidateFiles)
        Watch(file.Parent());
}

void SearchInputs::Watch(Path const& path)
{
    auto const same = [&path](auto const& watched) { return watched.first.GetString() == path.GetString(); };
    if (std::none_of(m_watched.begin(), m_watched.end(), same))
        m_watched.emplace_back(path, StatSignature::Of(path));
}

bool SearchInputs::StillHold(Path const& senderWorkingPath, LibraryPathManager const& manager) const
{
    if (senderWorkingPath.GetString() != m_senderWorkingPath || !manager.HoldsState(m_settings))
        return false;
    auto const unchanged = [](auto const& watched) { return StatSignature::Of(watched.first) == watched.second; };
    return std::all_of(m_watched.begin(), m_watched.end(), unchanged);
}

bool SearchInputs::IsConclusive() const
{
    auto const settled = [this](auto const& watched) {
        // "~" is no home folder to the system: such a path is relative too.
        return watched.first.GetString().compare(0, 1, "/") == 0 && watched.second.ShowsLaterChanges(m_takenAtNs);
    };
    return std::all_of(m_watched.begin(), m_watched.end(), settled);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
