#ifndef QDX_LIBRARY_MESSAGE_SENDER_QDX_SDK_WRAPPER_H
#define QDX_LIBRARY_MESSAGE_SENDER_QDX_SDK_WRAPPER_H

#include "QdxGlint.h"
#include "QdxLifecycle.h"
#include "QdxLock.h"
#include "companion/LibraryMessageSender.h"

#include <memory>

namespace Norvane {
namespace QDXDesktopSDK {

/// The sender of the exported calls: a companion channel that stamps every
/// message with the interface version of this library. The three instances,
/// one per companion, live in the registry below from their first use until
/// the library is unloaded; their accessors are exported (QdxLifecycle.h,
/// QdxGlint.h), the class itself is not.
class LibraryMessageSenderQDXSDKWrapper : public LibraryMessageSender {
public:
    using LibraryMessageSender::LibraryMessageSender;

    /// Sets "_sdk_api_version" in `args` when it is an object with members,
    /// then sends. The key is written into the caller's object, const as it
    /// is, so a caller that passes one object as arguments and result finds
    /// the key in its result too. Empty objects, scalars and arrays pass
    /// unchanged.
    int ProcessMessage(std::string const& name, JsonValue const& args, JsonValue& result) override;

private:
    friend LibraryMessageSenderQDXSDKWrapper* GetLibraryMessageSender();
    friend LibraryMessageSenderQDXSDKWrapper* GetUILibraryMessageSender();
    friend LibraryMessageSenderQDXSDKWrapper* QDXGlint::GetGlintLibraryMessageSender();

    // The registry: each sender is made on first use under its own lock.
    static std::shared_ptr<LibraryMessageSenderQDXSDKWrapper> m_pMessageSerder;       // m_messageSenderLock
    static std::shared_ptr<LibraryMessageSenderQDXSDKWrapper> m_pUIMessageSender;     // m_uiMessageSenderLock
    static std::shared_ptr<LibraryMessageSenderQDXSDKWrapper> m_pGlintMessageSender;  // m_glintMessageSenderLock
    static QdxLock m_messageSenderLock;
    static QdxLock m_uiMessageSenderLock;
    static QdxLock m_glintMessageSenderLock;
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
