// qdxsdk check-companion: the local core passes every check; fake companions
// that break one rule fail exactly the rows of that rule, also when they
// crash or hang.
#include "QdxsdkFixture.h"

#include "FakeCompanions.h"
#include "QdxsdkProgram.h"
#include "TestIsolation.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

using namespace Norvane;

namespace {

struct Row {
    std::string result;
    std::string detail;
};

constexpr char const* kCheckIds[] = {"file_name", "version_stamp", "entry_points", "initialisation",
                                     "messages",  "free_message",  "concurrency",  "finalize"};

// The rows of `check-companion --json`, by check id.
std::map<std::string, Row> CheckRows(ToolResult const& result)
{
    std::map<std::string, Row> rows;
    QDXDesktopSDK::JsonDocument const json = ParseJson(result.out);
    EXPECT_TRUE(json.IsObject() && json.HasMember("checks") && json["checks"].IsArray()) << result.out;
    if (!json.IsObject() || !json.HasMember("checks") || !json["checks"].IsArray())
        return rows;
    for (auto const& check : json["checks"].GetArray())
        rows[check["check"].GetString()] = Row{check["result"].GetString(), check["detail"].GetString()};
    EXPECT_EQ(rows.size(), std::size(kCheckIds)) << result.out;
    EXPECT_EQ(json["passed"].GetBool(), result.exitCode == 0) << result.out;
    return rows;
}

class CheckCompanionTest : public testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        // A sanitizer's runtime would catch the crashing companion's signal
        // and exit with a code of its own; the check is to name the signal.
        for (char const* name : {"ASAN_OPTIONS", "TSAN_OPTIONS"}) {
            char const* const options = std::getenv(name);
            std::string const value = options != nullptr && *options != '\0' ? std::string(options) + ":" : "";
            setenv(name, (value + "handle_segv=0").c_str(), 1);
        }
    }
};

}  // namespace

TEST_F(CheckCompanionTest, EachCompanionFailsExactlyTheRowsOfWhatItBreaks)
{
    struct Case {
        char const* file;
        std::map<std::string, std::string> failed;  ///< check id to a part of its detail
        std::vector<std::string> skipped;
    } const cases[] = {
        {kLocalCore, {}, {}},
        {FakeCompanions::kFakeCore_2_0, {}, {}},
        {FakeCompanions::kFakeCore_NoFreeMessage, {{"free_message", "no FreeMessage_QdxSDKCore"}}, {}},
        {FakeCompanions::kFakeCore_MalformedAnswer,
         {{"messages", "GetDeviceID: the answer is not valid JSON"},
          {"concurrency", "GetDeviceID: the answer is not valid JSON"}},
         {}},
        {FakeCompanions::kFakeCore_CrashingMessage,
         {{"messages", "crashed (signal 11, SIGSEGV) at GetDeviceID"},
          {"free_message", "crashed (signal 11, SIGSEGV) at GetDeviceID"},
          {"concurrency", "crashed (signal 11"}},
         {}},
        {FakeCompanions::kFakeCore_HangingMessage,
         {{"messages", "timed out after 1 s at GetDeviceID"},
          {"free_message", "timed out after 1 s at GetDeviceID"},
          {"concurrency", "timed out after 1 s"}},
         {}},
        {FakeCompanions::kFakeCore_NoProcessMessage,
         {{"entry_points", "no ProcessMessage_QdxSDKCore"}},
         {"initialisation", "messages", "free_message", "concurrency", "finalize"}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.file);
        // A short time-out for the hanging one; a generous one for the others,
        // which a sanitizer's build slows down many times over.
        bool const hangs = std::string(c.file) == FakeCompanions::kFakeCore_HangingMessage;
        ToolResult const result = RunQdxsdk({"check-companion", c.file, "--json", "--timeout", hangs ? "1" : "60"});
        EXPECT_EQ(result.exitCode, c.failed.empty() ? 0 : 5) << result.err;
        std::map<std::string, Row> const rows = CheckRows(result);
        for (char const* id : kCheckIds) {
            auto const row = rows.find(id);
            ASSERT_NE(row, rows.end()) << id;
            auto const failure = c.failed.find(id);
            bool const skipped = std::find(c.skipped.begin(), c.skipped.end(), id) != c.skipped.end();
            std::string const expected = failure != c.failed.end() ? "failed" : skipped ? "skipped" : "passed";
            EXPECT_EQ(row->second.result, expected) << id << ": " << row->second.detail;
            if (failure != c.failed.end()) {
                EXPECT_NE(row->second.detail.find(failure->second), std::string::npos)
                    << id << ": " << row->second.detail;
            }
        }
    }
}

TEST_F(CheckCompanionTest, NameAndSuffixFollowTheLibrarysRule)
{
    // Under another file name the library would not load it; the suffix is
    // still derived the library's way, so the rest is checked all the same.
    std::filesystem::path const folder = "/tmp/check-companion-name";
    std::filesystem::create_directories(folder);
    std::filesystem::copy_file(FakeCompanions::kFakeCore_2_0, folder / "libQdxSDKCore.so");
    std::map<std::string, Row> rows =
        CheckRows(RunQdxsdk({"check-companion", (folder / "libQdxSDKCore.so").string(), "--json"}));
    EXPECT_EQ(rows["file_name"].result, "failed");
    EXPECT_NE(rows["file_name"].detail.find("as QdxSDKCore.so"), std::string::npos) << rows["file_name"].detail;
    for (char const* id : {"entry_points", "initialisation", "messages", "free_message", "concurrency", "finalize"})
        EXPECT_EQ(rows[id].result, "passed") << id << ": " << rows[id].detail;

    // A suffix that none of the companions has: its entry points are not
    // found, and nothing is sent.
    rows = CheckRows(RunQdxsdk({"check-companion", FakeCompanions::kFakeCore_2_0, "--suffix", "_Other", "--json"}));
    EXPECT_EQ(rows["file_name"].result, "failed");
    EXPECT_EQ(rows["entry_points"].result, "failed");
    EXPECT_NE(rows["entry_points"].detail.find("no ProcessMessage_Other"), std::string::npos);
}

TEST_F(CheckCompanionTest, TableAndUsageErrors)
{
    ToolResult const table = RunQdxsdk({"check-companion", kLocalCore});
    EXPECT_EQ(table.exitCode, 0) << table.err;
    EXPECT_NE(table.out.find("All 8 checks passed."), std::string::npos) << table.out;

    ToolResult const failing = RunQdxsdk({"check-companion", FakeCompanions::kFakeCore_NoFreeMessage});
    EXPECT_EQ(failing.exitCode, 5);
    EXPECT_NE(failing.out.find("1 of 8 checks failed, 0 skipped."), std::string::npos) << failing.out;

    EXPECT_EQ(RunQdxsdk({"check-companion", "/tmp/no-such-companion.so"}).exitCode, 1);
    EXPECT_EQ(RunQdxsdk({"check-companion"}).exitCode, 1);
    EXPECT_EQ(RunQdxsdk({"check-companion", kLocalCore, "--timeout", "0"}).exitCode, 1);
}
