// Switches and hooks: disabling, the kept settings, testing flags, the
// testing callback and the store's status.
#include "CoreHarness.h"

#include "JsonValue.h"
#include "QdxString.h"

#include <mutex>

using namespace CoreTesting;
using Norvane::QDXDesktopSDK::JsonValue;

using CoreControl = CoreTest;

namespace {

// What the testing callback was given, one JSON text per call.
struct Seen {
    std::mutex mutex;
    std::vector<std::string> records;  // guarded by mutex
};

int RememberRecord(JsonValue const& request, void* userData, JsonValue&)
{
    auto& seen = *static_cast<Seen*>(userData);
    Norvane::QDXDesktopSDK::QdxString const text = request.GetJsonString();
    std::lock_guard<std::mutex> const lock(seen.mutex);
    seen.records.emplace_back(text.c_str() != nullptr ? text.c_str() : "");
    return 0;
}

}  // namespace

TEST_F(CoreControl, DisablingIsKeptUntilEnabledAgain)
{
    EXPECT_EQ(Code("IsQDXDisabled"), 0);
    OptIn();
    std::string const id = OpenSession();
    EXPECT_EQ(Code("DisableQDX"), 0);
    EXPECT_EQ(Code("IsQDXDisabled"), 8);
    EXPECT_EQ(Code("TrackEvent", WithSession(id)), 8);
    EXPECT_EQ(Code("UpdateLiFlow"), 8);
    EXPECT_EQ(Code("Initialize"), 8);
    EXPECT_EQ(Code("IsCollectionEnabled"), 8);
    Answer const status = Send("GetStoreStatus");
    EXPECT_TRUE(status.json["disabled"].IsTrue());
    EXPECT_EQ(status.Counter("dropped_disabled"), 2);

    Core().Finalize();
    EXPECT_EQ(Core().Initialize(), 8);
    EXPECT_EQ(Core().InitializeEx("{}"), 8);
    EXPECT_EQ(Code("EnableQDX"), 0);
    EXPECT_EQ(Code("IsQDXDisabled"), 0);
    EXPECT_EQ(Code("UpdateLiFlow"), 0);
    Core().Finalize();
    EXPECT_EQ(Core().Initialize(), 0);
    EXPECT_EQ(StoredRecords().size(), 1u);
}

TEST_F(CoreControl, SettingMessagesAreKeptInTheDatabase)
{
    struct {
        char const* name;
        char const* arguments;
        int code;
        char const* setting;  ///< the setting it changes, null for a refusal
        char const* kept;
    } const cases[] = {
        {"SetInstallerMode", "{}", 0, "installer_mode", "1"},
        {"SetCloseTimeoutOnProductClose", R"({"CloseTimeoutOnProductClose": 300})", 0, "close_timeout_ms", "300"},
        {"SetCloseTimeoutOnProductClose", R"({"CloseTimeoutOnProductClose": -1})", 101, nullptr, nullptr},
        {"SetCloseTimeoutOnProductClose", R"({"CloseTimeoutOnProductClose": "300"})", 101, nullptr, nullptr},
        {"SetCloseTimeoutOnProductClose", "{}", 101, nullptr, nullptr},
        {"InternalMessageEnableGlint", R"({"enable": true, "features": ["a", "b"]})", 0, "glint",
         R"({"enable": true, "features": ["a", "b"]})"},
        {"InternalMessageEnableGlint", "[1]", 101, nullptr, nullptr},
        {"SetTestingFlags", R"({"product_id": "P1", "ignore_consent": true, "_sdk_api_version": "5"})", 0,
         "testing_flags", R"({"P1": {"ignore_consent": true}})"},
        {"SetTestingFlags", "flags", 101, nullptr, nullptr},
        {"SetTestingCallback", R"({"callback": "zz"})", 101, nullptr, nullptr},
        {"SetTestingCallback", R"({"callback": "0", "pUserData": "0x"})", 101, nullptr, nullptr},
    };
    for (auto const& sent : cases)
        EXPECT_EQ(Code(sent.name, sent.arguments), sent.code) << sent.name << " " << sent.arguments;
    ASSERT_EQ(Code("FlushEvent"), 0);
    std::map<std::string, std::string> settings = StoredSettings();
    for (auto const& sent : cases) {
        if (sent.setting != nullptr) {
            EXPECT_TRUE(SameJson(settings[sent.setting], sent.kept)) << sent.setting << ": " << settings[sent.setting];
        }
    }
}

TEST_F(CoreControl, TestingFlagsLetAProductsRecordsInWithoutOptIn)
{
    EXPECT_EQ(Code("UpdateLiFlow"), 103);
    EXPECT_EQ(Code("SetTestingFlags", R"({"product_id": "P1", "ignore_consent": true})"), 0);
    EXPECT_EQ(Code("SetTestingFlags", R"({"product_id": "P2", "verbose": true})"), 0);
    EXPECT_EQ(Code("IsCollectionEnabled"), 0);
    EXPECT_EQ(Code("UpdateLiFlow", NumberedRecord(0, 1)), 0);
    EXPECT_EQ(Code("SetTestingFlags", R"({"product_id": "P1", "ignore_consent": false})"), 0);
    EXPECT_EQ(Code("UpdateLiFlow", NumberedRecord(0, 2)), 103);
    ASSERT_EQ(Code("FlushEvent"), 0);
    EXPECT_EQ(Numbers(StoredRecords()), (std::vector<std::pair<int, long long>>{{0, 1}}));
}

TEST_F(CoreControl, TheTestingCallbackSeesEveryStoredRecordBeforeFlushReturns)
{
    Seen seen;
    std::string const arguments = "{\"callback\": \"" + PointerText(reinterpret_cast<void const*>(&RememberRecord)) +
                                  "\", \"pUserData\": \"" + PointerText(&seen) + "\"}";
    ASSERT_EQ(Code("SetTestingCallback", arguments), 0);
    OptIn();
    std::string const id = OpenSession();
    constexpr int kRecords = 20;
    for (int i = 0; i < kRecords; ++i)
        ASSERT_EQ(Code(i % 2 == 0 ? "TrackEvent" : "UpdateLiData", WithSession(id, "\"i\": " + std::to_string(i))), 0);
    ASSERT_EQ(Code("FlushEvent"), 0);
    {
        std::lock_guard<std::mutex> const lock(seen.mutex);
        ASSERT_EQ(seen.records.size(), static_cast<std::size_t>(kRecords));
        for (int i = 0; i < kRecords; ++i) {
            JsonDocument const record = Parse(seen.records[i]);
            ASSERT_TRUE(record.IsObject()) << seen.records[i];
            EXPECT_STREQ(record["name"].GetString(), i % 2 == 0 ? "TrackEvent" : "UpdateLiData");
            EXPECT_STREQ(record["session_id"].GetString(), id.c_str());
            EXPECT_EQ(record["args"]["i"].GetInt(), i);
            EXPECT_TRUE(record["seq"].IsInt64());
            EXPECT_TRUE(record["time"].IsString());
        }
    }
    ASSERT_EQ(Code("SetTestingCallback", R"({"callback": "0"})"), 0);
    ASSERT_EQ(Code("UpdateLiFlow"), 0);
    ASSERT_EQ(Code("FlushEvent"), 0);
    std::lock_guard<std::mutex> const lock(seen.mutex);
    EXPECT_EQ(seen.records.size(), static_cast<std::size_t>(kRecords));
}

TEST_F(CoreControl, StoreStatusDescribesTheStore)
{
    EXPECT_EQ(Send("GetStoreStatus").Text("consent"), "unknown");
    OptIn();
    std::string const id = OpenSession();
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(Code("TrackEvent", WithSession(id)), 0);
    Answer const status = Send("GetStoreStatus");
    ASSERT_EQ(status.code, 0);
    EXPECT_EQ(status.Text("database"), DatabaseFile().string());
    EXPECT_TRUE(status.json["storage"].IsTrue());
    EXPECT_TRUE(status.json["current"].IsTrue());
    EXPECT_EQ(status.Number("records_stored"), 3);
    EXPECT_EQ(status.Number("records_waiting"), 0);
    EXPECT_EQ(status.Number("sessions"), 1);
    EXPECT_GT(status.Number("newest_record_ms"), 0);
    EXPECT_GT(status.Number("database_bytes"), 0);
    EXPECT_EQ(status.Number("queue_bytes"), 0);
    EXPECT_GT(status.Number("queue_high_water_bytes"), 0);
    EXPECT_TRUE(status.json["counters"].IsObject());
    EXPECT_EQ(status.Text("last_error"), "");
    EXPECT_EQ(status.Text("consent"), "in");
    EXPECT_TRUE(status.json["disabled"].IsFalse());
}
