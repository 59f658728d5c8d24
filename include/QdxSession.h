#ifndef QDX_SESSION_H
#define QDX_SESSION_H

#include "JsonValue.h"
#include "QdxExport.h"
#include "QdxResult.h"
#include "QdxString.h"

/// Sessions, consent and the consent dialog's state, answered by the core
/// library "QdxSDKCore.so". Each call sends one message and returns the
/// core library's result code (see QdxResult.h); this library keeps no
/// session or consent state and enforces no calling order. Any thread may
/// call; the core library is loaded by the first call that needs it.
namespace Norvane {
namespace QDXDesktopSDK {

namespace Facet {
class Product;
}  // namespace Facet

/// Opens a session for the product described by `product`. Only on success
/// is `sessionId` set to the new session's id; otherwise it is untouched.
QDX_EXPORT unsigned int Initialize(Facet::Product const& product, QdxString& sessionId);
/// Closes the session.
QDX_EXPORT unsigned int UnInitialize(QdxString const& sessionId);

/// Asks whether the user has opted in. `preferences` may be null; otherwise
/// it is sent as the question (a null value is sent as true) and then
/// replaced by the answer's "preferences", whatever the result.
QDX_EXPORT unsigned int IsOptedIn(JsonValue* preferences);
/// Records the user's choice: a plain value is sent as {"OptIN": bool(value)},
/// an object with members is sent as it is.
QDX_EXPORT unsigned int SetOptedIn(JsonValue const& value);
/// Asks whether the consent dialog has been shown.
QDX_EXPORT unsigned int IsDialogShown();
/// Records whether the consent dialog was shown, with the preferences chosen
/// in it (left out when `preferences` is null).
QDX_EXPORT unsigned int SetPXDialogShown(bool shown, JsonValue const& preferences);
/// Passes consent decided elsewhere. `consent` is sent as it is and, when it
/// has members, carries "_sdk_api_version" afterwards.
QDX_EXPORT unsigned int SyncUserConsent(JsonValue const& consent);
/// Asks whether the consent dialog's texts exist for `locale`.
QDX_EXPORT unsigned int IsDialogStringsAvailable(QdxString const& locale);
/// Fetches the consent dialog's texts for `locale`: the whole answer lands in `strings`.
QDX_EXPORT unsigned int GetPXDialogStrings(QdxString const& locale, JsonValue& strings);
/// True when usage reporting is off: the core library is missing, lacks its
/// entry point, or refused to start (QdxResult_CompanionNotLoaded,
/// QdxResult_NoEntryPoint, QdxResult_Disabled).
QDX_EXPORT bool IsQDXDisabled();
/// Turns usage reporting off.
QDX_EXPORT unsigned int DisableQDX();
/// Tells the core library that an installer, not the product, is running.
QDX_EXPORT unsigned int SetInstallerMode();

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
