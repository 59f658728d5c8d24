// The loader wrappers, error texts and the process table.
#include "TestIsolation.h"
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
class Child {
public:
    Child(char const* program, bool searchPath)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            return;
        m_pid = fork();
        if (m_pid == 0) {
            char* const arguments[] = {const_cast<char*>(program), const_cast<char*>("30"), nullptr};
            searchPath ? execvp(program, arguments) : execv(program, arguments);
            _exit(127);
        }
        close(ends[1]);
        char byte;
        while (read(ends[0], &byte, 1) < 0 && errno == EINTR) {
        }
        close(ends[0]);
    }
    ~Child()
    {
        if (m_pid > 0 && kill(m_pid, SIGKILL) == 0)
            waitpid(m_pid, nullptr, 0);
    }
    long long Pid() const { return m_pid; }

private:
    pid_t m_pid = -1;
};

bool Contains(std::vector<long long> const& pids, long long pid)
{
    return std::find(pids.begin(), pids.end(), pid) != pids.end();
}

}  // namespace

TEST(StdProcessLibraryTest, ErrorTexts)
{
    EXPECT_EQ("Error code: 0 (0x0) - Success", Process::GetLastErrorString(0));
    EXPECT_EQ("Error code: 2 (0x2) - No such file or directory", Process::GetLastErrorString(2));
    EXPECT_EQ("Error code: 99999 (0x1869f) - Unknown error 99999", Process::GetLastErrorString(99999));
    errno = EACCES;
    EXPECT_EQ("Error code: 13 (0xd) - Permission denied", Process::GetLastErrorString(-1));
    errno = 0;
    EXPECT_EQ("Error code: 0 (0x0) - Success", Process::GetLastErrorString(-1));
}

TEST(StdProcessLibraryTest, LoadsResolvesAndUnloads)
{
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
    // A null handle would mean "every loaded object" to the loader: never asked.
    EXPECT_EQ(nullptr, Process::LibraryGetAddress(nullptr, "cos"));
    Process::LibraryUnLoad(nullptr);

    EXPECT_EQ(nullptr, Process::LibraryLoad(Path("/no/such/libQdx.so"), &error));
    EXPECT_NE(std::string::npos, std::string(error).find("/no/such/libQdx.so")) << error;
    EXPECT_EQ(nullptr, Process::LibraryLoad(Path("/proc/self/status"), nullptr));
}

TEST(StdProcessLibraryTest, AdministratorOnlyForTheCallingProcess)
{
    for (long long pid : {0LL, -1LL}) {
        EXPECT_EQ(getuid() == 0, Process::IsProcessRunningAsAdminMode(pid));
        EXPECT_EQ(getuid() == 0, Process::IsProcessRunningAsSystem(pid));
    }
    for (long long pid : {1LL, 1234LL, Process::GetPid()})
        EXPECT_FALSE(Process::IsProcessRunningAsAdminMode(pid) || Process::IsProcessRunningAsSystem(pid)) << pid;
}

TEST(StdProcessLibraryTest, ProcessPathIsTheNameTheProcessWasStartedAs)
{
    EXPECT_EQ(program_invocation_name, Process::GetProcessPath(Process::GetPid()).GetString());
    for (long long pid : {0LL, -1LL, 2147483647LL})
        EXPECT_TRUE(Process::GetProcessPath(pid).IsEmpty()) << pid;

    // A process that has ended but is not reaped yet has an empty command line.
    pid_t const zombie = fork();
    if (zombie == 0)
        _exit(0);
    siginfo_t info;
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(zombie), &info, WEXITED | WNOWAIT));
    EXPECT_TRUE(Process::GetProcessPath(zombie).IsEmpty());
    Path const self = Process::GetProcessPath(Process::GetPid()).FileName();
    EXPECT_FALSE(Contains(Process::GetPidOfExecutable(self, true, true), zombie));
    EXPECT_TRUE(Contains(Process::GetPidOfExecutable(self, true, false), Process::GetPid()));
    EXPECT_FALSE(Contains(Process::GetPidOfExecutable(self, true, true), Process::GetPid()));
    waitpid(zombie, nullptr, 0);
}

TEST(StdProcessLibraryTest, FindsProcessesByFullPathOrByName)
{
    Path const sleep = Path("/bin/sleep").Canonicalize();
    Child const byPath(sleep.c_str(), false);
    Child const byName("sleep", true);
    ASSERT_GT(byPath.Pid(), 0);
    ASSERT_GT(byName.Pid(), 0);
    EXPECT_EQ("sleep", Process::GetProcessPath(byName.Pid()).GetString());

    std::vector<long long> const full = Process::GetPidOfExecutable(sleep, true, true);
    EXPECT_TRUE(Contains(full, byPath.Pid()));
    EXPECT_FALSE(Contains(full, byName.Pid())) << "a bare start name never equals a full path";
    std::vector<long long> const named = Process::GetPidOfExecutable(Path("SLEEP"), true, true);
    EXPECT_TRUE(Contains(named, byPath.Pid()) && Contains(named, byName.Pid()));
    EXPECT_EQ(1u, Process::GetPidOfExecutable(Path("sleep"), false, true).size());
    EXPECT_TRUE(Process::GetPidOfExecutable(Path("no-such-program-running"), true, false).empty());
}

TEST(StdProcessLibraryTest, BareNameMatchesAServiceStartedFromItsFolder)
{
    QDX_REQUIRE_ISOLATION();
    Path const service("/opt/x/qdxclientservice");
    ASSERT_TRUE(Path("/bin/sleep").CopyFile(service));
    Child const running(service.c_str(), false);
    ASSERT_GT(running.Pid(), 0);
    EXPECT_TRUE(Contains(Process::GetPidOfExecutable(Path("QDXClientService"), true, true), running.Pid()));
    EXPECT_EQ(1u, Process::GetPidOfExecutable(Path("QDXClientService"), false, true).size());
    EXPECT_TRUE(Contains(Process::GetPidOfExecutable(Path("/OPT/X/QdxClientService"), true, true), running.Pid()));
}
