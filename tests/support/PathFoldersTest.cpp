// Special folders and the files of the running program and its libraries.
#include "support/Path.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

using Norvane::QDXDesktopSDK::Path;

namespace {

std::string ExecutableFile()
{
    return std::filesystem::read_symlink("/proc/self/exe").string();
}

std::string PasswordHome()
{
    char const* const login = getlogin();
    passwd const* entry = login != nullptr ? getpwnam(login) : nullptr;
    if (entry == nullptr)
        entry = getpwuid(geteuid());
    return entry != nullptr ? entry->pw_dir : "";
}

}  // namespace

TEST(PathFoldersTest, SpecialFoldersByKind)
{
    std::string const executable = ExecutableFile();
    std::string const folder = Path(executable).Parent().GetString();
    std::string const home = PasswordHome();
    ASSERT_FALSE(home.empty()) << "the test account has no password entry";
    // The password entry comes before the environment.
    ASSERT_EQ(0, setenv("HOME", "/somewhere/else", 1));
    struct Case {
        int kind;
        std::string expected;
    };
    for (Case const& c : {Case{0, home}, Case{1, home}, Case{2, "/opt"}, Case{9, "/opt"}, Case{3, executable},
                          Case{6, executable}, Case{7, folder}, Case{8, folder}, Case{10, ""}, Case{-1, ""}})
        EXPECT_EQ(c.expected, Path::GetSpecialFolderPath(Path::SpecialFolderPath(c.kind), false).GetString())
            << "kind " << c.kind;
    // This library is linked into the test program, so its file is the program's.
    for (auto kind : {Path::SpecialFolder_Module, Path::SpecialFolder_ModuleFile})
        EXPECT_TRUE(Path::GetSpecialFolderPath(kind, false) == Path(executable)) << "kind " << kind;
}

TEST(PathFoldersTest, ModuleFileOfALibrary)
{
    void* const address = dlsym(RTLD_DEFAULT, "cos");
    Dl_info info;
    ASSERT_NE(0, dladdr(address, &info));
    EXPECT_EQ(info.dli_fname, Path::GetModuleFilePath(address, false).GetString());
    EXPECT_EQ(ExecutableFile(), Path::GetModuleFilePath(nullptr, true).GetString());
}

TEST(PathFoldersTest, ModuleFileOfAProgramStartedByBareName)
{
    // The loader names the main program by the name it was started with; make
    // that a bare name, as a shell on the search path would, by rewriting it
    // in place. The full path must then come from the process's map.
    std::string const started = program_invocation_name;
    std::string const bare = Path(started).FileName().GetString();
    std::memcpy(program_invocation_name, bare.c_str(), bare.size() + 1);
    static int const insideTheProgram = 0;
    Path const found = Path::GetModuleFilePath(&insideTheProgram, false);
    std::memcpy(program_invocation_name, started.c_str(), started.size() + 1);
    EXPECT_EQ(ExecutableFile(), found.GetString());
}

TEST(PathFoldersTest, CurrentFolderCanBeChanged)
{
    EXPECT_TRUE(Path::SetCurrentDir(Path("/proc")));
    EXPECT_EQ("/proc", Path::CurrentDir().GetString());
    EXPECT_FALSE(Path::SetCurrentDir(Path("/no/such/folder")));
    EXPECT_FALSE(Path::SetCurrentDir(Path()));
    EXPECT_EQ("/proc", Path::CurrentDir().GetString());
}
