#include "QdxGlint.h"

#include "QdxInternalMessages.h"
#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "api/ArgumentText.h"

namespace Norvane {
namespace QDXGlint {

using QDXDesktopSDK::JsonValue;
using QDXDesktopSDK::QdxString;

unsigned int EnableGlint(QdxString const& sessionId, bool enable, JsonValue const* moreData)
{
    JsonValue arguments;
    arguments["session_id"] = sessionId;
    arguments["enable"] = enable;
    if (moreData != nullptr && moreData->GetCount() > 0)
        arguments["_moreData"] = *moreData;
    JsonValue result;
    int const code = GetGlintLibraryMessageSender()->ProcessMessage("EnableGlint", arguments, result);
    // The core library follows the switch; its answer does not change the result.
    if (code == QDXDesktopSDK::QdxResult_Success)
        QDXDesktopSDK::InternalProcessMessage("QdxSDKCore.InternalMessageEnableGlint", arguments);
    return code;
}

unsigned int QueryGlintService(QdxString const& sessionId, JsonValue const& query, JsonValue& answer)
{
    JsonValue arguments(query);
    arguments["session_id"] = sessionId;
    return GetGlintLibraryMessageSender()->ProcessMessage("QueryGlintService", arguments, answer);
}

unsigned int RegisterGlintCallback(QdxString const& sessionId, GlintCallback callback, void* callerData)
{
    JsonValue arguments;
    arguments["session_id"] = sessionId;
    arguments["callbackFuntion"] = QDXDesktopSDK::PointerText(reinterpret_cast<void const*>(callback)).c_str();
    if (callerData != nullptr)
        arguments["pCallerData"] = QDXDesktopSDK::PointerText(callerData).c_str();
    JsonValue result;
    return GetGlintLibraryMessageSender()->ProcessMessage("RegisterGlintCallback", arguments, result);
}

}  // namespace QDXGlint
}  // namespace Norvane
