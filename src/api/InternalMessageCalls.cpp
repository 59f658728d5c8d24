#include "QdxInternalMessages.h"

#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "api/ArgumentText.h"

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

unsigned int InternalProcessMessage(QdxString const& name, JsonValue& args)
{
    std::string const text = name.c_str() != nullptr ? name.c_str() : "";
    std::string prefix = "QdxSDKCore";
    std::string message = text;
    std::size_t const dot = text.find('.');
    if (dot != std::string::npos) {
        prefix = text.substr(0, dot);
        message = text.substr(dot + 1);
    }
    LibraryMessageSenderQDXSDKWrapper* sender = nullptr;
    if (prefix == "QdxSDKCore")
        sender = GetLibraryMessageSender();
    else if (prefix == "QdxSDKUI")
        sender = GetUILibraryMessageSender();
    else if (prefix == "GlintCore")
        sender = QDXGlint::GetGlintLibraryMessageSender();
    else
        return QdxResult_NoReturnCode;
    return sender->ProcessMessage(message, args, args);
}

unsigned int SetTestingFlags(QdxString const& productId, JsonValue const& flags)
{
    JsonValue arguments(flags);
    arguments["product_id"] = productId;
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessage("SetTestingFlags", arguments, result);
}

unsigned int SetTestingCallback(QdxString const& productId, TestingCallback callback, void* userData)
{
    JsonValue arguments;
    arguments["product_id"] = productId;
    arguments["callback"] = PointerText(reinterpret_cast<void const*>(callback)).c_str();
    arguments["pUserData"] = PointerText(userData).c_str();
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessage("SetTestingCallback", arguments, result);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
