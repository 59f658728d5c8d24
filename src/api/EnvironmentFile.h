#ifndef QDX_ENVIRONMENT_FILE_H
#define QDX_ENVIRONMENT_FILE_H

namespace Norvane {
namespace QDXDesktopSDK {

/// Its file name, in the companion folders and, mirrored, in the SDK folder.
constexpr char kEnvironmentFile[] = "qdxdesktopsdk.env";

/// Mirrors the optional environment file "qdxdesktopsdk.env" of the companion
/// folders into the SDK folder: a changed file is copied there, and a copy
/// whose source has gone is deleted. After either, a running core service is
/// asked to reload its configuration through the message file
/// "~/.norvane/UI/Norvane/QDXSDK/JSON/InternalMessage.json.user". Nothing
/// happens when the two files are equal or neither exists. Failed copies,
/// deletions and writes are ignored. Called once, when the core sender is made.
void SynchroniseEnvironmentFile();

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
