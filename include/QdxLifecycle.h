#ifndef QDX_LIFECYCLE_H
#define QDX_LIFECYCLE_H

#include "QdxExport.h"
#include "QdxString.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// A companion library's sender: an opaque handle, never defined for the
/// application.
class LibraryMessageSenderQDXSDKWrapper;

/// The process-wide sender of the core library "QdxSDKCore.so", made on first
/// use (the library itself is loaded by the first message); making it also
/// mirrors "qdxdesktopsdk.env" from the companion folder into the SDK folder.
/// An opaque handle for the application: never null, owned by this library,
/// valid until it is unloaded. Any thread may call.
QDX_EXPORT LibraryMessageSenderQDXSDKWrapper* GetLibraryMessageSender();
/// The process-wide sender of the dialog library "QdxSDKUI.so", made on first
/// use, as GetLibraryMessageSender. Any thread may call.
QDX_EXPORT LibraryMessageSenderQDXSDKWrapper* GetUILibraryMessageSender();

/// Fixes the folder that the companion libraries are taken from for this
/// host, and records it in the SDK folder's configuration. Call it before the
/// first call that sends a message: companions already loaded stay as they
/// are. Any thread may call.
QDX_EXPORT void SetLibraryPath(QdxString const& path);

/// Unloads the dialog, core and companion-feature libraries, in that order.
/// Their senders stay: a later call loads its companion again. Call it when
/// the application no longer reports, from one thread, with no other call
/// running.
QDX_EXPORT void OnShutdown();

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
