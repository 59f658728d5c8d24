// The loader wrappers, error texts and the process table.
#include "support/StdProcessLibrary.h"
#include "support/StdProcessTime.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

using namespace Norvane::QDXDesktopSDK;
namespace Process = Norvane::QDXDesktopSDK::StdProcessUtil;

namespace {

// A child that has certainly become `program` (the pipe closes on exec),
// killed and reaped when the test ends.
struct Child {
    pid_t pid = -1;
    Child(char const* program, bool searchPath)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0 || (pid = fork()) < 0)
            return;
        if (pid == 0) {
            char* const arguments[] = {const_cast<char*>(program), const_cast<char*>("30"), nullptr};
            searchPath ? execvp(program, arguments) : execv(program, arguments);
            _exit(127);
        }
        close(ends[1]);
        char byte;
        while (read(ends[0], &byte, 1) < 0 && errno == EINTR)
            continue;
        close(ends[0]);
    }
    ~Child()
    {
        if (pid > 0 && kill(pid, SIGKILL) == 0)
            waitpid(pid, nullptr, 0);
    }
};

bool Contains(std::vector<long long> const& pids, long long pid)
{
    return std::find(pids.begin(), pids.end(), pid) != pids.end();
}

}  // namespace

TEST(StdProcessLibraryTest, ErrorTextsAndTheLoader)
{
    EXPECT_EQ("Error code: 0 (0x0) - Success", Process::GetLastErrorString(0));
    EXPECT_EQ("Error code: 2 (0x2) - No such file or directory", Process::GetLastErrorString(2));
    errno = EACCES;
    EXPECT_EQ("Error code: 13 (0xd) - Permission denied", Process::GetLastErrorString(-1));
    Dl_info info;
    ASSERT_NE(0, dladdr(dlsym(RTLD_DEFAULT, "cos"), &info));
    char const* error = "untouched";
    void* const handle = Process::LibraryLoad(Path(info.dli_fname), &error);
    ASSERT_NE(nullptr, handle);
    EXPECT_STREQ("untouched", error);
    auto const cosine = reinterpret_cast<double (*)(double)>(Process::LibraryGetAddress(handle, "cos"));
    ASSERT_NE(nullptr, cosine);
    EXPECT_EQ(1.0, cosine(0.0));
    EXPECT_EQ(nullptr, Process::LibraryGetAddress(handle, "NoSuchSymbolAnywhere"));
    Process::LibraryUnLoad(handle);
    EXPECT_EQ(nullptr, Process::LibraryGetAddress(nullptr, "cos"));
    Process::LibraryUnLoad(nullptr);
    EXPECT_EQ(nullptr, Process::LibraryLoad(Path("/no/such/libQdx.so"), &error));
    EXPECT_NE(std::string::npos, std::string(error).find("/no/such/libQdx.so")) << error;
}

TEST(StdProcessLibraryTest, ProcessesByPidAndByExecutable)
{
    EXPECT_FALSE(Process::IsProcessRunningAsSystem(1234));
    EXPECT_EQ(program_invocation_name, Process::GetProcessPath(Process::GetPid()).GetString());
    for (long long pid : {0LL, -1LL, 2147483647LL})
        EXPECT_TRUE(Process::GetProcessPath(pid).IsEmpty()) << pid;

    Path const sleep = Path("/bin/sleep").Canonicalize();
    Child const byPath(sleep.c_str(), false);
    Child const byName("sleep", true);
    ASSERT_TRUE(byPath.pid > 0 && byName.pid > 0);
    EXPECT_EQ("sleep", Process::GetProcessPath(byName.pid).GetString());

    std::vector<long long> const full = Process::GetPidOfExecutable(sleep, true, true);
    EXPECT_TRUE(Contains(full, byPath.pid));
    EXPECT_FALSE(Contains(full, byName.pid)) << "a bare start name never equals a full path";
    std::vector<long long> const named = Process::GetPidOfExecutable(Path("SLEEP"), true, true);
    EXPECT_TRUE(Contains(named, byPath.pid) && Contains(named, byName.pid));
    EXPECT_EQ(1u, Process::GetPidOfExecutable(Path("sleep"), false, true).size());
}
