#include "api/LibraryMessageSenderQDXSDKWrapper.h"

#include "QdxBuildVersion.h"
#include "api/EnvironmentFile.h"
#include "companion/QdxSDKFolder.h"
#include "support/StaticSetUpOrder.h"

namespace Norvane {
namespace QDXDesktopSDK {

// Set up in this order, so that at unload the locks go first and then the
// Glint, dialog and core senders, each unloading its companion.
std::shared_ptr<LibraryMessageSenderQDXSDKWrapper>
    LibraryMessageSenderQDXSDKWrapper::m_pMessageSerder QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
std::shared_ptr<LibraryMessageSenderQDXSDKWrapper>
    LibraryMessageSenderQDXSDKWrapper::m_pUIMessageSender QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
std::shared_ptr<LibraryMessageSenderQDXSDKWrapper>
    LibraryMessageSenderQDXSDKWrapper::m_pGlintMessageSender QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
QdxLock LibraryMessageSenderQDXSDKWrapper::m_messageSenderLock QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
QdxLock LibraryMessageSenderQDXSDKWrapper::m_uiMessageSenderLock QDX_STATIC_SET_UP_PUBLIC_INTERFACE;
QdxLock LibraryMessageSenderQDXSDKWrapper::m_glintMessageSenderLock QDX_STATIC_SET_UP_PUBLIC_INTERFACE;

int LibraryMessageSenderQDXSDKWrapper::ProcessMessage(std::string const& name, JsonValue const& args,
                                                      JsonValue& result)
{
    if (args.GetCount() > 0 && !args.IsArray())
        const_cast<JsonValue&>(args)["_sdk_api_version"] = QDX_SDK_VERSION;
    return LibraryMessageSender::ProcessMessage(name, args, result);
}

LibraryMessageSenderQDXSDKWrapper* GetLibraryMessageSender()
{
    using Wrapper = LibraryMessageSenderQDXSDKWrapper;
    QdxAutoLock const lock(Wrapper::m_messageSenderLock);
    if (!Wrapper::m_pMessageSerder) {
        Wrapper::m_pMessageSerder.reset(new Wrapper("QdxSDKCore.so", "_QdxSDKCore", nullptr));
        Wrapper::m_pMessageSerder->SetInstallPath(QdxSDKFolder::GetQDXSDKBinFolderPath(nullptr));
        Wrapper::m_pMessageSerder->SetWorkingPath(QdxSDKFolder::GetQDXSDKFolderPath(nullptr));
        SynchroniseEnvironmentFile();
    }
    return Wrapper::m_pMessageSerder.get();
}

LibraryMessageSenderQDXSDKWrapper* GetUILibraryMessageSender()
{
    using Wrapper = LibraryMessageSenderQDXSDKWrapper;
    QdxAutoLock const lock(Wrapper::m_uiMessageSenderLock);
    if (!Wrapper::m_pUIMessageSender) {
        Wrapper::m_pUIMessageSender.reset(new Wrapper("QdxSDKUI.so", "_QdxSDKUI", nullptr));
        Wrapper::m_pUIMessageSender->SetInstallPath(QdxSDKFolder::GetQDXSDKBinFolderPath(nullptr));
        Wrapper::m_pUIMessageSender->SetWorkingPath(QdxSDKFolder::GetQDXSDKFolderPath(nullptr));
    }
    return Wrapper::m_pUIMessageSender.get();
}

}  // namespace QDXDesktopSDK

namespace QDXGlint {

QDXDesktopSDK::LibraryMessageSenderQDXSDKWrapper* GetGlintLibraryMessageSender()
{
    using Wrapper = QDXDesktopSDK::LibraryMessageSenderQDXSDKWrapper;
    QDXDesktopSDK::QdxAutoLock const lock(Wrapper::m_glintMessageSenderLock);
    if (!Wrapper::m_pGlintMessageSender) {
        // Deliberately without a working path: the Glint library keeps its own.
        Wrapper::m_pGlintMessageSender.reset(new Wrapper("GlintCore.so", "_GlintCore", nullptr));
        Wrapper::m_pGlintMessageSender->SetInstallPath(QDXDesktopSDK::QdxSDKFolder::GetGlintBinFolderPath(nullptr));
    }
    return Wrapper::m_pGlintMessageSender.get();
}

}  // namespace QDXGlint
}  // namespace Norvane
