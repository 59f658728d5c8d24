#ifndef QDX_GLINT_H
#define QDX_GLINT_H

#include "JsonValue.h"
#include "QdxExport.h"
#include "QdxResult.h"
#include "QdxString.h"

namespace Norvane {
namespace QDXDesktopSDK {
class LibraryMessageSenderQDXSDKWrapper;
}  // namespace QDXDesktopSDK

/// The calls of the companion-feature library "GlintCore.so". Each returns
/// that library's result code (see QdxResult.h). Any thread may call.
namespace QDXGlint {

/// Called by the companion-feature library, on a thread of its choosing,
/// with a text and the caller data given at registration.
using GlintCallback = int (*)(char const* text, void* callerData);

/// Switches the companion features on or off for the session (with
/// `moreData`, which may be null, as further detail). When that succeeds,
/// the core library is told of the change too.
QDX_EXPORT unsigned int EnableGlint(QDXDesktopSDK::QdxString const& sessionId, bool enable,
                                    QDXDesktopSDK::JsonValue const* moreData);
/// Sends `query` for the session; the whole answer lands in `answer`.
QDX_EXPORT unsigned int QueryGlintService(QDXDesktopSDK::QdxString const& sessionId,
                                          QDXDesktopSDK::JsonValue const& query, QDXDesktopSDK::JsonValue& answer);
/// Registers `callback` with `callerData` (may be null) for the session.
/// Both must stay valid for as long as the library may call back.
QDX_EXPORT unsigned int RegisterGlintCallback(QDXDesktopSDK::QdxString const& sessionId, GlintCallback callback,
                                              void* callerData);

/// The process-wide sender of the companion-feature library, made on first
/// use (the library itself is loaded by the first message). An opaque handle
/// for the application: never null, owned by this library, valid until it is
/// unloaded. Any thread may call.
QDX_EXPORT QDXDesktopSDK::LibraryMessageSenderQDXSDKWrapper* GetGlintLibraryMessageSender();

}  // namespace QDXGlint
}  // namespace Norvane

#endif
