#ifndef QDX_STD_PROCESS_LIBRARY_H
#define QDX_STD_PROCESS_LIBRARY_H

#include "support/Path.h"

#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

/// The dynamic loader, error texts and the running processes. Stateless thin
/// wrappers that any thread may call; none throws or logs.
namespace StdProcessUtil {

/// Does nothing on this platform: libraries are always loaded by full path.
void LibrarySetPath(Path const& folder);
/// Opens `file` with lazy binding. Returns the handle, or null with
/// `*errorText` set to the loader's message (owned by the loader and valid
/// only until its next call on any thread: copy it at once); on success
/// `*errorText` is left as it is. `errorText` may be null.
void* LibraryLoad(Path const& file, char const** errorText);
/// The address of `symbol` in the library; null for a null handle (without
/// asking the loader) or an unknown symbol.
void* LibraryGetAddress(void* handle, char const* symbol);
/// Closes the library; a null handle does nothing.
void LibraryUnLoad(void* handle);
/// "Error code: 2 (0x2) - No such file or directory" for `code` 2; -1 means
/// the calling thread's current errno, so call it on the thread that failed.
std::string GetLastErrorString(long code);
/// For `pid` below 1 (the calling process): whether the real user is root.
/// Other processes are not inspected: always false.
bool IsProcessRunningAsAdminMode(long long pid);
/// The same answer as `IsProcessRunningAsAdminMode`.
bool IsProcessRunningAsSystem(long long pid);
/// Whether `file` carries a valid code signature. This platform offers no
/// signature check for libraries, so no file verifies: callers that would
/// prefer a signed copy keep to the copy they located.
bool VerifyCertificate(Path const& file);
/// The program that the process was started as: the first word of its
/// command line, as given (possibly a bare or relative name). Empty when it
/// cannot be read or the command line is empty.
Path GetProcessPath(long long pid);
/// The processes, in process-table order, started as `executable`: by file
/// name regardless of case when `executable` is relative, else by its full
/// canonical path regardless of case. Only the first match unless `all`;
/// the calling process is left out with `skipSelf`.
std::vector<long long> GetPidOfExecutable(Path const& executable, bool all, bool skipSelf);

}  // namespace StdProcessUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
