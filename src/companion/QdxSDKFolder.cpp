#include "companion/QdxSDKFolder.h"

#include "support/Finder.h"
#include "support/Logger.h"
#include "support/StdProcessLibrary.h"

#include <cstring>
#include <map>
#include <mutex>

namespace Norvane {
namespace QDXDesktopSDK {
namespace QdxSDKFolder {

namespace {

constexpr char kUserFolder[] = ".norvane/UI/Norvane";
constexpr char kSdkFolder[] = "QDXSDK";
constexpr char kMakerFolder[] = "Norvane";
constexpr char kDesktopSdkFolder[] = "QdxDesktopSDK";
constexpr char kGlintClientFolder[] = "QdxGlintClient";
constexpr char kBinFolder[] = "bin";
constexpr char kStatusFile[] = "CS.json";
constexpr char kClientServiceExecutable[] = "QDXClientService";
constexpr unsigned long kSharedFileAttribute = 0777;

// A leaf lock: held only to read or replace the cached text, never while
// calling out, so it cannot order against any other lock of the library.
std::mutex s_cacheMutex;
bool s_useCommonFolder = false;   // guarded by s_cacheMutex
char s_sdkFolderPath[1024] = {};  // guarded by s_cacheMutex; empty until computed

Path ComputeSdkFolderPath()
{
    IsUsingCommonFolder();  // asked for its side effect of caching; the writable test decides
    Path const userFolder = GetUserQDXSDKFolderPath(Path::GetSpecialFolderPath(Path::SpecialFolder_UserData, false));
    if (userFolder.IsWritable())
        return userFolder;
    Path::SetGlobalFileAttribute(kSharedFileAttribute);
    return Path::GetSpecialFolderPath(Path::SpecialFolder_CommonData, false).Append(kMakerFolder).Append(kSdkFolder);
}

Path AppendIfGiven(Path const& folder, char const* sub)
{
    return sub != nullptr ? folder.Append(sub) : folder;
}

Path InstallBinFolder(char const* installation, char const* sub)
{
    Path const bin = Path::GetSpecialFolderPath(Path::SpecialFolder_Programs, false)
                         .Append(kMakerFolder)
                         .Append(installation)
                         .Append(kBinFolder);
    return AppendIfGiven(bin, sub);
}

struct CleanupWalk {
    Path keptBin;                              // folder/bin, never deleted
    std::map<long long, Path> serviceFolders;  // running client service: pid to its executable's folder
};

int CleanupEntry(FindData const& found, void* user)
{
    CleanupWalk const& walk = *static_cast<CleanupWalk const*>(user);
    Path const& entry = found.GetPath();
    Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Debug);
    if (entry == walk.keptBin) {
        if (logger != nullptr)
            logger->Log(Logger::LogLevel_Debug, "Skip (bin): %s", entry.c_str());
        return Finder::Result_SkipFolder;
    }
    // A substring test: any name holding "bin" is a temporary copy.
    if (entry.FileName().GetString().find(kBinFolder) == std::string::npos) {
        if (logger != nullptr)
            logger->Log(Logger::LogLevel_Debug, "Skip (no bin prefix): %s", entry.c_str());
        return Finder::Result_SkipFolder;
    }
    for (auto const& [pid, serviceFolder] : walk.serviceFolders) {
        if (pid != 0 && entry.IsPreFixOf(serviceFolder)) {
            if (logger != nullptr)
                logger->Log(Logger::LogLevel_Debug, "Skip (CS running-%lld):  %s", pid, entry.c_str());
            return Finder::Result_SkipFolder;
        }
    }
    int const deleted = entry.Delete(true, nullptr, nullptr);
    if (logger != nullptr)
        logger->Log(Logger::LogLevel_Debug, "Deleted: %d files at: %s", deleted, entry.c_str());
    return Finder::Result_SkipFolder;
}

}  // namespace

void UseCommonFolder(bool useCommonFolder)
{
    std::lock_guard<std::mutex> const lock(s_cacheMutex);
    s_useCommonFolder = useCommonFolder;
    s_sdkFolderPath[0] = '\0';
}

bool IsUsingCommonFolder()
{
    {
        std::lock_guard<std::mutex> const lock(s_cacheMutex);
        if (s_useCommonFolder)
            return true;
    }
    static bool const runningAsSystem = StdProcessUtil::IsProcessRunningAsSystem(-1);
    return runningAsSystem;
}

Path GetQDXSDKFolderPath(char const* sub)
{
    Path cached;
    {
        std::lock_guard<std::mutex> const lock(s_cacheMutex);
        cached = Path(s_sdkFolderPath);
    }
    if (cached.IsEmpty()) {
        cached = ComputeSdkFolderPath();
        std::lock_guard<std::mutex> const lock(s_cacheMutex);
        // Keeps at most 1023 characters, like the fixed buffer it stands for.
        std::strncpy(s_sdkFolderPath, cached.c_str(), sizeof s_sdkFolderPath - 1);
        s_sdkFolderPath[sizeof s_sdkFolderPath - 1] = '\0';
        cached = Path(s_sdkFolderPath);
    }
    return AppendIfGiven(cached, sub);
}

Path GetUserQDXSDKFolderPath(Path const& home)
{
    return home.Append(kUserFolder).Append(kSdkFolder);
}

Path GetQDXSDK_SYSTEMFolderPath(char const* sub)
{
    return GetQDXSDKFolderPath(sub);
}

Path GetQDXSDKBinFolderPath(char const* sub)
{
    return InstallBinFolder(kDesktopSdkFolder, sub);
}

Path GetGlintBinFolderPath(char const* sub)
{
    return InstallBinFolder(kGlintClientFolder, sub);
}

Path GetCSStatusFilePath()
{
    return GetQDXSDKFolderPath(kStatusFile);
}

int CleanupAllTempBinAtPath(Path const& folder)
{
    if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Debug))
        logger->Log(Logger::LogLevel_Debug, "Begin cleanup for: %s", folder.c_str());

    CleanupWalk walk{folder.Append(kBinFolder), {}};
    for (long long const pid : StdProcessUtil::GetPidOfExecutable(Path(kClientServiceExecutable), true, false))
        walk.serviceFolders[pid] = StdProcessUtil::GetProcessPath(pid).Parent();
    Finder finder(&CleanupEntry, &walk, nullptr, nullptr, false);
    finder.StartFind(folder);

    if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Debug))
        logger->Log(Logger::LogLevel_Debug, "End cleanup");
    return 0;
}

}  // namespace QdxSDKFolder
}  // namespace QDXDesktopSDK
}  // namespace Norvane
