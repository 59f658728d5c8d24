#include "QdxLifecycle.h"

#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "companion/LibraryPathManager.h"
#include "companion/QdxSDKFolder.h"

namespace Norvane {
namespace QDXDesktopSDK {

void SetLibraryPath(QdxString const& path)
{
    LibraryPathManager::SSetWorkingPath(QdxSDKFolder::GetQDXSDKFolderPath(nullptr));
    LibraryMessageSender::SetLibraryPath(Path(path.c_str()), false);
}

void OnShutdown()
{
    GetUILibraryMessageSender()->UnLoad();
    GetLibraryMessageSender()->UnLoad();
    QDXGlint::GetGlintLibraryMessageSender()->UnLoad();
}

// The library's own unload hook. The senders and singletons unload through
// static destruction, so there is nothing left for it to do; it stays as the
// one place for work that must run when the loader unloads the library.
void Finalize_QdxSDKWrapper() {}

namespace {
__attribute__((destructor)) void DllMain_UnLoad()
{
    Finalize_QdxSDKWrapper();
}
}  // namespace

}  // namespace QDXDesktopSDK
}  // namespace Norvane
