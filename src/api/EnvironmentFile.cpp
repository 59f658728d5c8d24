#include "api/EnvironmentFile.h"

#include "JsonValue.h"
#include "companion/LibraryMessageSender.h"
#include "companion/QdxSDKFolder.h"
#include "support/Logger.h"
#include "support/StdProcessTime.h"

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// The newest "qdxdesktopsdk.env" among the folders searched for companions.
Path LocateSource()
{
    LibraryMessageSender const locator(kEnvironmentFile, nullptr, nullptr);
    return locator.LocateLibrary(true, true, nullptr);
}

void RequestConfigurationReload()
{
    JsonValue request;
    request["_command"] = "InternalMessage";
    request["_msg"] = "ReloadConfig";
    request["_pid"] = JsonValue(StdProcessUtil::GetPid());
    request["reset"] = true;
    // Under the home folder even when the SDK folder in use is the common one.
    Path const home = Path::GetSpecialFolderPath(Path::SpecialFolder_Home, false);
    Path const file = QdxSDKFolder::GetUserQDXSDKFolderPath(home)
                          .Append("JSON")
                          .Append("InternalMessage")
                          .RenameExtension(".json.user");
    QdxString const text = request.GetJsonString();
    std::string const body = text.c_str() != nullptr ? text.c_str() : "";
    file.WriteFile(body.data(), static_cast<long long>(body.size()), 0, "", nullptr);
}

}  // namespace

void SynchroniseEnvironmentFile()
{
    Path const source = LocateSource();
    Path const sdkFolder = QdxSDKFolder::GetQDXSDKFolderPath(nullptr);
    Path const target = sdkFolder.Append(kEnvironmentFile);
    bool const sourceExists = source.Exists();
    // A failed copy or deletion still asks for a reload, as the mirror may have changed in part.
    bool changed = true;
    char const* outcome;
    if (sourceExists && target.ReadFileAsString(-1) == source.ReadFileAsString(-1)) {
        changed = false;
        outcome = "the mirror is up to date";
    } else if (sourceExists) {
        outcome = source.Copy(sdkFolder, true) ? "copied to the mirror" : "copying to the mirror failed";
    } else if (target.Exists()) {
        outcome = target.Delete(false, nullptr, nullptr) > 0 ? "no source: the mirror was deleted"
                                                             : "no source: deleting the mirror failed";
    } else {
        changed = false;
        outcome = "neither exists";
    }
    if (Logger* const logger = Logger::IfEnabled(Logger::LogLevel_Debug))
        logger->Log(Logger::LogLevel_Debug, "Environment file %s, mirror %s: %s",
                    sourceExists ? source.c_str() : "(none)", target.c_str(), outcome);
    if (changed)
        RequestConfigurationReload();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
