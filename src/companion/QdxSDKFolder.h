#ifndef QDX_SDK_FOLDER_H
#define QDX_SDK_FOLDER_H

#include "support/Path.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// The folders that the wrapper and its companions share: the SDK data folder
/// (per user under the home folder, or common to all users under "/opt"), the
/// installation "bin" folders of the desktop SDK and of the Glint client, and
/// the client service's status file. Any thread may call.
namespace QdxSDKFolder {

/// Records the wish for the common folder and forgets the computed SDK folder.
/// The per-user folder is still chosen whenever it is writable.
void UseCommonFolder(bool useCommonFolder);
/// True when asked for through UseCommonFolder, or when the process runs as
/// root (asked once per process).
bool IsUsingCommonFolder();

/// The SDK data folder, with `sub` appended when not null: the per-user
/// "~/.norvane/UI/Norvane/QDXSDK" when it is writable, else the common
/// "/opt/Norvane/QDXSDK" (and from then on every file the library creates is
/// made readable and writable by all). Computed once, then kept.
Path GetQDXSDKFolderPath(char const* sub);
/// The per-user SDK data folder inside the home folder `home`
/// ("<home>/.norvane/UI/Norvane/QDXSDK"), whether or not it is the one in use.
Path GetUserQDXSDKFolderPath(Path const& home);
/// The same folder as GetQDXSDKFolderPath.
Path GetQDXSDK_SYSTEMFolderPath(char const* sub);
/// "/opt/Norvane/QdxDesktopSDK/bin", with `sub` appended when not null.
Path GetQDXSDKBinFolderPath(char const* sub);
/// "/opt/Norvane/QdxGlintClient/bin", with `sub` appended when not null.
Path GetGlintBinFolderPath(char const* sub);
/// "CS.json" in the SDK data folder: the client service's status file.
Path GetCSStatusFilePath();

/// Deletes the temporary copies of a bin folder that companion processes
/// leave in `folder`: every entry whose name contains "bin", except
/// `folder`/bin itself and any entry from inside which a running
/// "QDXClientService" executes. Each decision is logged at level 5.
/// Always 0.
int CleanupAllTempBinAtPath(Path const& folder);

}  // namespace QdxSDKFolder
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
