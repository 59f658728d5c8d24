#include "support/LogTargetFile.h"

#include "support/LogMarkers.h"
#include "support/Logger.h"
#include "support/StdProcessTime.h"

#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// Log files carry the arguments of messages, so they are readable by their
// owner alone (0600), and a folder made for them too (0700), whatever mode
// the library gives the other files it creates. Opened without following a
// symbolic link, and truncated, as the first line of a log starts it anew.
std::FILE* OpenPrivately(Path const& file)
{
    Path const folder = file.Parent();
    if (!folder.IsEmpty() && !folder.Exists()) {
        folder.Parent().CreateDir();
        mkdir(folder.c_str(), 0700);
    }
    int const descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0)
        return nullptr;
    // An existing file keeps its mode through O_CREAT.
    fchmod(descriptor, 0600);
    std::FILE* const stream = fdopen(descriptor, "wb");
    if (stream == nullptr)
        close(descriptor);
    return stream;
}

}  // namespace

bool Logger_GetAddPID(bool requested)
{
    return requested || LogMarkers::Exists(LogMarkers::kPid);
}

// Registers only once fully built (not through the base constructor), so
// that a line logged meanwhile by another thread never reaches a half-built
// target.
LogTargetFile::LogTargetFile(char const* path, bool addProcessId, char const* name)
    : LogTarget(nullptr), m_path(path), m_addProcessId(Logger_GetAddPID(addProcessId))
{
    Register(name);
}

LogTargetFile::~LogTargetFile()
{
    if (m_handle != nullptr) {
        if (Logger* logger = Logger::Instance(Singleton::GetExisting))
            logger->LogSummary(true);
    }
    SetLogFile(nullptr, false);
    // Unregistered here, before the members go, rather than by the base destructor.
    if (Logger* logger = Logger::Instance(Singleton::GetExisting))
        logger->RemoveTarget(this);
}

void LogTargetFile::Log(char const* line)
{
    if (line == nullptr || *line == '\0')
        return;
    if (!m_path.IsEmpty() && m_handle == nullptr)
        OpenLogFile(m_path.c_str());
    if (m_handle != nullptr && Write(line))
        std::fflush(static_cast<std::FILE*>(m_handle));
}

void LogTargetFile::Reset()
{
    Close(false);
}

void LogTargetFile::SetLogFile(char const* path, bool addProcessId)
{
    m_addProcessId = Logger_GetAddPID(addProcessId);
    OpenLogFile(path);
}

void LogTargetFile::OpenLogFile(char const* path)
{
    if (path == nullptr || *path == '\0') {
        Close(true);
        return;
    }
    Path file(path);
    if (m_addProcessId) {
        std::string const name = file.FileNameWithoutExt().GetString() + "_" +
                                 std::to_string(StdProcessUtil::GetPid()) + file.GetExtension();
        file = file.Parent().Append(name);
    }
    // Compared as paths, not as text: reopening would truncate the file, and
    // another spelling of the open one (relative, other case) must not.
    if (m_handle != nullptr && m_path != file)
        Close(true);

    std::string targetName;
    {
        StdAutoMutexLock const lock(m_mutex, -1);
        if (m_handle != nullptr && m_path == file)
            return;
        m_path = file;
        Logger* const logger = Logger::Instance(Singleton::GetExisting);
        if (logger != nullptr && logger->IsLogEnabled(Logger::LogLevel_Fatal)) {
            char const byteOrderMark[] = "\xEF\xBB\xBF";
            if (!Write(byteOrderMark)) {
                m_path.DeleteFile();
                Write(byteOrderMark);
            }
            targetName = m_path.FileNameWithoutExt().GetString();
        }
    }
    Logger* const logger = targetName.empty() ? nullptr : Logger::Instance(Singleton::GetOrCreate);
    if (logger != nullptr)
        logger->AddTarget(targetName, this, true);
}

bool LogTargetFile::Write(char const* text)
{
    auto* file = static_cast<std::FILE*>(m_handle);
    if (text == nullptr) {
        if (file != nullptr)
            std::fclose(file);
        m_handle = nullptr;
        return true;
    }
    if (file == nullptr) {
        file = OpenPrivately(m_path);
        if (file == nullptr)
            return false;
        m_handle = file;
    }
    std::size_t const length = std::strlen(text);
    return length > 0 && std::fwrite(text, 1, length, file) > 0;
}

bool LogTargetFile::Close(bool forgetPath)
{
    if (m_handle == nullptr)
        return false;
    StdAutoMutexLock const lock(m_mutex, -1);
    Write(nullptr);
    if (forgetPath)
        m_path = Path();
    return true;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
