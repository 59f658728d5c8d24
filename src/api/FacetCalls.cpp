// The calls whose argument object is the body that a facet builds.
#include "Facet.h"
#include "FacetCore.h"
#include "QdxEvents.h"
#include "QdxSession.h"

#include "api/LibraryMessageSenderQDXSDKWrapper.h"

namespace Norvane {
namespace QDXDesktopSDK {

unsigned int Initialize(Facet::Product const& product, QdxString& sessionId)
{
    JsonValue const arguments = product.Build(JsonValue());
    JsonValue result;
    int const code = GetLibraryMessageSender()->ProcessMessage("Initialize", arguments, result);
    if (code == QdxResult_Success)
        sessionId = static_cast<QdxString>(result["session_id"]);
    return code;
}

unsigned int TrackEvent(QdxString const& sessionId, Facet::Core const& core, JsonValue const* moreData)
{
    JsonValue event = core.Build(JsonValue());
    if (!event)
        return QdxResult_InvalidArgument;
    event["session_id"] = sessionId;
    if (moreData != nullptr && moreData->GetCount() > 0)
        event["_moreData"] = *moreData;
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessage("TrackEvent", event, result);
}

unsigned int SetUserInformation(Facet::User const& user)
{
    JsonValue const arguments = user.Build(JsonValue());
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessage("SetUserInformation", arguments, result);
}

unsigned int SetGroupInformation(QdxString const& sessionId, Facet::User const& user)
{
    JsonValue arguments = user.Build(JsonValue());
    arguments["session_id"] = sessionId;
    JsonValue result;
    return GetLibraryMessageSender()->ProcessMessage("SetGroupInformation", arguments, result);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
