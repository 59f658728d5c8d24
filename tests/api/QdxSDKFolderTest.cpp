// The SDK folders, and the clean-up of temporary bin copies around a running
// client service, in the private /tmp, home folder and /opt.
#include "CapturingLogTarget.h"
#include "FakeClientService.h"
#include "TestIsolation.h"
#include "companion/QdxSDKFolder.h"
#include "support/Logger.h"
#include "support/StdProcessLibrary.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Norvane::QDXDesktopSDK;

namespace {

Path Home()
{
    return Path::GetSpecialFolderPath(Path::SpecialFolder_Home, false);
}

/// The stand-in client service, started as "QDXClientService" from `folder`.
class RunningClientService {
public:
    explicit RunningClientService(Path const& folder) : m_program(folder.Append("QDXClientService"))
    {
        EXPECT_TRUE(Path(kFakeClientService).CopyFile(m_program));
        m_pid = fork();
        if (m_pid == 0) {
            execl(m_program.c_str(), m_program.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        // Until the child has become the service, it still runs as this test.
        while (StdProcessUtil::GetProcessPath(m_pid).GetString() != m_program.GetString())
            std::this_thread::yield();
    }
    ~RunningClientService()
    {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    pid_t Pid() const { return m_pid; }

private:
    Path m_program;
    pid_t m_pid = 0;
};

}  // namespace

TEST(QdxSDKFolderTest, FoldersAndFiles)
{
    QDX_REQUIRE_ISOLATION();
    Path const sdk = Home().Append(".norvane/UI/Norvane/QDXSDK");
    EXPECT_EQ(sdk.GetString(), QdxSDKFolder::GetUserQDXSDKFolderPath(Home()).GetString());
    EXPECT_EQ(sdk.GetString(), QdxSDKFolder::GetQDXSDKFolderPath(nullptr).GetString());
    EXPECT_EQ(sdk.Append("x.json").GetString(), QdxSDKFolder::GetQDXSDK_SYSTEMFolderPath("x.json").GetString());
    EXPECT_EQ(sdk.Append("CS.json").GetString(), QdxSDKFolder::GetCSStatusFilePath().GetString());
    EXPECT_EQ("/opt/Norvane/QdxDesktopSDK/bin", QdxSDKFolder::GetQDXSDKBinFolderPath(nullptr).GetString());
    EXPECT_EQ("/opt/Norvane/QdxGlintClient/bin/a.so", QdxSDKFolder::GetGlintBinFolderPath("a.so").GetString());

    // The wish for the common folder gives way to a writable per-user folder.
    QdxSDKFolder::UseCommonFolder(true);
    EXPECT_TRUE(QdxSDKFolder::IsUsingCommonFolder());
    EXPECT_EQ(sdk.GetString(), QdxSDKFolder::GetQDXSDKFolderPath(nullptr).GetString());
    QdxSDKFolder::UseCommonFolder(false);
    EXPECT_EQ(getuid() == 0, QdxSDKFolder::IsUsingCommonFolder());
}

TEST(QdxSDKFolderTest, AnUnwritableHomeGivesTheCommonFolderWithFilesForAllUsers)
{
    QDX_REQUIRE_ISOLATION();
    // The private home folder is a mount of its own: made read-only, even root cannot write there.
    ASSERT_EQ(0, mount(nullptr, Home().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr)) << std::strerror(errno);
    EXPECT_EQ("/opt/Norvane/QDXSDK/CS.json", QdxSDKFolder::GetCSStatusFilePath().GetString());
    EXPECT_EQ(0777u, Path::GetGlobalFileAttribute());
}

TEST(QdxSDKFolderTest, CleanupKeepsBinUnrelatedEntriesAndTheRunningServiceCopy)
{
    QDX_REQUIRE_ISOLATION();
    Logger::Instance(Singleton::GetOrCreate)->SetLogLevel(Logger::LogLevel_Debug);
    Path const folder("/tmp/install");
    for (char const* entry : {"bin", "data", "bin_1234/lib", "cabin", "bin_777"})
        ASSERT_TRUE(folder.Append(entry).CreateDir());
    ASSERT_TRUE(folder.Append("binary.txt").WriteFile("x", 1, 0, nullptr, nullptr));
    RunningClientService const service(folder.Append("bin_777"));
    CapturingLogTarget log;

    EXPECT_EQ(0, QdxSDKFolder::CleanupAllTempBinAtPath(folder));

    for (char const* kept : {"bin", "data", "bin_777/QDXClientService"})
        EXPECT_TRUE(folder.Append(kept).Exists()) << kept;
    for (char const* deleted : {"bin_1234", "cabin", "binary.txt"})
        EXPECT_FALSE(folder.Append(deleted).Exists()) << deleted;
    std::vector<std::string> const expected = {
        "Begin cleanup for: /tmp/install",
        "Skip (bin): /tmp/install/bin",
        "Skip (no bin prefix): /tmp/install/data",
        "Deleted: 2 files at: /tmp/install/bin_1234",
        "Skip (CS running-" + std::to_string(service.Pid()) + "):  /tmp/install/bin_777",
        "End cleanup",
    };
    for (std::string const& line : expected)
        EXPECT_TRUE(log.Contains(line, "DEBUG")) << line;
}

TEST(QdxSDKFolderTest, CleanupOfAFolderThatCannotBeWalkedOnlyLogsBeginAndEnd)
{
    QDX_REQUIRE_ISOLATION();
    Logger::Instance(Singleton::GetOrCreate)->SetLogLevel(Logger::LogLevel_Debug);
    CapturingLogTarget log;
    EXPECT_EQ(0, QdxSDKFolder::CleanupAllTempBinAtPath(Path("/tmp/missing")));
    ASSERT_EQ(2u, log.lines.size());
    EXPECT_TRUE(log.Contains("Begin cleanup for: /tmp/missing"));
    EXPECT_TRUE(log.Contains("End cleanup"));
}
