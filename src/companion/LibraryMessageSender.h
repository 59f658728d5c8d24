#ifndef QDX_LIBRARY_MESSAGE_SENDER_H
#define QDX_LIBRARY_MESSAGE_SENDER_H

#include "companion/CompanionSearch.h"
#include "companion/MessageSender.h"
#include "support/Path.h"
#include "support/StdMutex.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

class Logger;
class SearchInputs;

/// The channel to one companion library file, loaded on the first message.
/// The newest copy of the file among the configured folder, this library's
/// own folder and the host executable's folder is opened (versions are read
/// from the files without loading them), its entry points "Initialize",
/// "InitializeEx", "Finalize", "ProcessMessage" and "FreeMessage" (each
/// followed by the entry-point suffix) are resolved and it is initialised.
/// The companion answers its initialisation with a status in the codes of
/// QdxResult.h; the disabling ones (see IsDisabled) switch the sender off for
/// good, and QdxResult_Disabled also unloads the companion. While no copy is
/// found, every message searches again, but only after a few stats have shown
/// that something the search depends on changed (see SearchInputs). Any thread
/// may send; loading is serialised by the sender's load mutex; unloading is for
/// shut-down only.
class LibraryMessageSender : public MessageSender {
public:
    /// `loadableModuleName` is the companion's file name ("QdxSDKCore.so");
    /// without `entryPointSuffix` the suffix is "_" and the file name without
    /// extension and without a leading "lib". `installPath` may be null.
    LibraryMessageSender(char const* loadableModuleName, char const* entryPointSuffix, char const* installPath);
    /// Unloads the companion.
    ~LibraryMessageSender() override;

    /// Loads the companion when needed, then sends. Returns the load code
    /// (see Load) without sending when the companion cannot be used; `result`
    /// is then untouched.
    virtual int ProcessMessage(std::string const& name, JsonValue const& arguments, JsonValue& result);
    /// ProcessMessage with an argument object built from text pairs, as
    /// SendMessageWithArguments builds it.
    int ProcessMessageWithArguments(std::string const& name, JsonValue& result, char const* key, ...);

    /// QdxResult_Success when the companion is (now) loaded; the status when
    /// the sender is disabled; else the status if one was recorded, or
    /// QdxResult_CompanionNotLoaded.
    int Load();
    bool IsLoaded() const;
    bool IsDisabled() const;
    /// True for the initialisation statuses that disable a sender:
    /// QdxResult_CompanionNotLoaded, QdxResult_NoEntryPoint and
    /// QdxResult_Disabled. A disabled sender that is unloaded never loads
    /// again: every later message returns the status.
    static bool IsDisabled(int status);
    /// The last status returned by the companion's initialisation; 0 before.
    int GetStatus() const;

    /// The folder of the newest copy of the companion (or this library's own
    /// folder when there is none), with the file name joined when
    /// `appendModuleName`. Only reads files. `unused` has no effect.
    Path LocateLibrary(bool appendModuleName, bool unused, char const* extraFolder) const;
    /// Opens the companion from `folder` (an install copy is preferred only
    /// when it is newer and its signature verifies, which this platform
    /// cannot check), resolves and initialises it. True when loaded.
    bool LoadLibraryWithPath(Path const& folder);
    /// Attaches an open library: resolves the entry points unless the sender
    /// is loaded already. A handle given from outside is not owned: UnLoad
    /// neither finalises nor closes it.
    void SetLibraryHandle(void* handle);
    /// Finalises and closes a library the sender opened itself, and detaches
    /// the entry points. The status stays, so a disabled sender stays so.
    void UnLoad();

    void SetInstallPath(Path const& path);
    Path const& GetInstallPath() const;
    void SetWorkingPath(Path const& path);
    Path const& GetWorkingPath() const;
    Path const& GetLoadableModuleName() const;
    /// The file name's first component: the file name itself for a plain name.
    Path GetModuleName() const;
    /// The folder the library was last tried or loaded from; empty when unloaded.
    Path const& GetLibraryFolder() const;

    /// The configured companion folder for this host (see LibraryPathManager).
    static Path GetLibraryPath();
    /// The host folder under which that configuration was found.
    static Path GetLibraryPathKey();
    /// Stores and persists the configured folder; with `addToSearchPath` the
    /// folder is also handed to the loader's search path. Always 0.
    static int SetLibraryPath(Path const& path, bool addToSearchPath);

private:
    using InitializeFunction = int (*)();
    using InitializeExFunction = int (*)(char const*);
    using FinalizeFunction = void (*)();

    Path Locate(bool appendModuleName, char const* extraFolder, bool& foundCopy) const;
    /// Where a search for this companion starts from, with `configured` and
    /// `key` as the library path and its key.
    CompanionSearch::Inputs SearchInputsFor(Path const& configured, Path const& key, char const* extraFolder) const;
    SearchInputs TakeSearchInputs() const;
    static Path OwnFolder();
    static Path HostFolder();
    void Initialise();
    void LogLoadAttempt(Path const& file, bool loaded, char const* loaderError) const;
    void LogCandidates(Logger& logger, CompanionSearch::Table const& table) const;
    void LogInitialisation() const;

    std::string m_initializeName;
    std::string m_initializeExName;
    std::string m_finalizeName;
    std::string m_processMessageName;
    std::string m_freeMessageName;
    std::string const m_initializationText;  // handed to "InitializeEx"; always empty
    Path const m_loadableModuleName;
    Path m_libraryPath;
    Path m_installPath;
    Path m_workingPath;
    void* m_libraryHandle = nullptr;
    bool m_ownsHandle = false;
    InitializeFunction m_initialize = nullptr;
    InitializeExFunction m_initializeEx = nullptr;
    FinalizeFunction m_finalize = nullptr;
    StdMutex m_loadMutex;
    // Written under m_loadMutex, read without it by the fast path of Load().
    std::atomic<int> m_status{0};
    // Guarded by m_loadMutex: what the last search depended on, when it found
    // no copy and a change would show; null otherwise.
    std::unique_ptr<SearchInputs> m_fruitlessSearch;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
