#include "QdxEvents.h"

#include "QdxBuildVersion.h"
#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "api/ArgumentText.h"
#include "support/QdxUtilVersion.h"

#include <cstdio>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

char const* const kHeartBeatTypes[] = {"machine", "user"};
char const* const kLiFlowTypes[] = {"flow_start", "flow_end", "not_required"};
char const* const kLiUpdateTypes[] = {"auth_call", "modal_start", "modal_end", "data"};

/// The text of an enumeration value; null for a value outside the table
/// (compared unsigned, so a negative value is out of range too).
template <std::size_t Count> char const* TypeText(char const* const (&texts)[Count], int type)
{
    return static_cast<unsigned int>(type) < Count ? texts[type] : nullptr;
}

unsigned int UpdateLi(char const* name, char const* typeText, JsonValue const* data)
{
    if (typeText == nullptr)
        return QdxResult_InvalidArgument;
    JsonValue arguments = data != nullptr ? *data : JsonValue();
    arguments["_type"] = typeText;
    return GetLibraryMessageSender()->ProcessMessage(name, arguments, arguments);
}

unsigned int GetDeviceId(char const* name, QdxString& deviceId)
{
    JsonValue result;
    int const code = GetLibraryMessageSender()->ProcessMessageWithArguments(name, result, nullptr);
    deviceId = result["deviceID"];
    return code;
}

}  // namespace

unsigned int FlushEvent(JsonValue const* args)
{
    // A flush never loads a companion.
    if (!GetLibraryMessageSender()->IsLoaded() && !GetUILibraryMessageSender()->IsLoaded())
        return QdxResult_Success;
    JsonValue result;
    if (args != nullptr)
        return GetLibraryMessageSender()->ProcessMessage("FlushEvent", *args, result);
    return GetLibraryMessageSender()->ProcessMessageWithArguments("FlushEvent", result, nullptr);
}

unsigned int HeartBeat(QdxString const& sessionId, HeartBeatType type)
{
    char const* const typeText = TypeText(kHeartBeatTypes, type);
    if (typeText == nullptr)
        return QdxResult_InvalidArgument;
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessageWithArguments("HeartBeat", result, "session_id",
                                                                  ArgumentText(sessionId), "_type", typeText, nullptr);
}

unsigned int OnCrash(QdxString const& sessionId, unsigned int crashCount, long long uptime, long long calUptime,
                     QdxString const& userGUID)
{
    char crashCountText[16];
    char uptimeText[32];
    char calUptimeText[32];
    std::snprintf(crashCountText, sizeof crashCountText, "%u", crashCount);
    std::snprintf(uptimeText, sizeof uptimeText, "%lld", uptime);
    std::snprintf(calUptimeText, sizeof calUptimeText, "%lld", calUptime);
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessageWithArguments(
        "OnCrash", result, "session_id", ArgumentText(sessionId), "_crashCount", crashCountText, "_uptime", uptimeText,
        "_calUptime", calUptimeText, "_userGUID", ArgumentText(userGUID), nullptr);
}

unsigned int UpdateLiFlow(LiFlowType type, JsonValue const* data)
{
    return UpdateLi("UpdateLiFlow", TypeText(kLiFlowTypes, type), data);
}

unsigned int UpdateLiData(LiUpdateType type, JsonValue const* data)
{
    return UpdateLi("UpdateLiData", TypeText(kLiUpdateTypes, type), data);
}

unsigned int SetCloseTimeoutOnProductClose(long long timeout)
{
    JsonValue arguments;
    arguments["CloseTimeoutOnProductClose"] = timeout;
    return GetLibraryMessageSender()->ProcessMessage("SetCloseTimeoutOnProductClose", arguments, arguments);
}

unsigned int IsCollectionEnabled(QdxString const& sessionId, QdxString const& name, QdxString const& value,
                                 JsonValue const* moreData)
{
    JsonValue arguments;
    if (moreData != nullptr && moreData->GetCount() > 0)
        arguments["_moreData"] = *moreData;
    arguments["session_id"] = sessionId;
    arguments["_moreData"][name] = value;
    return GetLibraryMessageSender()->ProcessMessage("IsCollectionEnabled", arguments, arguments);
}

unsigned int GetDeviceID(QdxString& deviceId)
{
    return GetDeviceId("GetDeviceID", deviceId);
}

unsigned int GetTOVDeviceID(QdxString& deviceId)
{
    return GetDeviceId("GetTOVDeviceID", deviceId);
}

unsigned int GetSHA256Hash(void const* data, int size, QdxString& hash)
{
    JsonValue arguments;
    arguments["size"] = size;
    arguments["data"] = PointerText(data).c_str();
    int const code = GetLibraryMessageSender()->ProcessMessage("GetSHA256Hash", arguments, arguments);
    hash = arguments["sha256"];
    return code;
}

bool SetHostProduct(QdxString const& sessionId)
{
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessageWithArguments(
               "SetHostProduct", result, "session_id", ArgumentText(sessionId), nullptr) == QdxResult_Success;
}

long long GetVersion(VersionType type, char const* module, bool fromSdkFolder)
{
    if ((module == nullptr || *module == '\0') && static_cast<unsigned int>(type) <= VersionType_Build) {
        unsigned long long const parts[] = {QdxUtil::GetVersionFromParts(QDX_SDK_VERSION_MAJOR, QDX_SDK_VERSION_MINOR,
                                                                         QDX_SDK_VERSION_PATCH, QDX_SDK_VERSION_BUILD),
                                            QDX_SDK_VERSION_MAJOR, QDX_SDK_VERSION_MINOR, QDX_SDK_VERSION_PATCH,
                                            QDX_SDK_VERSION_BUILD};
        return static_cast<long long>(parts[type]);
    }
    JsonValue arguments;
    arguments["type"] = static_cast<int>(type);
    arguments["module"] = module;
    arguments["bFromQDXSDKFolder"] = fromSdkFolder;
    GetLibraryMessageSender()->ProcessMessage("GetVersion", arguments, arguments);
    return static_cast<long long>(arguments["version"]);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
