#ifndef QDX_INTERNAL_MESSAGES_H
#define QDX_INTERNAL_MESSAGES_H

#include "JsonValue.h"
#include "QdxExport.h"
#include "QdxResult.h"
#include "QdxString.h"

/// Raw access to the companion libraries, and the core library's testing
/// hooks. Any thread may call.
namespace Norvane {
namespace QDXDesktopSDK {

/// Sends any message to a companion chosen by the text before the first "."
/// of `name`: "QdxSDKCore" (also a name without a dot), "QdxSDKUI" or
/// "GlintCore"; the rest of the name is the message. `args` is sent and then
/// replaced by the answer. Returns 2, sending nothing, for any other prefix.
QDX_EXPORT unsigned int InternalProcessMessage(QdxString const& name, JsonValue& args);

/// Hands the core library test settings for the product.
QDX_EXPORT unsigned int SetTestingFlags(QdxString const& productId, JsonValue const& flags);

/// Called by the core library, in this process, with a request; fills the reply.
using TestingCallback = int (*)(JsonValue const& request, void* userData, JsonValue& reply);
/// Registers a test callback with `userData` (may be null) for the product.
QDX_EXPORT unsigned int SetTestingCallback(QdxString const& productId, TestingCallback callback, void* userData);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
