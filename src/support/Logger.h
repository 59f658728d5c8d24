#ifndef QDX_LOGGER_H
#define QDX_LOGGER_H

#include "support/Singleton.h"
#include "support/StdMutex.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

class LogTarget;

/// The process-wide diagnostic log, registered as the singleton "Logger".
/// It formats one line per message, keeps a bounded summary of fatal errors,
/// errors and warnings, and hands every line to its targets. The level comes
/// from marker files in "/tmp" ("qdxdev", "qdxdebug") so that detailed
/// logging can be switched on in the field. Any thread may log; callers test
/// IsLogEnabled before formatting, so that a disabled level costs nothing.
class Logger : public Singleton {
public:
    enum LogLevel : int {
        LogLevel_Off = 0,
        LogLevel_Fatal = 1,
        LogLevel_Error = 2,
        LogLevel_Warning = 3,
        LogLevel_Info = 4,  ///< the default
        LogLevel_Debug = 5,
        LogLevel_Dev = 6,  ///< every message and answer of the companion channel
    };

    /// Receives every message given to Log(text, level) instead of the logger.
    using RedirectionFunction = void (*)(char const* text, LogLevel level);

    static constexpr char const* kSingletonName = "Logger";
    static constexpr int kSingletonOrder = 1;

    /// The registry's creation function for the logger.
    static Singleton* InstanceFunctionImpl(Singleton*& slot, SingletonFlag flag);
    /// The logger: created when missing with GetOrCreate, null when there is
    /// none with GetExisting (as destructors and shut-down paths ask).
    static Logger* Instance(SingletonFlag flag);
    /// The logger (created when missing) when `level` is enabled, else null:
    /// callers format their lines only when they get one.
    static Logger* IfEnabled(LogLevel level);

    Logger();
    ~Logger() override;

    /// True when logging is on and `level` is at or below the current level.
    bool IsLogEnabled(LogLevel level) const;
    /// Sets the level; marker files and an attached debugger override the
    /// request. Returns the previous level.
    LogLevel SetLogLevel(LogLevel level);
    /// True with the marker file "qdxverbose" and the level at 6: lines are
    /// then copied to standard output.
    bool IsConsoleLoggingEnabled() const;

    /// Writes one line at `level` to every target. Empty text writes nothing.
    void Log(char const* text, LogLevel level);
    /// Formats with printf rules and writes, when `level` is enabled.
    void Log(LogLevel level, char const* format, ...) __attribute__((format(printf, 3, 4)));
    /// Sends the message to the logger if there is one; never creates it.
    static void DefaultRedirectionFunction(char const* text, LogLevel level);
    /// Routes every message to `function` instead (null restores the logger).
    void SetRedirectionFunction(RedirectionFunction function);

    /// Writes the summary of fatal errors, errors and warnings at level 4
    /// (with `force`, also when there were none) and starts a new one.
    void LogSummary(bool force);

    /// Registers `target` under `name` (null: removes the name). A target
    /// lives under one name at most: with `keep`, one already registered
    /// stays where it is. Returns the target the name held before.
    LogTarget* AddTarget(std::string const& name, LogTarget* target, bool keep);
    LogTarget* RemoveTarget(std::string const& name);
    LogTarget* RemoveTarget(LogTarget* target);
    /// The name `target` is registered under; empty when none.
    std::string HasTarget(LogTarget* target) const;
    LogTarget* GetTarget(std::string const& name) const;
    /// Resets every target (a file target starts its file anew).
    void Reset();
    /// The running executable's file name without extension, as lines name it.
    std::string const& GetExecutableName() const { return m_executableName; }

private:
    std::map<std::string, LogTarget*> m_targets;  // guarded by m_mutex; targets are not owned
    std::atomic<int> m_level;
    bool const m_verbose;
    std::string m_summary;  // guarded by m_mutex
    std::string const m_executableName;
    std::uint32_t m_fatalErrors = 0;  // guarded by m_mutex, as the next two
    std::uint32_t m_errors = 0;
    std::uint32_t m_warnings = 0;
    mutable StdMutex m_mutex;
    std::atomic<RedirectionFunction> m_redirection{nullptr};

    static std::atomic<Logger*> s_pLiveLogger;
};

/// The level a logger takes when `requested` is asked for: 6 with a debugger
/// attached or the marker file "/tmp/qdxdev", else 5 with "/tmp/qdxdebug",
/// else 4 for a negative request, else the request itself.
Logger::LogLevel Logger_GetDefaultLogLevel(int requested);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
