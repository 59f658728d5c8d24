// The message channel, then loading a companion on the first message, its
// statuses and unloading, with fake companion copies in the private /tmp.
#include "CapturingLogTarget.h"
#include "FakeCompanions.h"
#include "TestIsolation.h"
#include "companion/LibraryMessageSender.h"
#include "companion/LibraryPathManager.h"
#include "fakes/FakeCopy.h"
#include "support/LogTarget.h"
#include "support/Logger.h"
#include <gtest/gtest.h>
#include <dlfcn.h>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace Norvane::QDXDesktopSDK;

namespace {
// The channel returns its codes as int.
constexpr int Code(QdxResultCode code)
{
    return static_cast<int>(code);
}

std::string s_lastName, s_lastData;
char const* s_answer = "{\"_returnCode\": 0}";
std::vector<char const*> s_freed;

char const* Process(char const* name, char const* data)
{
    s_lastName = name;
    s_lastData = data;
    return s_answer;
}

void Free(char const* answer)
{
    s_freed.push_back(answer);
}

class LibraryMessageSenderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        Logger::Instance(Singleton::GetOrCreate)->SetLogLevel(Logger::LogLevel_Dev);
    }
    /// Makes `folder` the configured companion folder, as a host would.
    static void Configure(LibraryMessageSender& sender, Path const& folder)
    {
        ASSERT_TRUE(Path("/tmp/working").CreateDir());
        sender.SetWorkingPath(Path("/tmp/working"));
        LibraryPathManager::SSetWorkingPath(Path("/tmp/working"));
        LibraryMessageSender::SetLibraryPath(folder, false);
    }
    static int Ping(LibraryMessageSender& sender, JsonValue result = JsonValue())
    {
        return sender.ProcessMessage("Ping", JsonValue(), result);
    }
    LibraryMessageSender m_sender{"QdxSDKCore.so", "_QdxSDKCore", nullptr};
};

}  // namespace

TEST_F(LibraryMessageSenderTest, FirstMessageLoadsAndInitialisesOnceAndTheSameFolderIsNotReloaded)
{
    FakeCopy fake(FakeCompanions::kFakeCore_2_0, "/tmp/core");
    Configure(m_sender, Path("/tmp/core"));
    EXPECT_FALSE(m_sender.IsLoaded());
    EXPECT_EQ(0, Ping(m_sender));
    EXPECT_EQ(0, Ping(m_sender));
    EXPECT_TRUE(m_sender.IsLoaded());
    EXPECT_TRUE(m_sender.GetLibraryFolder() == Path("/tmp/core"));
    EXPECT_TRUE(m_sender.LoadLibraryWithPath(Path("/tmp/core")));
    m_sender.UnLoad();
    EXPECT_FALSE(m_sender.IsLoaded());
    EXPECT_EQ(" InitializeEx() ProcessMessage(Ping) FreeMessage() ProcessMessage(Ping) FreeMessage() Finalize()",
              fake.Log());
    FakeCopy older(FakeCompanions::kFakeCore_InitializeOnly, "/tmp/older");
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    EXPECT_TRUE(sender.LoadLibraryWithPath(Path("/tmp/older")));
    EXPECT_EQ(" Initialize()", older.Log());  // when InitializeEx is missing
}

TEST_F(LibraryMessageSenderTest, FailedLoadsReportCompanionNotLoadedAndAreLogged)
{
    CapturingLogTarget log;
    JsonValue result("untouched");
    EXPECT_EQ(Code(QdxResult_CompanionNotLoaded), m_sender.ProcessMessage("Ping", JsonValue(), result));
    EXPECT_STREQ("untouched", QdxString(result).c_str());
    EXPECT_TRUE(log.Contains("Trying to load library QdxSDKCore.so from "));
    EXPECT_FALSE(log.Contains("load QDX SDK library"));
    EXPECT_FALSE(m_sender.LoadLibraryWithPath(Path("/tmp/missing")));
    EXPECT_TRUE(log.Contains("Library QdxSDKCore.so not found /tmp/missing", "WARN | "));
    ASSERT_TRUE(Path("/tmp/broken/QdxSDKCore.so").WriteFile("not a library", 13, 0, nullptr, nullptr));
    EXPECT_FALSE(m_sender.LoadLibraryWithPath(Path("/tmp/broken")));
    EXPECT_TRUE(log.Contains("Failed to load QDX SDK library from /tmp/broken/QdxSDKCore.so. "));
    EXPECT_TRUE(log.Contains("Error code: "));
    FakeCopy fake(FakeCompanions::kFakeCore_NoProcessMessage, "/tmp/core");
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Configure(sender, Path("/tmp/core"));
    EXPECT_EQ(Code(QdxResult_CompanionNotLoaded), Ping(sender));
    EXPECT_TRUE(log.Contains("Failed to load QDX SDK library from /tmp/core/QdxSDKCore.so.", "ERROR | "));
}

TEST_F(LibraryMessageSenderTest, DisablingStatuses)
{
    std::set<int> const disabling = {QdxResult_CompanionNotLoaded, QdxResult_NoEntryPoint, QdxResult_Disabled};
    for (int status = -1; status <= 13; ++status)
        EXPECT_EQ(disabling.count(status) == 1, LibraryMessageSender::IsDisabled(status)) << status;
    FakeCopy stays(FakeCompanions::kFakeCore_2_0, "/tmp/stays");
    stays.SetInitializeStatus(QdxResult_NoEntryPoint);  // disabled, yet loaded, and messages still arrive
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
    Configure(sender, Path("/tmp/stays"));
    EXPECT_EQ(Code(QdxResult_Success), Ping(sender));
    EXPECT_TRUE(sender.IsDisabled());
    EXPECT_EQ(" InitializeEx() ProcessMessage(Ping) FreeMessage()", stays.Log());
    FakeCopy unloaded(FakeCompanions::kFakeCore_2_0, "/tmp/unloaded");
    unloaded.SetInitializeStatus(QdxResult_Disabled);  // unloaded at once; later messages return it without a new load
    Configure(m_sender, Path("/tmp/unloaded"));
    EXPECT_EQ(Code(QdxResult_Disabled), Ping(m_sender));
    EXPECT_FALSE(m_sender.IsLoaded());
    EXPECT_EQ(Code(QdxResult_Disabled), Ping(m_sender));
    EXPECT_EQ(Code(QdxResult_Disabled), m_sender.Load());
    EXPECT_EQ(" InitializeEx() Finalize()", unloaded.Log());
}

TEST_F(LibraryMessageSenderTest, HostSuppliedHandleIsNeverInitialisedFinalisedOrClosed)
{
    FakeCopy fake(FakeCompanions::kFakeCore_2_0, "/tmp/core");
    {
        LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
        sender.SetLibraryHandle(fake.Handle());
        EXPECT_TRUE(sender.IsLoaded());
        EXPECT_EQ(0, Ping(sender));
        sender.UnLoad();
        EXPECT_FALSE(sender.IsLoaded());
    }
    EXPECT_EQ(" ProcessMessage(Ping) FreeMessage()", fake.Log());
}

TEST_F(LibraryMessageSenderTest, NewerInstallCopyIsNotUsedWithoutAVerifiedSignature)
{
    FakeCopy installed(FakeCompanions::kFakeCore_2_1, "/tmp/install");
    FakeCopy located(FakeCompanions::kFakeCore_1_0, "/tmp/located");
    LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", "/tmp/install");
    EXPECT_TRUE(sender.LoadLibraryWithPath(Path("/tmp/located")));
    EXPECT_TRUE(sender.GetLibraryFolder() == Path("/tmp/located"));
    EXPECT_EQ("", installed.Log());
}

TEST_F(LibraryMessageSenderTest, TwoThreadsRacingTheFirstMessageLoadOnce)
{
    FakeCopy fake(FakeCompanions::kFakeCore_2_0, "/tmp/core");
    Configure(m_sender, Path("/tmp/core"));
    int codes[2] = {-1, -1};
    std::thread first([&] { codes[0] = Ping(m_sender); }), second([&] { codes[1] = Ping(m_sender); });
    first.join();
    second.join();
    EXPECT_EQ(0, codes[0]);
    EXPECT_EQ(0, codes[1]);
    std::string const pm = " ProcessMessage(Ping)", fm = " FreeMessage()";
    EXPECT_EQ(1u, std::set<std::string>({" InitializeEx()" + pm + pm + fm + fm, " InitializeEx()" + pm + fm + pm + fm})
                      .count(fake.Log()))
        << fake.Log();
}

TEST(MessageSenderTest, AnswersBecomeResultsAndCodesAndGoBackThroughFreeMessage)
{
    struct {
        char const* answer;
        int code;
        char const* result;
    } const cases[] = {
        {"{\"_returnCode\": 7, \"value\": \"x\"}", 7, "{\n    \"_returnCode\": 7,\n    \"value\": \"x\"\n}"},
        {"{\"_returnCode\":0}", 0, "{\n    \"_returnCode\": 0\n}"},
        {"{}", Code(QdxResult_NoReturnCode), "{}"},
        {nullptr, Code(QdxResult_NoReturnCode), "<null>"},
        {"{\"_returnCode\": 3", Code(QdxResult_NoReturnCode), "null"},
    };
    MessageSender const sender(&Process, &Free);
    std::vector<char const*> answers;
    for (auto const& c : cases) {
        s_answer = c.answer;
        answers.push_back(c.answer);
        JsonValue result;
        EXPECT_EQ(c.code, sender.SendMessage("Ping", JsonValue(), result)) << (c.answer ? c.answer : "null");
        QdxString const text = result.GetJsonString();
        EXPECT_STREQ(c.result, text.c_str() != nullptr ? text.c_str() : "<null>");
    }
    EXPECT_EQ("Ping", s_lastName);
    EXPECT_EQ("", s_lastData);    // a null argument value is sent as an empty text
    EXPECT_EQ(answers, s_freed);  // the very pointers, the null one too
}

TEST(MessageSenderTest, WithoutProcessMessageNothingIsSent)
{
    s_freed.clear();
    MessageSender const sender(nullptr, &Free);
    EXPECT_FALSE(sender.IsValid());
    JsonValue result("untouched");
    EXPECT_EQ(Code(QdxResult_NoEntryPoint), sender.SendMessage("Ping", JsonValue(), result));
    EXPECT_STREQ("\"untouched\"", result.GetJsonString().c_str());
    EXPECT_TRUE(s_freed.empty());
}

TEST(MessageSenderTest, ArgumentPairsAreStringsUpToANullKeyOrValue)
{
    MessageSender const sender(&Process, nullptr);
    JsonValue result;
    sender.SendMessageWithArguments("Pairs", result, "a", "1", "b", nullptr, "c", "3", nullptr);
    EXPECT_EQ("{\n    \"a\": \"1\",\n    \"b\": \"\"\n}", s_lastData);
    sender.SendMessageWithArguments("Pairs", result, "n", "2", "n", "true", nullptr);
    EXPECT_EQ("{\n    \"n\": \"true\"\n}", s_lastData);
    sender.SendMessageWithArguments("Empty", result, nullptr);
    EXPECT_EQ("Empty", s_lastName);
    EXPECT_EQ("{}", s_lastData);
}
