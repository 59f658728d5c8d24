#ifndef QDX_LOG_FILE_H
#define QDX_LOG_FILE_H

#include "support/Path.h"

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// The library's log file, kept while a level marker ("/tmp/qdxdev" or
/// "/tmp/qdxdebug") exists: <SDK folder>/logs/<executable name>.log, or
/// <executable name>_<pid>.log with the marker "/tmp/qdxpid". It is started
/// when the first companion sender is made, before anything of the search is
/// logged, and ends with the logger's summary when the library unloads.
/// Without a level marker no file is made.

/// Starts the log file when a level marker exists. Only the first call of a
/// process looks; any thread may call.
void StartLogFileOnce();

/// "logs" in `sdkFolder`.
Path LogFolderIn(Path const& sdkFolder);
/// The log file of executables named `executableName` (the file name without
/// extension) in `sdkFolder`, without the process id.
Path LogFileIn(Path const& sdkFolder, std::string const& executableName);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
