#ifndef QDX_GLINT_H
#define QDX_GLINT_H

#include "QdxExport.h"

namespace Norvane {
namespace QDXDesktopSDK {
class LibraryMessageSenderQDXSDKWrapper;
}  // namespace QDXDesktopSDK

/// The calls of the companion-feature library "GlintCore.so".
namespace QDXGlint {

/// The process-wide sender of the companion-feature library, made on first
/// use (the library itself is loaded by the first message). An opaque handle
/// for the application: never null, owned by this library, valid until it is
/// unloaded. Any thread may call.
QDX_EXPORT QDXDesktopSDK::LibraryMessageSenderQDXSDKWrapper* GetGlintLibraryMessageSender();

}  // namespace QDXGlint
}  // namespace Norvane

#endif
