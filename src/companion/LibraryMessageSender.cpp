#include "companion/LibraryMessageSender.h"

#include "companion/LibraryPathManager.h"
#include "companion/QDXLibraryEntry.h"
#include "support/Logger.h"
#include "support/StdProcessLibrary.h"

#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

std::string EntryPointSuffix(char const* loadableModuleName, char const* entryPointSuffix)
{
    if (entryPointSuffix != nullptr)
        return entryPointSuffix;
    if (loadableModuleName == nullptr)
        return std::string();
    std::string stem = Path(loadableModuleName).FileNameWithoutExt().GetString();
    if (stem.compare(0, 3, "lib") == 0)
        stem.erase(0, 3);
    return "_" + stem;
}

}  // namespace

LibraryMessageSender::LibraryMessageSender(char const* loadableModuleName, char const* entryPointSuffix,
                                           char const* installPath)
    : MessageSender(nullptr, nullptr),
      m_loadableModuleName(loadableModuleName),
      m_installPath(installPath)
{
    std::string const suffix = EntryPointSuffix(loadableModuleName, entryPointSuffix);
    m_initializeName = "Initialize" + suffix;
    m_initializeExName = "InitializeEx" + suffix;
    m_finalizeName = "Finalize" + suffix;
    m_processMessageName = "ProcessMessage" + suffix;
    m_freeMessageName = "FreeMessage" + suffix;
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

int LibraryMessageSender::ProcessMessageWithArguments(std::string const& name, JsonValue& result, char const* key,
                                                      ...)
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
    if (LoadLibraryWithPath(LocateLibrary(false, true, nullptr)))
        return QdxResult_Success;
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
    if (!m_workingPath.IsEmpty())
        LibraryPathManager::SSetWorkingPath(m_workingPath);
    Path const configured = GetLibraryPath();
    bool const relative = configured.IsRelativePath();
    Path const moduleName = GetModuleName();

    QDXLibraryManager::QDXLibraryEntrySet entries;
    auto const admit = [&entries](Path const& file, int priority) {
        if (!file.Exists())
            return false;
        for (auto const& entry : entries) {
            if (entry.path == file)
                return true;
        }
        entries.insert(QDXLibraryManager::QDXLibraryEntry{file, file.GetVersion(), priority});
        return true;
    };

    if (!relative && !configured.IsEmpty()) {
        admit(configured.Append(moduleName), 100);
    } else if (relative) {
        Path const key = GetLibraryPathKey();
        if (!key.IsEmpty())
            admit(key.Append(configured).Append(moduleName), 100);
    }
    if (extraFolder != nullptr && *extraFolder != '\0') {
        Path const folder = relative ? Path(extraFolder).Append(configured) : Path(extraFolder);
        admit(folder.Append(moduleName), 100);
    }
    Path const ownFolder = Path::GetSpecialFolderPath(Path::SpecialFolder_Module, false).Parent();
    Path const hostFolder = Path::GetSpecialFolderPath(Path::SpecialFolder_Executable, false).Parent();
    int priority = 1;
    for (Path const& folder : {ownFolder, hostFolder}) {
        if (!folder.IsEmpty() && !(relative && admit(folder.Append(configured).Append(moduleName), priority)))
            admit(folder.Append(moduleName), priority);
        --priority;
    }

    Path const result = entries.empty() ? ownFolder : entries.rbegin()->path.Parent();
    return appendModuleName ? result.Append(moduleName) : result;
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
        Path const besideThisLibrary =
            Path::GetSpecialFolderPath(Path::SpecialFolder_Module, false).Parent().Append(folder);
        folder = besideThisLibrary.Exists()
                     ? besideThisLibrary
                     : Path::GetSpecialFolderPath(Path::SpecialFolder_Executable, false).Parent().Append(folder);
    }
    if (addToSearchPath)
        StdProcessUtil::LibrarySetPath(folder);
    return 0;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
