// Where things are: the current folder, the running executable, this
// library's own file and the user's home folder.
#include "support/Path.h"

#include "support/StdProcessTime.h"
#include "support/StdStringUtil.h"

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// Any object of this library will do as an address inside its file.
char const g_insideThisLibrary = 0;

// The home folder of a password entry, looked up by name (when `name` is
// given) or by user id; empty when there is none.
std::string PasswordHome(char const* name, uid_t user)
{
    long const suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 16384);
    for (;;) {
        passwd entry;
        passwd* found = nullptr;
        int const error = name != nullptr ? getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found)
                                          : getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE && buffer.size() < (1u << 20)) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        if (error != 0 || found == nullptr || found->pw_dir == nullptr)
            return std::string();
        return found->pw_dir;
    }
}

// The password database comes before $HOME, so that a program started with a
// changed environment still finds the user's real home folder.
Path HomeFolder()
{
    char login[256];
    std::string home;
    if (getlogin_r(login, sizeof login) == 0)
        home = PasswordHome(login, 0);
    if (home.empty())
        home = PasswordHome(nullptr, geteuid());
    if (home.empty()) {
        char const* const variable = std::getenv("HOME");
        home = variable != nullptr ? variable : "";
    }
    return Path(home);
}

// The full path of a mapped file known only by its bare name, from the lines
// of /proc/self/maps, which end with the file's path after the last " /".
Path FindMappedFile(std::string const& fileName)
{
    if (fileName.empty())
        return Path();
    FILE* const maps = std::fopen("/proc/self/maps", "re");
    if (maps == nullptr)
        return Path();
    std::string const ending = "/" + fileName;
    Path found;
    char* line = nullptr;
    std::size_t capacity = 0;
    while (found.IsEmpty() && getline(&line, &capacity, maps) != -1) {
        std::string const text = StdStringUtil::Trim(line, " \t\r\n", true, true);
        if (text.size() <= ending.size() || text.compare(text.size() - ending.size(), ending.size(), ending) != 0)
            continue;
        std::size_t const start = text.rfind(" /", text.size() - ending.size() - 1);
        if (start != std::string::npos)
            found = Path(text.substr(start + 1));
    }
    std::free(line);
    std::fclose(maps);
    return found;
}

Path ReadExecutableLink()
{
    char link[64];
    std::snprintf(link, sizeof link, "/proc/%lld/exe", StdProcessUtil::GetPid());
    char target[4096];
    ssize_t const length = readlink(link, target, sizeof target);
    return length > 0 ? Path(std::string(target, static_cast<std::size_t>(length))) : Path();
}

}  // namespace

Path Path::CurrentDir()
{
    char* const folder = getcwd(nullptr, 0);
    if (folder == nullptr)
        return Path();
    Path current(folder);
    std::free(folder);
    return current;
}

bool Path::SetCurrentDir(Path const& folder)
{
    return !folder.IsEmpty() && chdir(folder.c_str()) == 0;
}

Path Path::GetModuleFilePath(void const* address, bool /*resolveLinks*/)
{
    if (address == nullptr) {
        // A process runs one executable for its whole life, and every message
        // asks where it lies (the companion search, the host's configuration
        // key), so the link is read once.
        static Path const executable = ReadExecutableLink();
        return executable;
    }
    Dl_info info;
    if (dladdr(address, &info) == 0 || info.dli_fname == nullptr)
        return Path();
    // The loader names an object as it was given: the main program by the
    // (possibly relative) name it was started with, a library loaded by bare
    // name by that name. The map of the process has the full path.
    Path const name(info.dli_fname);
    return name.IsRelativePath() ? FindMappedFile(name.FileName().GetString()) : name;
}

Path Path::GetSpecialFolderPath(SpecialFolderPath kind, bool create)
{
    Path folder;
    switch (kind) {
    case SpecialFolder_Home:
    case SpecialFolder_UserData:
        folder = HomeFolder();
        break;
    case SpecialFolder_CommonData:
    case SpecialFolder_Programs:
        folder = Path("/opt");
        break;
    case SpecialFolder_Executable:
    case SpecialFolder_ExecutableFile:
        folder = GetModuleFilePath(nullptr, false);
        break;
    case SpecialFolder_Module:
    case SpecialFolder_ModuleFile: {
        // This library's file stays the same while it is loaded; the search
        // through the process's map that a relative name needs runs once.
        static Path const ownFile = GetModuleFilePath(&g_insideThisLibrary, false);
        folder = ownFile;
        break;
    }
    case SpecialFolder_ExecutableFolder:
    case SpecialFolder_ApplicationFolder:
        folder = GetModuleFilePath(nullptr, false).Parent();
        break;
    default:
        break;
    }
    if (create)
        folder.CreateDir();
    return folder;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
