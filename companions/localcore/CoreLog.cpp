#include "CoreLog.h"

#include "NeverDestroyed.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <mutex>

namespace Norvane {
namespace LocalCore {

namespace {

constexpr off_t kRotateBytes = 1 << 20;

// Never destroyed: a line may be logged while the process exits.
NeverDestroyed<std::mutex> s_mutexStorage;
std::mutex& s_mutex = s_mutexStorage.Get();
char s_file[PATH_MAX] = "";  // guarded by s_mutex; "" until a folder is set (or when its path is too long)

}  // namespace

void SetCoreLogFolder(std::string const& folder)
{
    std::lock_guard<std::mutex> const lock(s_mutex);
    int const length = std::snprintf(s_file, sizeof s_file, "%s/core.log", folder.c_str());
    if (folder.empty() || length < 0 || static_cast<std::size_t>(length) >= sizeof s_file)
        s_file[0] = '\0';
}

void LockCoreLogForFork()
{
    s_mutex.lock();
}

void UnlockCoreLogAfterFork()
{
    s_mutex.unlock();
}

void CoreLog(char const* format, ...)
{
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);

    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm utc{};
    gmtime_r(&now.tv_sec, &utc);
    char line[1200];
    int const length = std::snprintf(line, sizeof line, "%04d-%02d-%02dT%02d:%02d:%02d.%03ldZ pid:%ld %s\n",
                                     utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                                     utc.tm_sec, now.tv_nsec / 1000000, static_cast<long>(getpid()), text);

    std::lock_guard<std::mutex> const lock(s_mutex);
    if (s_file[0] == '\0' || length <= 0)
        return;
    struct stat status {};
    if (stat(s_file, &status) == 0 && status.st_size > kRotateBytes)
        rename(s_file, (std::string(s_file) + ".1").c_str());
    int const file = open(s_file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file < 0)
        return;
    // One write of the whole line, so that processes sharing the file never interleave within a line.
    [[maybe_unused]] ssize_t const written =
        write(file, line, static_cast<std::size_t>(std::min<int>(length, sizeof line - 1)));
    close(file);
}

void CoreLogMovedAside(std::string const& movedAsideTo)
{
    if (!movedAsideTo.empty())
        CoreLog("the database was corrupt: kept as %s, a fresh one made", movedAsideTo.c_str());
}

}  // namespace LocalCore
}  // namespace Norvane
