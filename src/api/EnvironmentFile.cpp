#include "api/EnvironmentFile.h"

#include "JsonValue.h"
#include "companion/LibraryMessageSender.h"
#include "companion/QdxSDKFolder.h"
#include "support/StdProcessTime.h"

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

constexpr char kEnvironmentFile[] = "qdxdesktopsdk.env";

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
    if (source.Exists()) {
        if (target.ReadFileAsString(-1) == source.ReadFileAsString(-1))
            return;
        source.Copy(sdkFolder, true);
    } else if (target.Exists()) {
        target.Delete(false, nullptr, nullptr);
    } else {
        return;
    }
    RequestConfigurationReload();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
