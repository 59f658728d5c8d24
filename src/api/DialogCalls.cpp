#include "QdxDialogs.h"

#include "api/LibraryMessageSenderQDXSDKWrapper.h"

#include <cstdint>

namespace Norvane {
namespace QDXDesktopSDKUI {

using QDXDesktopSDK::JsonValue;

namespace {
// The dialog library runs in this process and turns the number back into the handle.
JsonValue WindowHandle(void* window)
{
    return JsonValue(static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(window)));
}
}  // namespace

unsigned int DisplayPXDialog(QDXDesktopSDK::QdxString const& locale, bool isActiveNotification, void* mainWindow)
{
    JsonValue arguments;
    arguments["locale"] = locale;
    arguments["isActiveNotification"] = isActiveNotification;
    arguments["mainWindow"] = WindowHandle(mainWindow);
    JsonValue result;
    return QDXDesktopSDK::GetUILibraryMessageSender()->ProcessMessage("DisplayPXDialog", arguments, result);
}

unsigned int DisplayWebDialog(JsonValue const& params, void* parentWindow)
{
    JsonValue arguments(params);
    arguments["parentWindow"] = WindowHandle(parentWindow);
    JsonValue result;
    return QDXDesktopSDK::GetUILibraryMessageSender()->ProcessMessage("DisplayWebDialog", arguments, result);
}

}  // namespace QDXDesktopSDKUI
}  // namespace Norvane
