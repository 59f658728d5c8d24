#ifndef QDX_LIFECYCLE_H
#define QDX_LIFECYCLE_H

#include "QdxExport.h"
#include "QdxString.h"

namespace Norvane {
namespace QDXDesktopSDK {

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
