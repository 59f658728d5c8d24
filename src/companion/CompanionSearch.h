#ifndef QDX_COMPANION_SEARCH_H
#define QDX_COMPANION_SEARCH_H

#include "support/Path.h"

#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

/// The search for the copy of a companion file to load, as one table: every
/// file the search tested, whether it exists, the version stamp read from it
/// (without loading it), its priority, and which one is chosen and why the
/// others lost. The loader builds this table and logs it; `qdxsdk locate`
/// and `qdxsdk doctor` build the same table for any host, so that what they
/// show is what a host would load.
namespace CompanionSearch {

/// The kind of folder a candidate lies in.
enum class FolderKind {
    Configured,  ///< the host's configured library path ("slp.json"), priority 100
    Extra,       ///< a folder given to the search by its caller, priority 100
    Own,         ///< the folder of the wrapper library's own file, priority 1
    Host,        ///< the folder of the host executable, priority 0
};

/// What became of a candidate.
enum class Verdict {
    Chosen,         ///< the copy the search returns
    NotFound,       ///< no such file
    SameFile,       ///< names a file an earlier candidate already named
    OlderVersion,   ///< the chosen copy has a higher version
    LowerPriority,  ///< same version as the chosen copy, lower priority
    LowerPath,      ///< same version and priority; the chosen path sorts after it
};

/// Where a search starts from.
struct Inputs {
    Path moduleName;     ///< the companion's file name, "QdxSDKCore.so"
    Path configured;     ///< the configured library path; absolute, relative or empty
    Path configuredKey;  ///< the host folder it was configured under (resolves a relative one)
    Path extraFolder;    ///< a further folder; empty for none
    Path ownFolder;      ///< the folder of the wrapper library
    Path hostFolder;     ///< the folder of the host executable
};

struct Candidate {
    FolderKind kind;
    Path file;
    bool found = false;
    unsigned long long version = 0;  ///< the packed stamp; 0 when not found or unstamped
    int priority = 0;
    Verdict verdict = Verdict::NotFound;
};

struct Table {
    std::vector<Candidate> candidates;  ///< in the order the search tested them
    int chosen = -1;                    ///< index of the chosen candidate; -1 when no copy exists
    /// The folder the loader loads from: the chosen copy's folder, or the
    /// wrapper library's own folder when there is none.
    Path folder;
};

/// The files a copy may be, per folder, in the order the search takes them;
/// of each folder's files the first that exists is the candidate. With a
/// relative configured path, each of the own and host folders offers the
/// configured path inside it first and the folder itself second.
struct Place {
    FolderKind kind;
    std::vector<Path> files;
    int priority;
};
std::vector<Place> Places(Inputs const& inputs);

/// Tests the files of every place (one stat each, until one exists) and reads
/// the stamp of every distinct file found. The chosen copy is the greatest
/// by version, then priority, then path text (QDXLibraryEntry's order).
Table Search(Inputs const& inputs);

/// "configured", "extra", "own" or "host".
char const* FolderKindName(FolderKind kind);
/// "chosen", "not found", "same file", "older version", "lower priority" or "path sorts before".
char const* VerdictName(Verdict verdict);
/// Why candidate `index` won or lost, in a few words for people: "the only
/// copy found", "version 1.0.0.0 is older than 2.1.0.0", ...
std::string Reason(Table const& table, int index);
/// The version as "1.2.3.4", or "-" for none.
std::string VersionText(unsigned long long version);

}  // namespace CompanionSearch
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
