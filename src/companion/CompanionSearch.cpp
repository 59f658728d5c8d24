#include "companion/CompanionSearch.h"

#include "companion/QDXLibraryEntry.h"
#include "support/QdxUtilVersion.h"

namespace Norvane {
namespace QDXDesktopSDK {
namespace CompanionSearch {

namespace {

QDXLibraryManager::QDXLibraryEntry EntryOf(Candidate const& candidate)
{
    return {candidate.file, candidate.version, candidate.priority};
}

// Which field of the entry order decides between a loser and the chosen copy.
Verdict LostBy(Candidate const& loser, Candidate const& chosen)
{
    if (static_cast<long long>(loser.version - chosen.version) != 0)
        return Verdict::OlderVersion;
    if (loser.priority != chosen.priority)
        return Verdict::LowerPriority;
    return Verdict::LowerPath;
}

}  // namespace

std::vector<Place> Places(Inputs const& inputs)
{
    Path const& configured = inputs.configured;
    Path const& moduleName = inputs.moduleName;
    bool const relative = configured.IsRelativePath();
    std::vector<Place> places;
    if (!relative && !configured.IsEmpty())
        places.push_back({FolderKind::Configured, {configured.Append(moduleName)}, 100});
    else if (relative && !inputs.configuredKey.IsEmpty())
        places.push_back({FolderKind::Configured, {inputs.configuredKey.Append(configured).Append(moduleName)}, 100});
    if (!inputs.extraFolder.IsEmpty()) {
        Path const folder = relative ? inputs.extraFolder.Append(configured) : inputs.extraFolder;
        places.push_back({FolderKind::Extra, {folder.Append(moduleName)}, 100});
    }
    struct {
        FolderKind kind;
        Path const& folder;
        int priority;
    } const ownAndHost[] = {{FolderKind::Own, inputs.ownFolder, 1}, {FolderKind::Host, inputs.hostFolder, 0}};
    for (auto const& place : ownAndHost) {
        if (place.folder.IsEmpty())
            continue;
        // An empty configured path counts as relative, and would name the same file twice.
        if (relative && !configured.IsEmpty())
            places.push_back({place.kind,
                              {place.folder.Append(configured).Append(moduleName), place.folder.Append(moduleName)},
                              place.priority});
        else
            places.push_back({place.kind, {place.folder.Append(moduleName)}, place.priority});
    }
    return places;
}

Table Search(Inputs const& inputs)
{
    Table table;
    for (Place const& place : Places(inputs)) {
        for (Path const& file : place.files) {
            Candidate candidate{place.kind, file, file.Exists(), 0, place.priority, Verdict::NotFound};
            if (candidate.found) {
                bool seen = false;
                for (Candidate const& earlier : table.candidates)
                    seen = seen || (earlier.found && earlier.verdict != Verdict::SameFile && earlier.file == file);
                if (seen)
                    candidate.verdict = Verdict::SameFile;
                else
                    candidate.version = file.GetVersion();
            }
            table.candidates.push_back(candidate);
            if (candidate.found)
                break;
        }
    }

    auto const competes = [](Candidate const& c) { return c.found && c.verdict != Verdict::SameFile; };
    for (int i = 0; i < static_cast<int>(table.candidates.size()); ++i) {
        Candidate const& candidate = table.candidates[i];
        if (competes(candidate) && (table.chosen < 0 || EntryOf(table.candidates[table.chosen]) < EntryOf(candidate)))
            table.chosen = i;
    }
    if (table.chosen < 0) {
        table.folder = inputs.ownFolder;
        return table;
    }
    Candidate& chosen = table.candidates[table.chosen];
    chosen.verdict = Verdict::Chosen;
    for (Candidate& candidate : table.candidates) {
        if (competes(candidate) && &candidate != &chosen)
            candidate.verdict = LostBy(candidate, chosen);
    }
    table.folder = chosen.file.Parent();
    return table;
}

char const* FolderKindName(FolderKind kind)
{
    switch (kind) {
    case FolderKind::Configured:
        return "configured";
    case FolderKind::Extra:
        return "extra";
    case FolderKind::Own:
        return "own";
    case FolderKind::Host:
        return "host";
    }
    return "?";
}

char const* VerdictName(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Chosen:
        return "chosen";
    case Verdict::NotFound:
        return "not found";
    case Verdict::SameFile:
        return "same file";
    case Verdict::OlderVersion:
        return "older version";
    case Verdict::LowerPriority:
        return "lower priority";
    case Verdict::LowerPath:
        return "path sorts before";
    }
    return "?";
}

std::string VersionText(unsigned long long version)
{
    return version == 0 ? std::string("-") : QdxUtil::GetVersionStringFromVersion(version);
}

std::string Reason(Table const& table, int index)
{
    Candidate const& candidate = table.candidates.at(static_cast<std::size_t>(index));
    switch (candidate.verdict) {
    case Verdict::NotFound:
        return "no such file";
    case Verdict::SameFile:
        return "the same file as an earlier candidate";
    case Verdict::Chosen:
        break;
    default: {
        Candidate const& chosen = table.candidates[static_cast<std::size_t>(table.chosen)];
        if (candidate.verdict == Verdict::OlderVersion)
            return "version " + VersionText(candidate.version) + " is older than " + VersionText(chosen.version);
        if (candidate.verdict == Verdict::LowerPriority)
            return "same version, but priority " + std::to_string(candidate.priority) + " is below " +
                   std::to_string(chosen.priority);
        return "same version and priority; the chosen path sorts after it";
    }
    }
    // The chosen copy, against the best of the others.
    Candidate const* runnerUp = nullptr;
    for (Candidate const& other : table.candidates) {
        bool const lost = other.verdict == Verdict::OlderVersion || other.verdict == Verdict::LowerPriority ||
                          other.verdict == Verdict::LowerPath;
        if (lost && (runnerUp == nullptr || EntryOf(*runnerUp) < EntryOf(other)))
            runnerUp = &other;
    }
    std::string const unstamped = candidate.version == 0 ? " (it has no version stamp)" : "";
    if (runnerUp == nullptr)
        return "the only copy found" + unstamped;
    if (runnerUp->verdict == Verdict::OlderVersion)
        return "the highest version" + unstamped;
    if (runnerUp->verdict == Verdict::LowerPriority)
        return "the highest version, and the highest priority among copies of it";
    return "the highest version and priority; its path sorts last";
}

}  // namespace CompanionSearch
}  // namespace QDXDesktopSDK
}  // namespace Norvane
