#include "companion/LibraryMessageSender.h"

#include "companion/EntryPointNames.h"
#include "companion/LibraryPathManager.h"
#include "companion/SearchInputs.h"
#include "support/Logger.h"
#include "support/StdProcessLibrary.h"

#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

LibraryMessageSender::LibraryMessageSender(char const* loadableModuleName, char const* entryPointSuffix,
                                           char const* installPath)
    : MessageSender(nullptr, nullptr), m_loadableModuleName(loadableModuleName), m_installPath(installPath)
{
    EntryPointNames const names(EntryPointNames::SuffixFor(loadableModuleName, entryPointSuffix));
    m_initializeName = names.initialize;
    m_initializeExName = names.initializeEx;
    m_finalizeName = names.finalize;
    m_processMessageName = names.processMessage;
    m_freeMessageName = names.freeMessage;
}

LibraryMessageSender::~LibraryMessageSender()
{
    UnLoad();
}

int LibraryMessageSender::ProcessMessage(std::string const& name, JsonValue const& arguments, JsonValue& result)
{
    int const code = Load();
    return code != QdxResult_Success ? code : SendMessage(name, arguments, result);
}

int LibraryMessageSender::ProcessMessageWithArguments(std::string const& name, JsonValue& result, char const* key, ...)
{
    va_list values;
    va_start(values, key);
    JsonValue const arguments = ArgumentsFromPairs(key, values);
    va_end(values);
    return ProcessMessage(name, arguments, result);
}

int LibraryMessageSender::Load()
{
    if (IsLoaded())
        return QdxResult_Success;
    if (IsDisabled())
        return GetStatus();
    StdAutoMutexLock const lock(m_loadMutex, -1);
    if (IsDisabled())
        return GetStatus();
    if (IsLoaded())
        return QdxResult_Success;
    // Without a copy anywhere, every message would search again; a few stats
    // show whether anything the search depends on has changed since the last
    // one, so only a change costs a search.
    if (m_fruitlessSearch != nullptr && m_fruitlessSearch->StillHold(m_workingPath, LibraryPathManager::Instance())) {
        if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Debug))
            logger->Log(Logger::LogLevel_Debug,
                        "Library %s not found: no searched folder changed since the last search",
                        GetModuleName().c_str());
    } else {
        m_fruitlessSearch.reset();
        // Taken before the search, so that a change while it runs shows next time.
        SearchInputs inputs = TakeSearchInputs();
        bool foundCopy = false;
        Path const folder = Locate(false, nullptr, foundCopy);
        if (LoadLibraryWithPath(folder))
            return QdxResult_Success;
        // A missing folder of its own is warned about at every search, so it is searched for every time.
        if (!foundCopy && inputs.IsConclusive() && folder.Exists())
            m_fruitlessSearch = std::make_unique<SearchInputs>(std::move(inputs));
    }
    // A status recorded by an earlier initialisation says more than the generic code.
    int const status = GetStatus();
    if (status == QdxResult_Success)
        return QdxResult_CompanionNotLoaded;
    return status;
}

bool LibraryMessageSender::IsLoaded() const
{
    return IsValid();
}

bool LibraryMessageSender::IsDisabled() const
{
    return IsDisabled(GetStatus());
}

bool LibraryMessageSender::IsDisabled(int status)
{
    return status == QdxResult_CompanionNotLoaded || status == QdxResult_NoEntryPoint || status == QdxResult_Disabled;
}

int LibraryMessageSender::GetStatus() const
{
    return m_status.load(std::memory_order_acquire);
}

Path LibraryMessageSender::LocateLibrary(bool appendModuleName, bool, char const* extraFolder) const
{
    bool foundCopy = false;
    return Locate(appendModuleName, extraFolder, foundCopy);
}

Path LibraryMessageSender::Locate(bool appendModuleName, char const* extraFolder, bool& foundCopy) const
{
    if (!m_workingPath.IsEmpty())
        LibraryPathManager::SSetWorkingPath(m_workingPath);
    Path const configured = GetLibraryPath();
    CompanionSearch::Table const table =
        CompanionSearch::Search(SearchInputsFor(configured, GetLibraryPathKey(), extraFolder));
    if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Debug))
        LogCandidates(*logger, table);
    foundCopy = table.chosen >= 0;
    return appendModuleName ? table.folder.Append(GetModuleName()) : table.folder;
}

void LibraryMessageSender::LogCandidates(Logger& logger, CompanionSearch::Table const& table) const
{
    Path const moduleName = GetModuleName();
    for (int i = 0; i < static_cast<int>(table.candidates.size()); ++i) {
        CompanionSearch::Candidate const& candidate = table.candidates[static_cast<std::size_t>(i)];
        logger.Log(Logger::LogLevel_Debug, "Candidate %s in %s folder: %s, version %s, priority %d: %s, %s",
                   moduleName.c_str(), CompanionSearch::FolderKindName(candidate.kind), candidate.file.c_str(),
                   CompanionSearch::VersionText(candidate.version).c_str(), candidate.priority,
                   CompanionSearch::VerdictName(candidate.verdict), CompanionSearch::Reason(table, i).c_str());
    }
    if (table.chosen < 0)
        logger.Log(Logger::LogLevel_Debug, "No copy of %s found in %zu candidate(s); trying this library's folder %s",
                   moduleName.c_str(), table.candidates.size(), table.folder.c_str());
}

CompanionSearch::Inputs LibraryMessageSender::SearchInputsFor(Path const& configured, Path const& key,
                                                              char const* extraFolder) const
{
    Path const extra = extraFolder != nullptr ? Path(extraFolder) : Path();
    return CompanionSearch::Inputs{GetModuleName(), configured, key, extra, OwnFolder(), HostFolder()};
}

// The install folder is no input: a copy there is tried only when its
// signature verifies, which none does on this platform.
SearchInputs LibraryMessageSender::TakeSearchInputs() const
{
    // Set as the search sets it first, so that the inputs hold the settings
    // the search starts from and the next message need not search again.
    if (!m_workingPath.IsEmpty())
        LibraryPathManager::SSetWorkingPath(m_workingPath);
    LibraryPathManager::State const settings = LibraryPathManager::Instance().GetState();
    std::vector<Path> files;
    for (CompanionSearch::Place const& place :
         CompanionSearch::Places(SearchInputsFor(settings.libraryPath, settings.libraryPathKey, nullptr)))
        files.insert(files.end(), place.files.begin(), place.files.end());
    return SearchInputs(m_workingPath, settings, files);
}

Path LibraryMessageSender::OwnFolder()
{
    return Path::GetSpecialFolderPath(Path::SpecialFolder_Module, false).Parent();
}

Path LibraryMessageSender::HostFolder()
{
    return Path::GetSpecialFolderPath(Path::SpecialFolder_Executable, false).Parent();
}

bool LibraryMessageSender::LoadLibraryWithPath(Path const& folder)
{
    Logger* const logger = Logger::Instance(Singleton::GetOrCreate);
    Path const moduleName = GetModuleName();
    if (logger != nullptr && logger->IsLogEnabled(Logger::LogLevel_Debug))
        logger->Log(Logger::LogLevel_Debug, "Trying to load library %s from %s", moduleName.c_str(), folder.c_str());
    if (!m_libraryPath.IsEmpty() && m_libraryPath == folder)
        return IsLoaded();
    UnLoad();
    if (!folder.Exists()) {
        if (logger != nullptr)
            logger->Log(Logger::LogLevel_Warning, "Library %s not found %s", moduleName.c_str(), folder.c_str());
        return IsLoaded();
    }

    std::vector<Path> folders;
    if (!m_installPath.IsEmpty()) {
        Path const installFile = m_installPath.Append(moduleName);
        if (installFile.GetVersion() > folder.Append(moduleName).GetVersion() &&
            StdProcessUtil::VerifyCertificate(installFile))
            folders.push_back(installFile.Parent());
    }
    folders.push_back(folder);

    for (Path const& candidate : folders) {
        UnLoad();
        m_libraryPath = candidate.Append(m_loadableModuleName);
        if (!m_libraryPath.Exists())
            continue;
        char const* loaderError = nullptr;
        void* const handle = StdProcessUtil::LibraryLoad(m_libraryPath, &loaderError);
        SetLibraryHandle(handle);
        m_ownsHandle = true;
        bool const loaded = IsLoaded();
        LogLoadAttempt(m_libraryPath, loaded, loaderError);
        m_libraryPath = candidate;
        Initialise();
        if (handle != nullptr)
            LogInitialisation();
        if (GetStatus() == QdxResult_Disabled)
            UnLoad();
        if (loaded)
            break;
    }
    return IsLoaded();
}

void LibraryMessageSender::LogLoadAttempt(Path const& file, bool loaded, char const* loaderError) const
{
    Logger* const logger = Logger::Instance(Singleton::GetOrCreate);
    if (logger == nullptr)
        return;
    std::string detail;
    if (!loaded) {
        if (loaderError != nullptr)
            detail = std::string(loaderError) + ". ";
        detail += StdProcessUtil::GetLastErrorString(-1);
    }
    logger->Log(loaded ? Logger::LogLevel_Debug : Logger::LogLevel_Error, "%s load QDX SDK library from %s. %s",
                loaded ? "Successfully" : "Failed to", file.c_str(), detail.c_str());
}

void LibraryMessageSender::LogInitialisation() const
{
    int const status = GetStatus();
    Logger::LogLevel const level = status == QdxResult_Success ? Logger::LogLevel_Debug : Logger::LogLevel_Warning;
    if (Logger* const logger = Logger::IfEnabled(level))
        logger->Log(level, "Initialised %s from %s: status %d%s", GetModuleName().c_str(), m_libraryPath.c_str(),
                    status,
                    status == QdxResult_Disabled ? " (it refused to start; closed and disabled)"
                    : IsDisabled(status)         ? " (disabled: every message returns this status)"
                                                 : "");
}

void LibraryMessageSender::Initialise()
{
    if (m_initializeEx != nullptr)
        m_status.store(m_initializeEx(m_initializationText.c_str()), std::memory_order_release);
    else if (m_initialize != nullptr)
        m_status.store(m_initialize(), std::memory_order_release);
}

void LibraryMessageSender::SetLibraryHandle(void* handle)
{
    m_libraryHandle = handle;
    if (IsLoaded() || handle == nullptr)
        return;
    auto const resolve = [handle](std::string const& name) {
        return StdProcessUtil::LibraryGetAddress(handle, name.c_str());
    };
    m_initialize = reinterpret_cast<InitializeFunction>(resolve(m_initializeName));
    m_initializeEx = reinterpret_cast<InitializeExFunction>(resolve(m_initializeExName));
    m_finalize = reinterpret_cast<FinalizeFunction>(resolve(m_finalizeName));
    SetMessageFunction(reinterpret_cast<ProcessMessageFunction>(resolve(m_processMessageName)),
                       reinterpret_cast<FreeMessageFunction>(resolve(m_freeMessageName)));
}

void LibraryMessageSender::UnLoad()
{
    if (!IsLoaded())
        return;
    bool const owned = m_ownsHandle;
    m_ownsHandle = false;
    if (owned && m_libraryHandle != nullptr) {
        if (m_finalize != nullptr)
            m_finalize();
        StdProcessUtil::LibraryUnLoad(m_libraryHandle);
    }
    m_initialize = nullptr;
    m_initializeEx = nullptr;
    m_finalize = nullptr;
    SetMessageFunction(nullptr, nullptr);
    m_libraryHandle = nullptr;
    m_libraryPath = Path();
}

void LibraryMessageSender::SetInstallPath(Path const& path)
{
    m_installPath = path;
}

Path const& LibraryMessageSender::GetInstallPath() const
{
    return m_installPath;
}

void LibraryMessageSender::SetWorkingPath(Path const& path)
{
    m_workingPath = path;
}

Path const& LibraryMessageSender::GetWorkingPath() const
{
    return m_workingPath;
}

Path const& LibraryMessageSender::GetLoadableModuleName() const
{
    return m_loadableModuleName;
}

Path LibraryMessageSender::GetModuleName() const
{
    return m_loadableModuleName.GetRoot();
}

Path const& LibraryMessageSender::GetLibraryFolder() const
{
    return m_libraryPath;
}

Path LibraryMessageSender::GetLibraryPath()
{
    return LibraryPathManager::Instance().GetLibraryPath();
}

Path LibraryMessageSender::GetLibraryPathKey()
{
    return LibraryPathManager::Instance().GetLibraryPathKey();
}

int LibraryMessageSender::SetLibraryPath(Path const& path, bool addToSearchPath)
{
    LibraryPathManager& manager = LibraryPathManager::Instance();
    manager.SetLibraryPath(path);
    Path folder = manager.GetLibraryPath();
    if (folder.Exists() && !folder.IsDir())
        folder = path.Parent();
    if (addToSearchPath && !folder.IsEmpty() && folder.IsRelativePath()) {
        Path const besideThisLibrary = OwnFolder().Append(folder);
        folder = besideThisLibrary.Exists() ? besideThisLibrary : HostFolder().Append(folder);
    }
    if (addToSearchPath)
        StdProcessUtil::LibrarySetPath(folder);
    return 0;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
