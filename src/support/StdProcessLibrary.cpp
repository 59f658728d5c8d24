#include "support/StdProcessLibrary.h"

#include "support/StdProcessTime.h"

#include <dirent.h>
#include <dlfcn.h>
#include <strings.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Norvane {
namespace QDXDesktopSDK {
namespace StdProcessUtil {

void LibrarySetPath(Path const& /*folder*/) {}

void* LibraryLoad(Path const& file, char const** errorText)
{
    void* const handle = dlopen(file.c_str(), RTLD_LAZY);
    if (handle == nullptr && errorText != nullptr)
        *errorText = dlerror();
    return handle;
}

void* LibraryGetAddress(void* handle, char const* symbol)
{
    return handle != nullptr ? dlsym(handle, symbol) : nullptr;
}

void LibraryUnLoad(void* handle)
{
    if (handle != nullptr)
        dlclose(handle);
}

std::string GetLastErrorString(long code)
{
    std::uint32_t number = static_cast<std::uint32_t>(code);
    if (number == 0xFFFFFFFFu)
        number = static_cast<std::uint32_t>(errno);
    char buffer[256] = "";
    char const* message = "Success";
    if (number != 0) {
        // The GNU strerror_r, safe beside other threads; it returns either
        // a static text or the buffer.
        char const* const text = strerror_r(static_cast<int>(number), buffer, sizeof buffer);
        message = text != nullptr && *text != '\0' ? text : "Unkown error";
    }
    char formatted[256];
    std::snprintf(formatted, sizeof formatted, "%u (0x%x)", number, number);
    return std::string("Error code: ") + formatted + " - " + message;
}

bool IsProcessRunningAsAdminMode(long long pid)
{
    return pid < 1 && getuid() == 0;
}

bool IsProcessRunningAsSystem(long long pid)
{
    return IsProcessRunningAsAdminMode(pid);
}

bool VerifyCertificate(Path const&)
{
    return false;
}

Path GetProcessPath(long long pid)
{
    char name[64];
    std::snprintf(name, sizeof name, "/proc/%lld/cmdline", pid);
    FILE* const file = std::fopen(name, "re");
    if (file == nullptr)
        return Path();
    char* line = nullptr;
    std::size_t capacity = 0;
    ssize_t const length = getline(&line, &capacity, file);
    std::fclose(file);
    Path program;
    // The words of the command line are separated by NUL characters; a line
    // without one was rewritten by the process and names no program.
    if (length > 0) {
        if (std::memchr(line, '\0', static_cast<std::size_t>(length)) != nullptr)
            program = Path(static_cast<char const*>(line));  // the text up to that NUL
    }
    std::free(line);
    return program;
}

std::vector<long long> GetPidOfExecutable(Path const& executable, bool all, bool skipSelf)
{
    bool const byName = executable.IsRelativePath();
    Path const target = byName ? executable.FileName() : executable.Canonicalize();
    long long const self = GetPid();
    std::vector<long long> found;
    DIR* const processes = opendir("/proc");
    if (processes == nullptr)
        return found;
    while (dirent const* const entry = readdir(processes)) {
        long long const pid = std::strtol(entry->d_name, nullptr, 10);
        if (pid < 1 || (skipSelf && pid == self))
            continue;
        Path program = GetProcessPath(pid);
        if (program.IsEmpty())
            continue;
        if (byName)
            program = program.FileName();
        if (strcasecmp(program.c_str(), target.c_str()) == 0) {
            found.push_back(pid);
            if (!all)
                break;
        }
    }
    closedir(processes);
    return found;
}

}  // namespace StdProcessUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane
