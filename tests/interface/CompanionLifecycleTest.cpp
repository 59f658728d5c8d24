// When the exported calls load and unload the companions: a flush never loads
// one, a companion that started with a disabling status is kept only until it
// is unloaded, no call leaves a thread behind, and every loaded companion is
// finalised, in a fixed order, at shut-down and at process exit.
#include "InterfaceTest.h"

#include <cstdlib>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

using namespace InterfaceTesting;

namespace {

std::size_t ThreadCount()
{
    std::size_t count = 0;
    for ([[maybe_unused]] fs::directory_entry const& task : fs::directory_iterator("/proc/self/task"))
        ++count;
    return count;
}

}  // namespace

TEST_F(InterfaceTest, FlushEventLoadsNoCompanionAndGoesToTheCoreOnceOneIsLoaded)
{
    CopyFakes();
    fake(Core).SetAnswer(R"({"_returnCode": 7})");
    JsonValue args = Json(R"({"reason": "exit"})");
    EXPECT_EQ(0u, FlushEvent(nullptr));
    EXPECT_EQ(0u, FlushEvent(&args));
    EXPECT_EQ("", fake(Core).Log() + fake(Dialogs).Log());

    JsonValue ping;
    ASSERT_EQ(0u, InternalProcessMessage("QdxSDKUI.Ping", ping));  // the dialog library alone is loaded
    TakeMessages();
    EXPECT_EQ(7u, FlushEvent(nullptr));
    EXPECT_EQ(7u, FlushEvent(&args));
    EXPECT_EQ(Lines({{Core, "FlushEvent", "{}"}, {Core, "FlushEvent", Stamped(R"("reason": "exit")")}}),
              TakeMessages());
    EXPECT_STREQ("5.5.34.5", QdxString(args["_sdk_api_version"]).c_str());  // sent as the caller's object
}

TEST_F(InterfaceTest, ACompanionStartedAsNotLoadedServesUntilItIsUnloaded)
{
    CopyFakes();
    fake(Core).SetInitializeStatus(QdxResult_CompanionNotLoaded);
    EXPECT_EQ(QdxResult_Success, HeartBeat("s1", HeartBeatType_Machine));
    EXPECT_FALSE(IsQDXDisabled());
    OnShutdown();
    EXPECT_EQ(QdxResult_CompanionNotLoaded, HeartBeat("s1", HeartBeatType_Machine));
    EXPECT_TRUE(IsQDXDisabled());
    EXPECT_EQ(" InitializeEx() ProcessMessage(HeartBeat) FreeMessage() ProcessMessage(IsQDXDisabled) FreeMessage()"
              " Finalize()",
              fake(Core).Log());
}

TEST_F(InterfaceTest, NoCallLeavesAThreadBehind)
{
    CopyFakes();
    std::size_t const before = ThreadCount();
    JsonValue args = Json(R"({"a": 1})");
    HeartBeat("s1", HeartBeatType_User);
    Norvane::QDXDesktopSDKUI::DisplayWebDialog(args, nullptr);
    Norvane::QDXGlint::EnableGlint("s1", true, &args);
    FlushEvent(&args);
    InternalProcessMessage("GlintCore.Ping", args);
    OnShutdown();
    UnInitialize("s1");  // loads the core library again
    EXPECT_EQ(before, ThreadCount());
}

TEST_F(InterfaceTest, LoadedCompanionsAreFinalisedAtShutDownAndAtExit)
{
    struct Case {
        char const* what;
        bool shutDown;  // OnShutdown() before the process exits
        std::vector<std::string> finalised;
    } const cases[] = {
        {"OnShutdown", true, {"_QdxSDKUI Finalize", "_QdxSDKCore Finalize", "_GlintCore Finalize"}},
        {"exit", false, {"_GlintCore Finalize", "_QdxSDKUI Finalize", "_QdxSDKCore Finalize"}},
    };
    CopyFakes();
    for (Case const& test : cases) {
        fs::path const record = kCompanionFolder / (std::string("record-") + test.what);
        // The registry is made once per process and released only at exit: the child exits.
        pid_t const child = fork();
        if (child == 0) {
            for (Companion const companion : {Core, Dialogs, Glint})
                fake(companion).SetRecordFile(record.c_str());
            JsonValue args;
            for (char const* name : {"QdxSDKCore.Ping", "QdxSDKUI.Ping", "GlintCore.Ping"})
                InternalProcessMessage(name, args);
            if (test.shutDown)
                OnShutdown();
            std::exit(0);
        }
        int status = -1;
        ASSERT_EQ(child, waitpid(child, &status, 0));
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << test.what << ": status " << status;
        std::vector<std::string> finalised;
        std::ifstream lines(record);
        for (std::string line; std::getline(lines, line);) {
            if (line.size() > 9 && line.compare(line.size() - 9, 9, " Finalize") == 0)
                finalised.push_back(line);
        }
        EXPECT_EQ(test.finalised, finalised) << test.what;
    }
}
