// Every message the library sends to a companion, each with the exported call
// that sends it. The checks make those very calls, so the arguments a
// companion receives are the ones the library builds; the message name listed
// here is compared with the one the companion receives, so that this list
// cannot drift from the library unnoticed.
#ifndef QDX_TOOL_MESSAGE_CATALOGUE_H
#define QDX_TOOL_MESSAGE_CATALOGUE_H

#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {
class LibraryMessageSenderQDXSDKWrapper;
}

namespace QdxTool {

/// One of the three companions the library talks to, with the registry's
/// sender that carries its messages.
struct CompanionKind {
    char const* id;        ///< "core", "dialog", "glint": stable, for --json
    char const* title;     ///< "core library"
    char const* fileName;  ///< the file name the library loads: "QdxSDKCore.so"
    QDXDesktopSDK::LibraryMessageSenderQDXSDKWrapper* (*sender)();

    /// The entry-point suffix the library derives from fileName.
    std::string Suffix() const;
};

/// One message and the call that sends it.
struct CatalogueMessage {
    CompanionKind const* companion;
    char const* message;  ///< the name the companion receives
    char const* call;     ///< the exported call that sends it
    /// Makes the call with sample arguments and returns its result (a code, or
    /// the number a call returns instead).
    long long (*send)();
};

std::vector<CompanionKind> const& CompanionKinds();
/// The companion whose entry points carry `suffix`; null for none.
CompanionKind const* CompanionKindForSuffix(std::string const& suffix);

/// Every message the library sends, by companion, in the order the checks
/// send them.
std::vector<CatalogueMessage> const& MessageCatalogue();
/// The messages sent to `kind`.
std::vector<CatalogueMessage> MessagesFor(CompanionKind const& kind);

}  // namespace QdxTool
}  // namespace Norvane

#endif
