// The three process-wide senders, the version stamp on their messages, the
// mirroring of the environment file and shut-down. Every test runs in a
// process of its own, so each starts with an empty registry.
#include "QdxLifecycle.h"
#include "TestIsolation.h"
#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "companion/QdxSDKFolder.h"

#include <gtest/gtest.h>

#include <thread>
#include <unistd.h>

using namespace Norvane::QDXDesktopSDK;
using Norvane::QDXGlint::GetGlintLibraryMessageSender;

namespace {

Path const kCompanions("/tmp/companions");

Path SdkFolder()
{
    return QdxSDKFolder::GetUserQDXSDKFolderPath(Path::GetSpecialFolderPath(Path::SpecialFolder_Home, false));
}
Path EnvironmentCopy()
{
    return SdkFolder().Append("qdxdesktopsdk.env");
}
Path ReloadRequest()
{
    return SdkFolder().Append("JSON/InternalMessage.json.user");
}

void WriteText(Path const& file, std::string const& text)
{
    ASSERT_TRUE(file.WriteFile(text.data(), static_cast<long long>(text.size()), 0, nullptr, nullptr));
}

class SenderRegistryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        ASSERT_TRUE(kCompanions.CreateDir());
        SetLibraryPath(QdxString(kCompanions.c_str()));
    }
};

}  // namespace

TEST_F(SenderRegistryTest, SetLibraryPathConfiguresTheCompanionFolderInTheSdkFolder)
{
    EXPECT_EQ(kCompanions.GetString(), LibraryMessageSender::GetLibraryPath().GetString());
    EXPECT_TRUE(SdkFolder().Append("slp.json").Exists());
}

TEST_F(SenderRegistryTest, EachSenderIsMadeOnceWithItsNamesAndFolders)
{
    struct Expected {
        LibraryMessageSenderQDXSDKWrapper* (*accessor)();
        char const* file;
        char const* installPath;
        std::string workingPath;
    };
    Expected const senders[] = {
        {&GetLibraryMessageSender, "QdxSDKCore.so", "/opt/Norvane/QdxDesktopSDK/bin", SdkFolder().GetString()},
        {&GetUILibraryMessageSender, "QdxSDKUI.so", "/opt/Norvane/QdxDesktopSDK/bin", SdkFolder().GetString()},
        {&GetGlintLibraryMessageSender, "GlintCore.so", "/opt/Norvane/QdxGlintClient/bin", ""},
    };
    for (Expected const& expected : senders) {
        LibraryMessageSenderQDXSDKWrapper* const sender = expected.accessor();
        ASSERT_NE(nullptr, sender);
        EXPECT_EQ(sender, expected.accessor());
        EXPECT_EQ(expected.file, sender->GetLoadableModuleName().GetString());
        EXPECT_EQ(expected.installPath, sender->GetInstallPath().GetString());
        EXPECT_EQ(expected.workingPath, sender->GetWorkingPath().GetString());
    }
}

TEST_F(SenderRegistryTest, TwoThreadsMakingTheCoreSenderGetOneSenderAndOneMirror)
{
    WriteText(kCompanions.Append("qdxdesktopsdk.env"), "LEVEL=1\n");
    LibraryMessageSenderQDXSDKWrapper* senders[2] = {};
    std::thread first([&] { senders[0] = GetLibraryMessageSender(); });
    std::thread second([&] { senders[1] = GetLibraryMessageSender(); });
    first.join();
    second.join();
    EXPECT_NE(nullptr, senders[0]);
    EXPECT_EQ(senders[0], senders[1]);
    EXPECT_EQ("LEVEL=1\n", EnvironmentCopy().ReadFileAsString(-1));
    EXPECT_TRUE(ReloadRequest().Exists());
}

TEST_F(SenderRegistryTest, EnvironmentFileIsMirroredAndAReloadRequestedOnlyOnChange)
{
    struct Case {
        char const* name;
        char const* source;  // null: none in the companion folders
        char const* copy;    // null: none in the SDK folder
        char const* mirrored;
        bool reloadRequested;
    } const cases[] = {
        {"absent everywhere", nullptr, nullptr, nullptr, false},
        {"identical", "A=1\n", "A=1\n", "A=1\n", false},
        {"changed", "A=2\n", "A=1\n", "A=2\n", true},
        {"new", "A=2\n", nullptr, "A=2\n", true},
        {"source vanished", nullptr, "A=1\n", nullptr, true},
    };
    for (Case const& test : cases) {
        // Each case needs a fresh registry: run it in a child process.
        pid_t const child = fork();
        if (child == 0) {
            if (test.source != nullptr)
                WriteText(kCompanions.Append("qdxdesktopsdk.env"), test.source);
            if (test.copy != nullptr)
                WriteText(EnvironmentCopy(), test.copy);
            GetLibraryMessageSender();
            bool const mirrored = test.mirrored != nullptr ? EnvironmentCopy().ReadFileAsString(-1) == test.mirrored
                                                           : !EnvironmentCopy().Exists();
            JsonValue request;
            request.FromJsonString(QdxString(ReloadRequest().ReadFileAsString(-1).c_str()));
            bool const requested =
                QdxString(request["_command"]) == "InternalMessage" && QdxString(request["_msg"]) == "ReloadConfig" &&
                static_cast<long long>(request["_pid"]) == getpid() && request["reset"].Compare(JsonValue(true)) == 0;
            _exit((mirrored ? 0 : 1) | (requested == test.reloadRequested ? 0 : 2) |
                  (ReloadRequest().Exists() == test.reloadRequested ? 0 : 4));
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status)) << test.name;
        EXPECT_EQ(0, WEXITSTATUS(status)) << test.name << " (1: mirror, 2: request text, 4: request file)";
        kCompanions.Append("qdxdesktopsdk.env").Delete(false, nullptr, nullptr);
        SdkFolder().Delete(true, nullptr, nullptr);
    }
}

TEST_F(SenderRegistryTest, OnShutdownAsTheFirstCallMakesEverySenderAndUnloadsIt)
{
    WriteText(kCompanions.Append("qdxdesktopsdk.env"), "A=1\n");
    OnShutdown();
    EXPECT_TRUE(EnvironmentCopy().Exists());  // the core sender was made, mirror included
    LibraryMessageSenderQDXSDKWrapper* const core = GetLibraryMessageSender();
    for (auto* accessor : {&GetUILibraryMessageSender, &GetLibraryMessageSender, &GetGlintLibraryMessageSender})
        EXPECT_FALSE(accessor()->IsLoaded());
    OnShutdown();
    EXPECT_EQ(core, GetLibraryMessageSender());  // unloaded, but kept
}
