#include "support/Logger.h"

#include "support/LogMarkers.h"
#include "support/LogTarget.h"
#include "support/Path.h"
#include "support/StdProcessTime.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

char const* const kLevelNames[] = {"", "FATAL", "ERROR", "WARN", "INFO", "DEBUG", "DEV"};

char const* LevelName(int level)
{
    return level >= 0 && level <= Logger::LogLevel_Dev ? kLevelNames[level] : "UNKNOWN";
}

// Keeps the most recent entries of the summary when it outgrows its bound.
constexpr std::size_t kSummaryLimit = 8192;
constexpr std::size_t kSummaryDrop = 4096;

}  // namespace

Logger::LogLevel Logger_GetDefaultLogLevel(int requested)
{
    if (StdProcessUtil::IsDebuggerPresent())
        return Logger::LogLevel_Dev;
    if (int const marked = LogMarkers::MarkedLevel())
        return static_cast<Logger::LogLevel>(marked);
    if (requested < 0)
        return Logger::LogLevel_Info;
    return static_cast<Logger::LogLevel>(requested);
}

// Every message of the companion channel asks for the logger, so the live
// logger is also kept here: asking for it then takes no lock. The registry
// still owns it; the logger clears this when it is destroyed.
std::atomic<Logger*> Logger::s_pLiveLogger{nullptr};

Singleton* Logger::InstanceFunctionImpl(Singleton*& slot, SingletonFlag flag)
{
    if (flag == GetOrCreate && slot == nullptr) {
        Logger* const logger = new Logger();
        slot = logger;
        s_pLiveLogger.store(logger, std::memory_order_release);
    }
    return slot;
}

Logger* Logger::Instance(SingletonFlag flag)
{
    if (flag != Destroy) {
        if (Logger* const logger = s_pLiveLogger.load(std::memory_order_acquire))
            return logger;
    }
    return InstanceOf<Logger>(flag);
}

Logger* Logger::IfEnabled(LogLevel level)
{
    Logger* const logger = Instance(GetOrCreate);
    return logger != nullptr && logger->IsLogEnabled(level) ? logger : nullptr;
}

Logger::~Logger()
{
    s_pLiveLogger.store(nullptr, std::memory_order_release);
}

Logger::Logger()
    : m_level(Logger_GetDefaultLogLevel(-1)),
      m_verbose(LogMarkers::Exists(LogMarkers::kVerbose)),
      m_executableName(Path::GetModuleFilePath(nullptr, false).FileNameWithoutExt().GetString())
{
}

bool Logger::IsLogEnabled(LogLevel level) const
{
    int const current = m_level.load(std::memory_order_relaxed);
    return current != LogLevel_Off && current >= level;
}

Logger::LogLevel Logger::SetLogLevel(LogLevel level)
{
    return static_cast<LogLevel>(m_level.exchange(Logger_GetDefaultLogLevel(level)));
}

bool Logger::IsConsoleLoggingEnabled() const
{
    return m_verbose && m_level.load(std::memory_order_relaxed) == LogLevel_Dev;
}

void Logger::Log(char const* text, LogLevel level)
{
    RedirectionFunction const redirection = m_redirection.load();
    if (redirection != nullptr && redirection != &Logger::DefaultRedirectionFunction) {
        redirection(text, level);
        return;
    }
    if (!IsLogEnabled(level) || text == nullptr || *text == '\0')
        return;

    std::string line = LevelName(level);
    line += " | ";
    line += StdProcessUtil::GetLocalTimeString(StdProcessUtil::Time_Microsecond, 0, nullptr);
    line += " | exe: ";
    line += m_executableName;
    line += " | pid:";
    line += std::to_string(StdProcessUtil::GetPid());
    line += " | tid:";
    line += std::to_string(StdProcessUtil::GetThreadId());
    line += " | ";
    line += text;
    line += "\r\n";

    {
        StdAutoMutexLock const lock(m_mutex, -1);
        if (level < LogLevel_Info) {
            if (!m_summary.empty())
                m_summary += "\r\n";
            m_summary += LevelName(level);
            m_summary += ": ";
            m_summary += text;
            if (m_summary.size() > kSummaryLimit)
                m_summary.erase(0, kSummaryDrop);
            // Only fatal errors, errors and warnings are counted.
            if (level == LogLevel_Fatal)
                ++m_fatalErrors;
            else if (level == LogLevel_Error)
                ++m_errors;
            else if (level == LogLevel_Warning)
                ++m_warnings;
        }
        for (auto const& target : m_targets)
            target.second->Log(line.c_str());
    }
    if (IsConsoleLoggingEnabled())
        StdProcessUtil::OutputDebugString(line.c_str(), false);
}

void Logger::Log(LogLevel level, char const* format, ...)
{
    if (!IsLogEnabled(level) || format == nullptr || *format == '\0')
        return;
    va_list arguments;
    va_start(arguments, format);
    va_list measuring;
    va_copy(measuring, arguments);
    int const length = std::vsnprintf(nullptr, 0, format, measuring);
    va_end(measuring);
    if (length >= 0) {
        std::vector<char> text(static_cast<std::size_t>(length) + 1, '\0');
        std::vsnprintf(text.data(), text.size(), format, arguments);
        Log(text.data(), level);
    }
    va_end(arguments);
}

void Logger::DefaultRedirectionFunction(char const* text, LogLevel level)
{
    if (Logger* logger = Instance(GetExisting))
        logger->Log(text, level);
}

void Logger::SetRedirectionFunction(RedirectionFunction function)
{
    m_redirection.store(function);
}

void Logger::LogSummary(bool force)
{
    std::string summary;
    std::uint32_t fatalErrors, errors, warnings;
    {
        // Taken and cleared at once, so that entries arriving meanwhile belong to the next summary.
        StdAutoMutexLock const lock(m_mutex, -1);
        summary.swap(m_summary);
        fatalErrors = m_fatalErrors;
        errors = m_errors;
        warnings = m_warnings;
        m_fatalErrors = m_errors = m_warnings = 0;
    }
    if (!force && summary.empty())
        return;
    Log("-------------------------------------- Summary --------------------------------------", LogLevel_Info);
    Log(summary.c_str(), LogLevel_Info);
    Log(LogLevel_Info, " - %u fatal error(s), %u error(s), %u warning(s)", fatalErrors, errors, warnings);
    if (!summary.empty())
        Log("Please search the above error/warning string(s) to find when the error occurred.", LogLevel_Info);
}

LogTarget* Logger::AddTarget(std::string const& name, LogTarget* target, bool keep)
{
    LogTarget* const previous = GetTarget(name);
    if (target == nullptr) {
        StdAutoMutexLock const lock(m_mutex, -1);
        m_targets.erase(name);
        return previous;
    }
    if (keep && !HasTarget(target).empty())
        return previous;
    RemoveTarget(target);
    StdAutoMutexLock const lock(m_mutex, -1);
    m_targets[name] = target;
    return previous;
}

LogTarget* Logger::RemoveTarget(std::string const& name)
{
    if (name.empty())
        return nullptr;
    return AddTarget(name, nullptr, false);
}

LogTarget* Logger::RemoveTarget(LogTarget* target)
{
    return RemoveTarget(HasTarget(target));
}

std::string Logger::HasTarget(LogTarget* target) const
{
    StdAutoMutexLock const lock(m_mutex, -1);
    for (auto const& entry : m_targets) {
        if (entry.second == target)
            return entry.first;
    }
    return std::string();
}

LogTarget* Logger::GetTarget(std::string const& name) const
{
    StdAutoMutexLock const lock(m_mutex, -1);
    auto const entry = m_targets.find(name);
    return entry != m_targets.end() ? entry->second : nullptr;
}

void Logger::Reset()
{
    StdAutoMutexLock const lock(m_mutex, -1);
    for (auto const& entry : m_targets)
        entry.second->Reset();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
