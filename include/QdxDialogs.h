#ifndef QDX_DIALOGS_H
#define QDX_DIALOGS_H

#include "JsonValue.h"
#include "QdxExport.h"
#include "QdxResult.h"
#include "QdxString.h"

namespace Norvane {
/// The dialogs of the dialog library "QdxSDKUI.so". Each call returns that
/// library's result code (see QdxResult.h) once the dialog is done with:
/// a call may block for as long as the dialog library keeps it, without
/// a time limit. Any thread may call.
namespace QDXDesktopSDKUI {

/// Shows the consent dialog in `locale` over `mainWindow` (the native window
/// handle; may be null), as an active notification or not.
QDX_EXPORT unsigned int DisplayPXDialog(QDXDesktopSDK::QdxString const& locale, bool isActiveNotification,
                                        void* mainWindow);
/// Shows a web dialog described by `params` over `parentWindow` (may be null).
QDX_EXPORT unsigned int DisplayWebDialog(QDXDesktopSDK::JsonValue const& params, void* parentWindow);

}  // namespace QDXDesktopSDKUI
}  // namespace Norvane

#endif
