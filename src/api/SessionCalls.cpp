#include "QdxSession.h"

#include "api/ArgumentText.h"
#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "values/JsonValueAccess.h"

namespace Norvane {
namespace QDXDesktopSDK {

namespace {
bool IsNullHandle(JsonValue const& value)
{
    return JsonValueAccess::Impl(value) == nullptr;
}
}  // namespace

unsigned int UnInitialize(QdxString const& sessionId)
{
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessageWithArguments("UnInitialize", result, "session_id",
                                                                  ArgumentText(sessionId), nullptr);
}

unsigned int IsOptedIn(JsonValue* preferences)
{
    JsonValue noPreferences;
    if (preferences != nullptr && IsNullHandle(*preferences))
        *preferences = JsonValue(true);
    JsonValue const& arguments = preferences != nullptr ? *preferences : noPreferences;
    JsonValue result;
    int const code = GetLibraryMessageSender()->ProcessMessage("IsOptedIn", arguments, result);
    if (preferences != nullptr)
        *preferences = result["preferences"];
    return code;
}

unsigned int SetOptedIn(JsonValue const& value)
{
    JsonValue arguments(value);
    if (arguments.GetCount() == 0)
        arguments["OptIN"] = static_cast<bool>(value);
    return GetLibraryMessageSender()->ProcessMessage("SetOptedIn", arguments, arguments);
}

unsigned int IsDialogShown()
{
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessageWithArguments("IsPXDialogShown", result, nullptr);
}

unsigned int SetPXDialogShown(bool shown, JsonValue const& preferences)
{
    JsonValue arguments;
    arguments["DialogShown"] = shown;
    if (!IsNullHandle(preferences))
        arguments["preferences"] = preferences;
    return GetLibraryMessageSender()->ProcessMessage("SetPXDialogShown", arguments, arguments);
}

unsigned int SyncUserConsent(JsonValue const& consent)
{
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessage("SyncUserConsent", consent, result);
}

unsigned int IsDialogStringsAvailable(QdxString const& locale)
{
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessageWithArguments("IsDialogStringsAvailable", result, "locale",
                                                                  ArgumentText(locale), nullptr);
}

unsigned int GetPXDialogStrings(QdxString const& locale, JsonValue& strings)
{
    return GetLibraryMessageSender()->ProcessMessageWithArguments("GetPXDialogStrings", strings, "locale",
                                                                  ArgumentText(locale), nullptr);
}

bool IsQDXDisabled()
{
    JsonValue result;
    return LibraryMessageSender::IsDisabled(
        GetLibraryMessageSender()->ProcessMessageWithArguments("IsQDXDisabled", result, nullptr));
}

unsigned int DisableQDX()
{
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessageWithArguments("DisableQDX", result, nullptr);
}

unsigned int SetInstallerMode()
{
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessageWithArguments("SetInstallerMode", result, nullptr);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
