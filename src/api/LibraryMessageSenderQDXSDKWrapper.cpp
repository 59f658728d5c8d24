#include "api/LibraryMessageSenderQDXSDKWrapper.h"

#include "QdxBuildVersion.h"
#include "api/EnvironmentFile.h"
#include "api/LogFile.h"
#include "companion/QdxSDKFolder.h"
#include "support/StaticSetUpOrder.h"

#include <atomic>

namespace Norvane {
namespace QDXDesktopSDK {

// Set up in this order, so that at unload the locks go first and then the
// Glint, dialog and core senders, each unloading its companion.
std::shared_ptr<LibraryMessageSenderQDXSDKWrapper> LibraryMessageSenderQDXSDKWrapper::m_pMessageSerder
    QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
std::shared_ptr<LibraryMessageSenderQDXSDKWrapper> LibraryMessageSenderQDXSDKWrapper::m_pUIMessageSender
    QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
std::shared_ptr<LibraryMessageSenderQDXSDKWrapper> LibraryMessageSenderQDXSDKWrapper::m_pGlintMessageSender
    QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
QdxLock LibraryMessageSenderQDXSDKWrapper::m_messageSenderLock QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
QdxLock LibraryMessageSenderQDXSDKWrapper::m_uiMessageSenderLock QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
QdxLock LibraryMessageSenderQDXSDKWrapper::m_glintMessageSenderLock QDX_STATIC_SET_UP_PUBLIC_INTERFACE;

int LibraryMessageSenderQDXSDKWrapper::ProcessMessage(std::string const& name, JsonValue const& args, JsonValue& result)
{
    if (args.GetCount() > 0 && !args.IsArray())
        const_cast<JsonValue&>(args)["_sdk_api_version"] = QDX_SDK_VERSION;
    return LibraryMessageSender::ProcessMessage(name, args, result);
}

namespace {

using Wrapper = LibraryMessageSenderQDXSDKWrapper;

// The senders once made, read without a lock so that sending takes none.
std::atomic<Wrapper*> s_publishedCoreSender{nullptr};
std::atomic<Wrapper*> s_publishedUISender{nullptr};
std::atomic<Wrapper*> s_publishedGlintSender{nullptr};

/// The sender held by `owner`, made under `lock` and set up by `configure`
/// on first use, then published for the lock-free path.
template <typename Configure>
Wrapper* SenderMadeOnce(std::shared_ptr<Wrapper>& owner, QdxLock& lock, std::atomic<Wrapper*>& published,
                        char const* file, char const* suffix, Configure configure)
{
    if (Wrapper* const sender = published.load(std::memory_order_acquire))
        return sender;
    QdxAutoLock const guard(lock);
    if (!owner) {
        // Before the sender exists, so that the file holds all it logs.
        StartLogFileOnce();
        // Withdrawn before it is destroyed at unload, so that a late call
        // makes a new sender instead of reaching a dead one.
        owner.reset(new Wrapper(file, suffix, nullptr), [&published](Wrapper* sender) {
            published.store(nullptr, std::memory_order_release);
            delete sender;
        });
        configure(*owner);
    }
    published.store(owner.get(), std::memory_order_release);
    return owner.get();
}

}  // namespace

LibraryMessageSenderQDXSDKWrapper* GetLibraryMessageSender()
{
    return SenderMadeOnce(Wrapper::m_pMessageSerder, Wrapper::m_messageSenderLock, s_publishedCoreSender,
                          "QdxSDKCore.so", "_QdxSDKCore", [](Wrapper& sender) {
                              sender.SetInstallPath(QdxSDKFolder::GetQDXSDKBinFolderPath(nullptr));
                              sender.SetWorkingPath(QdxSDKFolder::GetQDXSDKFolderPath(nullptr));
                              SynchroniseEnvironmentFile();
                          });
}

LibraryMessageSenderQDXSDKWrapper* GetUILibraryMessageSender()
{
    return SenderMadeOnce(Wrapper::m_pUIMessageSender, Wrapper::m_uiMessageSenderLock, s_publishedUISender,
                          "QdxSDKUI.so", "_QdxSDKUI", [](Wrapper& sender) {
                              sender.SetInstallPath(QdxSDKFolder::GetQDXSDKBinFolderPath(nullptr));
                              sender.SetWorkingPath(QdxSDKFolder::GetQDXSDKFolderPath(nullptr));
                          });
}

}  // namespace QDXDesktopSDK

namespace QDXGlint {

QDXDesktopSDK::LibraryMessageSenderQDXSDKWrapper* GetGlintLibraryMessageSender()
{
    using namespace QDXDesktopSDK;
    // Deliberately without a working path: the Glint library keeps its own.
    return SenderMadeOnce(Wrapper::m_pGlintMessageSender, Wrapper::m_glintMessageSenderLock, s_publishedGlintSender,
                          "GlintCore.so", "_GlintCore",
                          [](Wrapper& sender) { sender.SetInstallPath(QdxSDKFolder::GetGlintBinFolderPath(nullptr)); });
}

}  // namespace QDXGlint
}  // namespace Norvane
