// Sessions and usage records, sent to a core with a fresh database, and what
// the database kept of them.
#include "CoreHarness.h"

#include <unistd.h>

#include <regex>

using namespace CoreTesting;

namespace {

bool IsUuid(std::string const& text)
{
    return std::regex_match(text, std::regex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
}

struct RecordMessage {
    char const* name;
    bool needsSession;  ///< refused unless it names a session open in this process
};

constexpr RecordMessage kRecordMessages[] = {
    {"TrackEvent", true}, {"HeartBeat", true},     {"SetGroupInformation", true}, {"SetHostProduct", true},
    {"OnCrash", false},   {"UpdateLiFlow", false}, {"UpdateLiData", false},       {"SetUserInformation", false},
};

constexpr char kUnknownSession[] = "0b5e1a5e-0000-4000-8000-000000000000";

}  // namespace

using CoreSessions = CoreTest;

TEST_F(CoreSessions, InitializeOpensASessionOfThisProcessUntilUnInitialize)
{
    Answer const opened = Send("Initialize", R"({"product_id": "P1", "product_version": "2.0", "n": [1, 2]})");
    ASSERT_EQ(opened.code, 0);
    std::string const id = opened.Text("session_id");
    EXPECT_TRUE(IsUuid(id)) << id;
    EXPECT_NE(OpenSession(), id);
    ASSERT_EQ(Code("FlushEvent"), 0);
    auto rows = Query("SELECT product, pid, end_ms IS NULL FROM sessions WHERE uuid = '" + id + "'");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_TRUE(SameJson(rows[0][0], R"({"product_id": "P1", "product_version": "2.0", "n": [1, 2]})")) << rows[0][0];
    EXPECT_EQ(rows[0][1], std::to_string(getpid()));
    EXPECT_EQ(rows[0][2], "1");

    OptIn();
    EXPECT_EQ(Code("TrackEvent", WithSession(id)), 0);
    EXPECT_EQ(Code("UnInitialize", WithSession(id)), 0);
    EXPECT_EQ(Code("UnInitialize", WithSession(id)), 102);
    EXPECT_EQ(Code("TrackEvent", WithSession(id)), 102);
    EXPECT_EQ(Code("UnInitialize", WithSession(kUnknownSession)), 102);
    EXPECT_EQ(Code("UnInitialize", "{}"), 102);
    ASSERT_EQ(Code("FlushEvent"), 0);
    rows = Query("SELECT end_ms >= start_ms FROM sessions WHERE uuid = '" + id + "'");
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][0], "1");
}

TEST_F(CoreSessions, RecordsBeforeOptInAreRefusedAndCounted)
{
    std::string const id = OpenSession();
    for (RecordMessage const& message : kRecordMessages)
        EXPECT_EQ(Code(message.name, WithSession(id)), 103) << message.name;
    EXPECT_EQ(Code("IsCollectionEnabled"), 103);
    Answer const status = Send("GetStoreStatus");
    EXPECT_EQ(status.Counter("dropped_not_consented"), std::size(kRecordMessages));
    EXPECT_EQ(status.Number("records_stored"), 0);
    EXPECT_TRUE(StoredRecords().empty());
}

TEST_F(CoreSessions, RecordsThatNeedASessionNeedOneOpenInThisProcess)
{
    OptIn();
    std::string const closed = OpenSession();
    ASSERT_EQ(Code("UnInitialize", WithSession(closed)), 0);
    for (RecordMessage const& message : kRecordMessages) {
        int const expected = message.needsSession ? 102 : 0;
        EXPECT_EQ(Code(message.name, "{}"), expected) << message.name;
        EXPECT_EQ(Code(message.name, WithSession(kUnknownSession)), expected) << message.name;
        EXPECT_EQ(Code(message.name, WithSession(closed)), expected) << message.name;
    }
}

TEST_F(CoreSessions, StoredRecordsKeepTheArgumentsAsSent)
{
    OptIn();
    std::string const id = OpenSession();
    std::vector<std::string> sent;
    for (RecordMessage const& message : kRecordMessages) {
        sent.push_back(WithSession(id, "\"event\": {\"label\": \"Open \\\"file\\\" {x}\", \"size\": 12.5, \"tags\": "
                                       "[\"a\", null, true]}, \"text\": \"\\u00fc\\n\", \"message\": \"" +
                                           std::string(message.name) + "\""));
        ASSERT_EQ(Code(message.name, sent.back()), 0) << message.name;
    }
    ASSERT_EQ(Code("FlushEvent"), 0);
    std::vector<StoredRecord> const records = StoredRecords();
    ASSERT_EQ(records.size(), sent.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(records[i].name, kRecordMessages[i].name);
        EXPECT_EQ(records[i].sessionId, id);
        EXPECT_TRUE(SameJson(records[i].args, sent[i])) << records[i].args << "\n" << sent[i];
        EXPECT_GT(records[i].timeMs, 0);
        if (i > 0) {
            EXPECT_GT(records[i].seq, records[i - 1].seq);
        }
    }
}

TEST_F(CoreSessions, MalformedRecordsAreRefusedOrCountedNeverStored)
{
    OptIn();
    std::string const id = OpenSession();
    struct {
        char const* name;
        std::string text;
        int code;
    } const cases[] = {
        {"TrackEvent", "{not json", 101},
        {"UpdateLiFlow", "[1, 2]", 101},
        {"UpdateLiData", "{\"a\": ", 101},
        {"TrackEvent", "", 101},
        // The session id is found without parsing the whole text on the
        // host's thread: the writer finds the rest malformed and counts it.
        {"TrackEvent", WithSession(id, "\"broken\": }"), 0},
    };
    for (auto const& sent : cases)
        EXPECT_EQ(Code(sent.name, sent.text), sent.code) << sent.name << " " << sent.text;
    Answer const status = Send("GetStoreStatus");
    EXPECT_EQ(status.Counter("dropped_malformed"), 5);
    EXPECT_TRUE(StoredRecords().empty());
}

TEST_F(CoreSessions, UnknownMessagesAndMalformedArgumentsAreRefused)
{
    struct {
        char const* name;
        char const* text;
        int code;
    } const cases[] = {
        {"NoSuchMessage", "{}", 100},
        {nullptr, "{}", 100},
        {"", "{}", 100},
        {"trackevent", "{}", 100},
        {"Initialize", "{", 101},
        {"UnInitialize", "{\"session_id\"", 101},
        {"SetOptedIn", "{\"OptIN\": ", 101},
        {"SetOptedIn", "[true]", 101},
        {"SetOptedIn", R"({"OptIN": "yes"})", 101},
        {"SetPXDialogShown", "not json", 101},
        {"GetSHA256Hash", "}", 101},
        {"GetVersion", "[0]", 101},
    };
    for (auto const& sent : cases)
        EXPECT_EQ(Core().Send(sent.name, sent.text).code, sent.code)
            << (sent.name != nullptr ? sent.name : "(null)") << " " << sent.text;
}
