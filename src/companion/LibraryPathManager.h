#ifndef QDX_LIBRARY_PATH_MANAGER_H
#define QDX_LIBRARY_PATH_MANAGER_H

#include "JsonValue.h"
#include "support/Path.h"
#include "support/StdMutex.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// The library path that a host installation configured for its companion
/// libraries, remembered in "slp.json" in the wrapper's working folder:
///
///     { "ProductLibraryPath": { "<host folder>": { "QDX": "<library folder>" } } }
///
/// A host is known by the folder of its executable, its *host key*. The
/// member for that exact folder wins; failing that, the configured ancestor
/// folder of the host's folder farthest from it (the shortest one), so that
/// one entry can serve every host installed below it. The path text is
/// stored and returned as given, absolute or relative; a relative one is
/// resolved by the library search against the key it was found under.
///
/// A missing, unreadable or malformed file means that no path is configured;
/// that is normal and never logged as an error.
///
/// There is one process-wide instance shared by every sender. Any thread may
/// call any operation: each takes the instance's recursive mutex without a
/// time-out for its whole duration.
class LibraryPathManager {
public:
    /// What the instance holds, as one consistent copy.
    struct State {
        Path workingPath;
        bool configLoaded = false;  ///< see IsLibraryPathConfigLoaded
        Path libraryPath;
        Path libraryPathKey;
    };

    /// The process-wide instance, made on first use.
    static LibraryPathManager& Instance();
    /// The configuration file in `workingPath`: workingPath / "slp.json".
    static Path ConfigFileIn(Path const& workingPath);

    /// Sets the folder that holds "slp.json" on the process-wide instance. A
    /// folder other than the current one drops the loaded configuration, so
    /// that the next query reads the file there; the same folder keeps it.
    static void SSetWorkingPath(Path const& workingPath);

    /// Whether a configuration is held: a file read since the last change of
    /// working folder that parsed to a value, or one built by an update.
    bool IsLibraryPathConfigLoaded() const;
    /// Everything held now; reads nothing from the disk, so that a caller can
    /// tell cheaply whether a query would answer as it did before.
    State GetState() const;
    /// Whether everything held equals `state` (texts compared as they are).
    bool HoldsState(State const& state) const;
    /// Reads working folder / "slp.json" into the held configuration and tells
    /// whether it is usable: it exists, parses, and has "ProductLibraryPath".
    /// Without a working folder or without the file, nothing is read and the
    /// held configuration stays as it was.
    bool IsValidLibraryPathConfig();
    /// Reads the file and takes from it the library path for the host key
    /// `key`: the member named exactly `key`, else the shortest member name
    /// that is an ancestor folder of `key` (or `key` itself by path rules).
    /// False when the file is not usable; then the library path and its key
    /// stay as they were. True otherwise, also when no member matched (the
    /// path and key then stay as they were, too).
    bool LoadLibraryPathConfig(Path const& key);

    /// The configured library path for the running host (the folder of its
    /// executable), loading the configuration first when none is held; empty
    /// when nothing is configured. Deliberately a copy, not a reference: the
    /// member is guarded by the mutex and may change as soon as this returns.
    Path GetLibraryPath();
    /// The host key under which the current library path was found (an
    /// ancestor of the host's folder, or that folder itself); empty when none
    /// was. Reads what is held; loads nothing. By value, as GetLibraryPath.
    Path GetLibraryPathKey() const;
    /// Makes `libraryPath` the library path in memory at once and records it
    /// in "slp.json" for the running host. The key it was found under stays
    /// as it is. False, with nothing written, when no working folder is set.
    bool SetLibraryPath(Path const& libraryPath);
    /// Records `libraryPath` (its text as given) for the host key `key` in
    /// "slp.json", re-reading the file first so that every other host's entry
    /// and every other member stays. When the file is missing or has no
    /// "ProductLibraryPath", that member is made anew with just this entry.
    /// False only when no working folder is set; a failed write is not
    /// reported. Does not change the library path in use.
    bool UpdateLibraryPathConfig(Path const& key, Path const& libraryPath);
    /// Removes the entry recorded for exactly the host key `key` from
    /// "slp.json", re-reading the file first and keeping everything else, so
    /// that an ancestor's entry applies to that host again. False, with
    /// nothing written, when no working folder is set, the file is not usable
    /// or it holds no such entry. Does not change the library path in use.
    bool RemoveLibraryPathConfig(Path const& key);

    LibraryPathManager(LibraryPathManager const&) = delete;
    LibraryPathManager& operator=(LibraryPathManager const&) = delete;

private:
    LibraryPathManager() = default;

    /// The folder that holds the running executable.
    static Path HostKey();
    /// Replaces "slp.json" with the held configuration.
    void WriteConfig() const;

    JsonValue m_config;        // guarded by m_mutex; parsed "slp.json", null until read
    Path m_libraryPath;        // guarded by m_mutex
    Path m_libraryPathKey;     // guarded by m_mutex
    Path m_workingPath;        // guarded by m_mutex
    mutable StdMutex m_mutex;  // recursive: the loading and updating helpers run inside the other operations
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
