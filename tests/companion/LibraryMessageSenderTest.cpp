// Loading a companion on the first message, its initialisation statuses, and
// unloading. Companion copies live under the private /tmp of the isolating
// launcher.
#include "FakeCompanionControl.h"
#include "TestIsolation.h"
#include "companion/LibraryMessageSender.h"
#include "companion/LibraryPathManager.h"
#include "support/LogTarget.h"
#include "support/Logger.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace Norvane::QDXDesktopSDK;

namespace {

class CapturingTarget : public LogTarget {
public:
    CapturingTarget() : LogTarget("capture") {}
    void Log(char const* line) override { lines.emplace_back(line); }
    bool Contains(std::string const& text) const
    {
        for (std::string const& line : lines) {
            if (line.find(text) != std::string::npos)
                return true;
        }
        return false;
    }
    std::vector<std::string> lines;
};

class LibraryMessageSenderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        Logger::Instance(Singleton::GetOrCreate)->SetLogLevel(Logger::LogLevel_Dev);
    }

    // Makes `folder` the configured companion folder, as a host would.
    static void Configure(LibraryMessageSender& sender, Path const& folder)
    {
        Path const working("/tmp/working");
        ASSERT_TRUE(working.CreateDir());
        sender.SetWorkingPath(working);
        LibraryPathManager::SSetWorkingPath(working);
        LibraryMessageSender::SetLibraryPath(folder, false);
    }

    static int Ping(LibraryMessageSender& sender)
    {
        JsonValue result;
        return sender.ProcessMessage("Ping", JsonValue(), result);
    }
};

}  // namespace

TEST_F(LibraryMessageSenderTest, EntryPointNamesFollowTheSuffix)
{
    // The suffix given, or "_" and the file name without extension (and without a leading "lib").
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_2_0, Path("/tmp/core"));
    LibraryMessageSender derived("QdxSDKCore.so", nullptr, nullptr);
    EXPECT_TRUE(derived.LoadLibraryWithPath(Path("/tmp/core")));
    ASSERT_TRUE(Path("/tmp/core/QdxSDKCore.so").CopyFile(Path("/tmp/lib/libQdxSDKCore.so")));
    LibraryMessageSender withLib("libQdxSDKCore.so", nullptr, nullptr);
    EXPECT_TRUE(withLib.LoadLibraryWithPath(Path("/tmp/lib")));
    LibraryMessageSender named("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    EXPECT_TRUE(named.LoadLibraryWithPath(Path("/tmp/core")));
    LibraryMessageSender wrong("QdxSDKCore.so", "_Other", nullptr);
    EXPECT_FALSE(wrong.LoadLibraryWithPath(Path("/tmp/core")));
}

TEST_F(LibraryMessageSenderTest, FirstMessageLoadsAndInitialisesOnce)
{
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_2_0, Path("/tmp/core"));
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Configure(sender, Path("/tmp/core"));
    EXPECT_FALSE(sender.IsLoaded());
    EXPECT_EQ(0, Ping(sender));
    EXPECT_EQ(0, Ping(sender));
    EXPECT_TRUE(sender.IsLoaded());
    EXPECT_TRUE(sender.GetLibraryFolder() == Path("/tmp/core"));

    std::vector<FakeCompanionCopy::Call> const calls = fake.Calls();
    ASSERT_GE(calls.size(), 1u);
    EXPECT_EQ("InitializeEx", calls[0].entry);
    EXPECT_EQ("", calls[0].data);  // the initialisation text is empty
    EXPECT_EQ(0, fake.Count("Initialize"));
    EXPECT_EQ(2, fake.Count("ProcessMessage"));

    sender.UnLoad();
    EXPECT_EQ(1, fake.Count("Finalize"));
    EXPECT_FALSE(sender.IsLoaded());
}

TEST_F(LibraryMessageSenderTest, InitializeServesWhenInitializeExIsMissing)
{
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_InitializeOnly, Path("/tmp/core"));
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    EXPECT_TRUE(sender.LoadLibraryWithPath(Path("/tmp/core")));
    EXPECT_EQ(1, fake.Count("Initialize"));
}

TEST_F(LibraryMessageSenderTest, NoCopyAnywhereGivesCodeOne)
{
    CapturingTarget log;
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    JsonValue result("untouched");
    EXPECT_EQ(MessageSender::Result_NotLoaded, sender.ProcessMessage("Ping", JsonValue(), result));
    EXPECT_STREQ("untouched", QdxString(result).c_str());
    EXPECT_TRUE(log.Contains("Trying to load library QdxSDKCore.so from "));
    EXPECT_FALSE(log.Contains("load QDX SDK library"));

    EXPECT_FALSE(sender.LoadLibraryWithPath(Path("/tmp/missing")));
    EXPECT_TRUE(log.Contains("WARN | ") && log.Contains("Library QdxSDKCore.so not found /tmp/missing"));
}

TEST_F(LibraryMessageSenderTest, CopyWithoutProcessMessageCountsAsNotLoaded)
{
    CapturingTarget log;
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_NoProcessMessage, Path("/tmp/core"));
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Configure(sender, Path("/tmp/core"));
    EXPECT_EQ(MessageSender::Result_NotLoaded, Ping(sender));
    EXPECT_TRUE(log.Contains("ERROR | ") && log.Contains("Failed to load QDX SDK library from /tmp/core/QdxSDKCore.so."));
}

TEST_F(LibraryMessageSenderTest, UnloadableFileIsReportedWithTheLoaderText)
{
    CapturingTarget log;
    Path const folder("/tmp/broken");
    ASSERT_TRUE(folder.Append("QdxSDKCore.so").WriteFile("not a library", 13, 0, nullptr, nullptr));
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    EXPECT_FALSE(sender.LoadLibraryWithPath(folder));
    EXPECT_TRUE(log.Contains("Failed to load QDX SDK library from /tmp/broken/QdxSDKCore.so. "));
    EXPECT_TRUE(log.Contains("Error code: "));
}

TEST_F(LibraryMessageSenderTest, DisablingStatuses)
{
    for (int status = -1; status <= 13; ++status)
        EXPECT_EQ(status == 1 || status == 8 || status == 12, LibraryMessageSender::IsDisabled(status)) << status;

    // 8: disabled, yet loaded, and messages still arrive.
    {
        FakeCompanionCopy fake(FakeCompanions::kFakeCore_2_0, Path("/tmp/eight"));
        fake.SetInitializeStatus(8);
        LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
        Configure(sender, Path("/tmp/eight"));
        EXPECT_EQ(0, Ping(sender));
        EXPECT_TRUE(sender.IsDisabled());
        EXPECT_EQ(1, fake.Count("ProcessMessage"));
    }
    // 12: unloaded at once; every later message returns 12 without a new load.
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_2_0, Path("/tmp/twelve"));
    fake.SetInitializeStatus(12);
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Configure(sender, Path("/tmp/twelve"));
    EXPECT_EQ(12, Ping(sender));
    EXPECT_FALSE(sender.IsLoaded());
    EXPECT_EQ(1, fake.Count("Finalize"));
    EXPECT_EQ(12, Ping(sender));
    EXPECT_EQ(12, sender.Load());
    EXPECT_EQ(1, fake.Count("InitializeEx"));
    EXPECT_EQ(0, fake.Count("ProcessMessage"));
}

TEST_F(LibraryMessageSenderTest, SameFolderIsNotReloaded)
{
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_2_0, Path("/tmp/core"));
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    EXPECT_TRUE(sender.LoadLibraryWithPath(Path("/tmp/core")));
    EXPECT_TRUE(sender.LoadLibraryWithPath(Path("/tmp/core")));
    EXPECT_EQ(1, fake.Count("InitializeEx"));
    EXPECT_EQ(0, fake.Count("Finalize"));
}

TEST_F(LibraryMessageSenderTest, HostSuppliedHandleIsNeverFinalisedOrClosed)
{
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_2_0, Path("/tmp/core"));
    {
        LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
        sender.SetLibraryHandle(fake.Handle());
        EXPECT_TRUE(sender.IsLoaded());
        EXPECT_EQ(0, Ping(sender));
        sender.UnLoad();
        EXPECT_FALSE(sender.IsLoaded());
    }
    EXPECT_EQ(0, fake.Count("Finalize"));
    EXPECT_EQ(0, fake.Count("InitializeEx"));  // the host initialised its own copy
    EXPECT_EQ(1, fake.Count("ProcessMessage"));
}

TEST_F(LibraryMessageSenderTest, NewerInstallCopyIsNotUsedWithoutAVerifiedSignature)
{
    FakeCompanionCopy installed(FakeCompanions::kFakeCore_2_1, Path("/tmp/install"));
    FakeCompanionCopy located(FakeCompanions::kFakeCore_1_0, Path("/tmp/located"));
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", "/tmp/install");
    EXPECT_TRUE(sender.LoadLibraryWithPath(Path("/tmp/located")));
    EXPECT_TRUE(sender.GetLibraryFolder() == Path("/tmp/located"));
    EXPECT_EQ(0, installed.Count("InitializeEx"));
}

TEST_F(LibraryMessageSenderTest, TwoThreadsRacingTheFirstMessageLoadOnce)
{
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_2_0, Path("/tmp/core"));
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Configure(sender, Path("/tmp/core"));
    int codes[2] = {-1, -1};
    std::thread first([&] { codes[0] = Ping(sender); });
    std::thread second([&] { codes[1] = Ping(sender); });
    first.join();
    second.join();
    EXPECT_EQ(0, codes[0]);
    EXPECT_EQ(0, codes[1]);
    EXPECT_EQ(1, fake.Count("InitializeEx"));
    EXPECT_EQ(2, fake.Count("ProcessMessage"));
}
