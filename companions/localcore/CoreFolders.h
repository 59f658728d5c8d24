#ifndef QDX_LOCALCORE_CORE_FOLDERS_H
#define QDX_LOCALCORE_CORE_FOLDERS_H

#include <string>

namespace Norvane {
namespace LocalCore {

/// The SDK folder as the library computes it: "~/.norvane/UI/Norvane/QDXSDK"
/// under the user's home folder (from the password database, then $HOME)
/// when that is writable, otherwise "/opt/Norvane/QDXSDK". The core keeps its
/// files in "localcore" inside it and reads the mirrored configuration there.
std::string SdkFolder();

/// The file this code was loaded from (the core's own library file).
std::string OwnFile();

}  // namespace LocalCore
}  // namespace Norvane

#endif
