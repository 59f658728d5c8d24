// Path operations on single files and folders: thin calls into the system
// that report failure by their result.
#include "support/Path.h"

#include "support/StdProcessTime.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

constexpr unsigned long kNoFileAttribute = ULONG_MAX;

std::atomic<unsigned long> g_globalFileAttribute{kNoFileAttribute};

void ApplyGlobalFileAttribute(Path const& path)
{
    unsigned long const attribute = g_globalFileAttribute.load();
    if (attribute != kNoFileAttribute)
        chmod(path.c_str(), static_cast<mode_t>(attribute));
}

long long Milliseconds(timespec const& time)
{
    return static_cast<long long>(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
}

timespec TimeSpec(long long milliseconds)
{
    timespec time{};
    if (milliseconds < 0) {
        time.tv_nsec = UTIME_OMIT;
    } else {
        time.tv_sec = static_cast<time_t>(milliseconds / 1000);
        time.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000;
    }
    return time;
}

bool WriteAll(int descriptor, char const* data, std::size_t size)
{
    while (size > 0) {
        ssize_t const written = write(descriptor, data, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

// Copies an open file's bytes to another open file; false on any read or
// write error.
bool CopyBytes(int from, int to)
{
    char buffer[64 * 1024];
    for (;;) {
        ssize_t const got = read(from, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return false;
        if (got == 0)
            return true;
        if (!WriteAll(to, buffer, static_cast<std::size_t>(got)))
            return false;
    }
}

}  // namespace

void Path::SetGlobalFileAttribute(unsigned long attribute)
{
    g_globalFileAttribute.store(attribute);
}

unsigned long Path::GetGlobalFileAttribute()
{
    return g_globalFileAttribute.load();
}

bool Path::Exists() const
{
    struct stat status;
    return !m_path.empty() && lstat(m_path.c_str(), &status) == 0;
}

bool Path::IsDir() const
{
    struct stat status;
    return !m_path.empty() && stat(m_path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool Path::CreateDir() const
{
    if (m_path.empty())
        return false;
    if (Exists())
        return IsDir();
    // A relative path runs out of parents at the empty path, which fails
    // harmlessly; the current folder exists anyway.
    Parent().CreateDir();
    if (mkdir(m_path.c_str(), 0777) != 0)
        return errno == EEXIST && IsDir();  // made by someone else meanwhile
    ApplyGlobalFileAttribute(*this);
    return true;
}

long long Path::GetFileSize() const
{
    struct stat status;
    if (m_path.empty() || stat(m_path.c_str(), &status) != 0)
        return -1;
    return static_cast<long long>(status.st_size);
}

long long Path::GetModificationTime() const
{
    struct stat status;
    if (m_path.empty() || stat(m_path.c_str(), &status) != 0)
        return -1;
    return Milliseconds(status.st_mtim);
}

long long Path::GetAccessTime() const
{
    struct stat status;
    if (m_path.empty() || stat(m_path.c_str(), &status) != 0)
        return -1;
    return Milliseconds(status.st_atim);
}

bool Path::SetFileTimes(long long accessTime, long long modificationTime) const
{
    timespec const times[2] = {TimeSpec(accessTime), TimeSpec(modificationTime)};
    return !m_path.empty() && utimensat(AT_FDCWD, m_path.c_str(), times, 0) == 0;
}

bool Path::IsWritable() const
{
    if (m_path.empty())
        return false;
    if (!Exists())
        return Parent().IsWritable();
    // Permission bits do not tell the whole truth (read-only mounts, root,
    // access lists), so the folder is asked by really writing a file. The
    // name carries process and thread so that concurrent probes never meet.
    Path const folder = IsDir() ? *this : Parent();
    std::string const prefix = "canWrite" + std::to_string(StdProcessUtil::GetPid());
    std::string const extension = std::to_string(StdProcessUtil::GetThreadId());
    Path const probe = folder.GetTempFile(prefix.c_str(), extension.c_str(), nullptr);
    std::string const& content = probe.GetString();
    bool const written = probe.WriteFile(content.data(), static_cast<long long>(content.size()), 0, nullptr, nullptr);
    probe.DeleteFile();
    return written;
}

Path Path::GetTempFile(char const* prefix, char const* extension, unsigned long* counter) const
{
    std::string suffix;
    if (extension != nullptr) {
        if (*extension == '.')
            ++extension;
        if (*extension != '\0')
            suffix.append(".").append(extension);
    }
    std::string const stem = prefix != nullptr ? prefix : "";
    unsigned long number = counter != nullptr ? *counter : 0;
    for (;; ++number) {
        Path const candidate = Append(Path(stem + (number == 0 ? std::string() : std::to_string(number)) + suffix));
        if (!candidate.Exists()) {
            if (counter != nullptr)
                *counter = number + 1;
            return candidate;
        }
    }
}

bool Path::WriteFile(void const* data, long long size, long long offset, char const* temporarySuffix,
                     void** handle) const
{
    Path const target =
        temporarySuffix == nullptr ? *this : Path(m_path + (*temporarySuffix != '\0' ? temporarySuffix : ".saving"));
    FILE* file = handle != nullptr ? static_cast<FILE*>(*handle) : nullptr;
    bool positioned = true;
    if (file == nullptr) {
        target.Parent().CreateDir();
        file = std::fopen(target.c_str(), "wbe");
        if (file == nullptr)
            return false;
        if (handle != nullptr)
            *handle = file;
        positioned = (offset < 0 ? fseeko(file, 0, SEEK_END) : fseeko(file, static_cast<off_t>(offset), SEEK_SET)) == 0;
    }
    bool complete = positioned;
    if (size >= 0) {
        std::size_t const written = (positioned && size > 0 && data != nullptr)
                                        ? std::fwrite(data, 1, static_cast<std::size_t>(size), file)
                                        : 0;
        if (handle != nullptr)
            return written > 0;
        complete = complete && written == static_cast<std::size_t>(size);
    }
    // The stream's error mark remembers any failed write since it was opened,
    // so a file written piece by piece through a handle is only put in place
    // when every piece arrived.
    complete = complete && std::ferror(file) == 0;
    bool const closed = std::fclose(file) == 0;
    ApplyGlobalFileAttribute(target);
    if (handle != nullptr)
        *handle = nullptr;
    bool succeeded = complete && closed;
    if (temporarySuffix != nullptr) {
        if (succeeded)
            succeeded = target.Move(*this, true);
        if (!succeeded)
            target.DeleteFile();
    }
    return succeeded;
}

long long Path::ReadFile(long long offset, long long size, void* buffer) const
{
    if (m_path.empty() || offset < 0 || size < 0 || (buffer == nullptr && size > 0))
        return -1;
    int const descriptor = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return -1;
    char* const bytes = static_cast<char*>(buffer);
    long long total = 0;
    while (total < size) {
        ssize_t const got = pread(descriptor, bytes + total, static_cast<std::size_t>(size - total),
                                  static_cast<off_t>(offset + total));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            total = -1;
            break;
        }
        if (got == 0)
            break;
        total += got;
    }
    close(descriptor);
    return total;
}

std::string Path::ReadFileAsString(long long maxSize) const
{
    std::string text;
    int const descriptor = m_path.empty() ? -1 : open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return text;
    // Read to the end rather than trusting the size: files under /proc and
    // files still being written report sizes that are not their contents.
    char buffer[16 * 1024];
    while (maxSize < 0 || static_cast<long long>(text.size()) < maxSize) {
        std::size_t wanted = sizeof buffer;
        if (maxSize >= 0 && static_cast<unsigned long long>(maxSize) - text.size() < wanted)
            wanted = static_cast<std::size_t>(maxSize - static_cast<long long>(text.size()));
        ssize_t const got = read(descriptor, buffer, wanted);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            text.clear();
            break;
        }
        if (got == 0)
            break;
        text.append(buffer, static_cast<std::size_t>(got));
    }
    close(descriptor);
    return text;
}

bool Path::DeleteFile() const
{
    return !m_path.empty() && unlink(m_path.c_str()) == 0;
}

bool Path::DeleteDirectory() const
{
    return !m_path.empty() && rmdir(m_path.c_str()) == 0;
}

bool Path::CopyFile(Path const& target) const
{
    if (m_path.empty() || target.m_path.empty())
        return false;
    int const source = open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    if (source < 0)
        return false;
    struct stat from;
    struct stat to;
    bool copied = false;
    if (fstat(source, &from) == 0 && !S_ISDIR(from.st_mode)) {
        // Truncating the target would destroy the source when both are one file.
        if (stat(target.c_str(), &to) == 0 && to.st_dev == from.st_dev && to.st_ino == from.st_ino) {
            close(source);
            return true;
        }
        target.Parent().CreateDir();
        mode_t const mode = from.st_mode & 07777;
        int const destination = open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
        if (destination >= 0) {
            copied = CopyBytes(source, destination);
            copied = fchmod(destination, mode) == 0 && copied;
            copied = close(destination) == 0 && copied;
            ApplyGlobalFileAttribute(target);
        }
    }
    close(source);
    return copied;
}

bool Path::Move(Path const& target, bool overwrite) const
{
    if (m_path.empty() || target.m_path.empty())
        return false;
    if (!overwrite && target.Exists())
        return false;
    if (std::rename(m_path.c_str(), target.c_str()) == 0)
        return true;
    if (errno != EXDEV)
        return false;
    return Copy(target, false) && Delete(true, nullptr, nullptr) > 0;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
