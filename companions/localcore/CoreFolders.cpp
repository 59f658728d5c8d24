#include "CoreFolders.h"

#include <dlfcn.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace Norvane {
namespace LocalCore {

namespace {

std::string PasswordHome(char const* name)
{
    std::vector<char> buffer(16384);
    for (;;) {
        passwd entry;
        passwd* found = nullptr;
        int const error = name != nullptr ? getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found)
                                          : getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found);
        if (error == ERANGE && buffer.size() < (1u << 20)) {
            buffer.resize(buffer.size() * 2);
            continue;
        }
        return error == 0 && found != nullptr && found->pw_dir != nullptr ? found->pw_dir : std::string();
    }
}

std::string HomeFolder()
{
    char login[256];
    std::string home;
    if (getlogin_r(login, sizeof login) == 0)
        home = PasswordHome(login);
    if (home.empty())
        home = PasswordHome(nullptr);
    if (home.empty()) {
        char const* const variable = std::getenv("HOME");
        home = variable != nullptr ? variable : "";
    }
    return home;
}

// Writable as the library judges it: the folder, or else the nearest folder
// above it that exists, since the folder is made on first use.
bool IsWritable(std::string path)
{
    for (;;) {
        struct stat status {};
        if (stat(path.c_str(), &status) == 0)
            return S_ISDIR(status.st_mode) && access(path.c_str(), W_OK) == 0;
        std::size_t const slash = path.find_last_of('/');
        if (slash == std::string::npos || slash == 0)
            return false;
        path.resize(slash);
    }
}

}  // namespace

std::string SdkFolder()
{
    std::string const user = HomeFolder() + "/.norvane/UI/Norvane/QDXSDK";
    return IsWritable(user) ? user : std::string("/opt/Norvane/QDXSDK");
}

std::string OwnFile()
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&OwnFile), &info) == 0 || info.dli_fname == nullptr)
        return std::string();
    return info.dli_fname;
}

}  // namespace LocalCore
}  // namespace Norvane
