#ifndef QDX_RESULT_H
#define QDX_RESULT_H

namespace Norvane {
namespace QDXDesktopSDK {

/// The result codes of the exported calls, which return them as unsigned int.
/// Any code not listed here is the companion library's own answer.
///
/// A companion library answers its own start in these codes too: when it
/// answers QdxResult_CompanionNotLoaded, QdxResult_NoEntryPoint or
/// QdxResult_Disabled it is switched off for the rest of the process. With
/// QdxResult_Disabled it is unloaded at once and every later call returns that
/// code without sending; with the other two it stays loaded until OnShutdown,
/// and is not loaded again after it.
enum QdxResultCode : unsigned int {
    QdxResult_Success = 0,
    QdxResult_CompanionNotLoaded = 1,  ///< the companion library could not be found, opened or initialised
    QdxResult_NoReturnCode = 2,        ///< the answer had no "_returnCode"; also an unknown companion prefix
    QdxResult_InvalidArgument = 3,     ///< an argument outside its enumeration, or an empty event: nothing sent
    QdxResult_NoEntryPoint = 8,        ///< the companion lacks its message entry point
    QdxResult_Disabled = 12,           ///< the companion refused to start and is unloaded for good
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
