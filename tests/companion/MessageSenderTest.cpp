// The message channel: what a companion receives and what comes back.
#include "FakeCompanionControl.h"
#include "TestIsolation.h"
#include "companion/MessageSender.h"

#include <gtest/gtest.h>

#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

std::string s_lastName;
std::string s_lastData;
char const* s_answer = "{\"_returnCode\": 7, \"value\": \"x\"}";
int s_frees = 0;

char const* RecordingProcessMessage(char const* name, char const* data)
{
    s_lastName = name;
    s_lastData = data;
    return s_answer;
}

void CountingFreeMessage(char const*)
{
    ++s_frees;
}

std::string Text(JsonValue const& value)
{
    QdxString const text = value.GetJsonString();
    return text.c_str() != nullptr ? text.c_str() : "<null>";
}

}  // namespace

TEST(MessageSenderTest, AnswersBecomeResultsAndCodes)
{
    MessageSender const sender(&RecordingProcessMessage, &CountingFreeMessage);
    JsonValue arguments;
    arguments["event_name"] = "launch";
    JsonValue result;
    EXPECT_EQ(7, sender.SendMessage("TrackEvent", arguments, result));
    EXPECT_EQ("TrackEvent", s_lastName);
    EXPECT_EQ("{\n    \"event_name\": \"launch\"\n}", s_lastData);
    EXPECT_STREQ("x", QdxString(result["value"]).c_str());
    EXPECT_EQ(1, s_frees);

    struct Case {
        char const* answer;
        int code;
        char const* result;
    };
    Case const cases[] = {
        {"{\"_returnCode\":0}", 0, "{\n    \"_returnCode\": 0\n}"},
        {"{}", MessageSender::Result_NoReturnCode, "{}"},
        {nullptr, MessageSender::Result_NoReturnCode, "<null>"},
        {"{\"_returnCode\": 3", MessageSender::Result_NoReturnCode, "null"},
        {"{\"other\": 1}", MessageSender::Result_NoReturnCode, "{\n    \"other\": 1\n}"},
    };
    for (Case const& c : cases) {
        s_answer = c.answer;
        JsonValue answer;
        EXPECT_EQ(c.code, sender.SendMessage("Ping", JsonValue(), answer)) << (c.answer ? c.answer : "null");
        EXPECT_EQ(c.result, Text(answer)) << (c.answer ? c.answer : "null");
    }
    EXPECT_EQ("", s_lastData);  // a null argument value is sent as an empty text
}

TEST(MessageSenderTest, WithoutProcessMessageNothingIsSent)
{
    s_frees = 0;
    MessageSender sender(nullptr, &CountingFreeMessage);
    EXPECT_FALSE(sender.IsValid());
    JsonValue result("untouched");
    EXPECT_EQ(MessageSender::Result_NoEntryPoint, sender.SendMessage("Ping", JsonValue(), result));
    EXPECT_EQ("\"untouched\"", Text(result));
    EXPECT_EQ(0, s_frees);

    sender.SetMessageFunction(&RecordingProcessMessage, nullptr);
    EXPECT_TRUE(sender.IsValid());
    sender.SetMessageFunction(nullptr, nullptr);
    EXPECT_FALSE(sender.IsValid());
}

TEST(MessageSenderTest, ArgumentPairsAreStringsUpToANullKeyOrValue)
{
    s_answer = "{\"_returnCode\": 0}";
    MessageSender const sender(&RecordingProcessMessage, nullptr);
    JsonValue result;
    sender.SendMessageWithArguments("Pairs", result, "a", "1", "b", nullptr, "c", "3", nullptr);
    EXPECT_EQ("{\n    \"a\": \"1\",\n    \"b\": \"\"\n}", s_lastData);
    sender.SendMessageWithArguments("Pairs", result, "n", "2", "n", "true", nullptr);
    EXPECT_EQ("{\n    \"n\": \"true\"\n}", s_lastData);
    sender.SendMessageWithArguments("Empty", result, nullptr);
    EXPECT_EQ("{}", s_lastData);
}

TEST(MessageSenderTest, EveryAnswerGoesBackThroughFreeMessage)
{
    QDX_REQUIRE_ISOLATION();
    FakeCompanionCopy fake(FakeCompanions::kFakeCore_2_0, Path("/tmp/fake"));
    auto const process = reinterpret_cast<MessageSender::ProcessMessageFunction>(
        dlsym(fake.Handle(), "ProcessMessage_QdxSDKCore"));
    auto const release =
        reinterpret_cast<MessageSender::FreeMessageFunction>(dlsym(fake.Handle(), "FreeMessage_QdxSDKCore"));
    MessageSender const sender(process, release);
    JsonValue result;
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(0, sender.SendMessage("Ping", JsonValue(), result));
    fake.SetAnswer(nullptr);
    EXPECT_EQ(MessageSender::Result_NoReturnCode, sender.SendMessage("Ping", JsonValue(), result));

    EXPECT_EQ(0, fake.OutstandingAnswers());
    EXPECT_EQ(0, fake.UnknownFrees());
    EXPECT_EQ(4, fake.Count("FreeMessage"));
    EXPECT_EQ("<null>", fake.Calls().back().name);  // the null answer was given back too
}
