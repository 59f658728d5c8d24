#ifndef QDX_LOG_TARGET_FILE_H
#define QDX_LOG_TARGET_FILE_H

#include "support/LogTarget.h"
#include "support/Path.h"
#include "support/StdMutex.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// A log file, readable by its owner alone (mode 0600; a folder made for it
/// 0700). It opens (and truncates) on the first line written, starting with
/// a UTF-8 byte-order mark, stays open across lines, and ends with the
/// logger's summary when the target is destroyed. With the marker file
/// "/tmp/qdxpid" (or when asked) the process id joins the file name, so that
/// dir/app.log becomes dir/app_4242.log.
class LogTargetFile : public LogTarget {
public:
    /// Names the file at `path` without opening it, and registers under
    /// `name` when that is not empty.
    LogTargetFile(char const* path, bool addProcessId, char const* name);
    /// Writes the summary into an open file, closes it and unregisters.
    ~LogTargetFile() override;

    /// Writes `line` (opening the file first when needed) and flushes it.
    void Log(char const* line) override;
    /// Closes the file; the next line opens it anew, truncated.
    void Reset() override;

    /// Switches to the file at `path` (null or empty: closes the file).
    void SetLogFile(char const* path, bool addProcessId);
    /// Opens the file at `path`, unless it is the open one, and registers
    /// this target under the file's name without extension if it has none.
    void OpenLogFile(char const* path);
    /// Writes `text` at the current position (null: closes the file).
    /// True when at least one byte was written (or, for null, when closed).
    bool Write(char const* text);
    /// Closes an open file, forgetting its path with `forgetPath`. False when
    /// no file was open.
    bool Close(bool forgetPath);

private:
    Path m_path;               // guarded by m_mutex while opening and closing
    void* m_handle = nullptr;  // the open FILE*; writes are serialised by the logger's mutex
    bool m_addProcessId;
    StdMutex m_mutex;
};

/// Whether log file names carry the process id: when `requested`, or else
/// when the marker file "/tmp/qdxpid" exists.
bool Logger_GetAddPID(bool requested);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
