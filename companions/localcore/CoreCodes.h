// The "_returnCode" values of the local core's answers. The library itself
// produces 0 to 3, 8 and 12 (and treats 1, 8 and 12 as initialisation
// statuses that disable a companion), so the core's own refusals start at 100
// and the only small value it uses is 8, with the library's meaning.
#ifndef QDX_LOCALCORE_CORE_CODES_H
#define QDX_LOCALCORE_CORE_CODES_H

namespace Norvane {
namespace LocalCore {

enum CoreCode : int {
    CoreCode_Success = 0,
    /// Collection is switched off by "DisableQDX" (also the initialisation
    /// status of every later process, which the library reads as disabled).
    CoreCode_Disabled = 8,
    CoreCode_UnknownMessage = 100,   ///< the core has no such message
    CoreCode_BadArguments = 101,     ///< malformed JSON, a missing or mistyped member, a null address, a negative size
    CoreCode_UnknownSession = 102,   ///< no open session of this process has that id (never opened, or closed)
    CoreCode_NotConsented = 103,     ///< the user has not opted in: the record was not kept (counted)
    CoreCode_QueueFull = 104,        ///< the queue to the writer is full: the record was dropped (counted)
    CoreCode_NoStorage = 105,        ///< no usable database (see "GetStoreStatus"): the record was not kept (counted)
    CoreCode_DialogNotShown = 106,   ///< "IsPXDialogShown": the consent dialog has not been shown
    CoreCode_NoDialogStrings = 107,  ///< no dialog strings for that locale (nor its language)
    CoreCode_TimedOut = 108,         ///< a flush did not finish within the close time-out; the records stay queued
    CoreCode_StoreError = 109,       ///< the database refused a write; "GetStoreStatus" has the error text
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
