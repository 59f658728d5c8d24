// Consent, its preferences, opting out, and the consent dialog's state and texts.
#include "CoreHarness.h"
#include "CoreSettings.h"

#include <atomic>
#include <thread>

using namespace CoreTesting;

using CoreConsent = CoreTest;

namespace {

std::string Preferences(Answer const& answer)
{
    return answer.json.IsObject() && answer.json.HasMember("preferences") ? CompactText(answer.json["preferences"])
                                                                          : "";
}

}  // namespace

TEST_F(CoreConsent, OptingInKeepsThePreferencesAcrossStarts)
{
    Answer asked = Send("IsOptedIn");
    EXPECT_EQ(asked.code, 103);
    EXPECT_TRUE(SameJson(Preferences(asked), R"({"OptIN": false})")) << Preferences(asked);
    EXPECT_EQ(Code("IsCollectionEnabled"), 103);

    EXPECT_EQ(Code("SetOptedIn", R"({"OptIN": true, "usage": "full", "_sdk_api_version": "5.5.34.5"})"), 0);
    EXPECT_EQ(Code("SyncUserConsent", R"({"marketing": false, "detail": {"level": 2}})"), 0);
    EXPECT_EQ(Code("SyncUserConsent", R"({"usage": "basic"})"), 0);
    std::string const expected = R"({"usage": "basic", "marketing": false, "detail": {"level": 2}, "OptIN": true})";
    asked = Send("IsOptedIn");
    EXPECT_EQ(asked.code, 0);
    EXPECT_TRUE(SameJson(Preferences(asked), expected)) << Preferences(asked);
    EXPECT_EQ(Code("IsCollectionEnabled"), 0);

    Core().Finalize();
    ASSERT_EQ(Core().Initialize(), 0);
    asked = Send("IsOptedIn");
    EXPECT_EQ(asked.code, 0);
    EXPECT_TRUE(SameJson(Preferences(asked), expected)) << Preferences(asked);
}

TEST_F(CoreConsent, OptingOutDeletesTheRecordsAndForgetsTheDeviceIds)
{
    OptIn();
    std::string const deviceId = Send("GetDeviceID").Text("deviceID");
    std::string const tovDeviceId = Send("GetTOVDeviceID").Text("deviceID");
    for (int i = 0; i < 6; ++i) {
        ASSERT_EQ(Code("UpdateLiFlow", NumberedRecord(0, i)), 0);
        if (i == 2) {
            ASSERT_EQ(Code("FlushEvent"), 0);  // some written, some still queued
        }
    }
    EXPECT_EQ(Code("SetOptedIn", R"({"OptIN": false})"), 0);
    ASSERT_EQ(Code("FlushEvent"), 0);
    EXPECT_TRUE(StoredRecords().empty());
    EXPECT_EQ(Code("IsOptedIn"), 103);
    EXPECT_EQ(Code("UpdateLiFlow", NumberedRecord(0, 6)), 103);
    std::map<std::string, std::string> const settings = StoredSettings();
    EXPECT_EQ(settings.count("device_id"), 0u);
    EXPECT_EQ(settings.count("tov_device_id"), 0u);
    EXPECT_EQ(Send("GetStoreStatus").Text("consent"), "out");

    OptIn();
    EXPECT_NE(Send("GetDeviceID").Text("deviceID"), deviceId);
    EXPECT_NE(Send("GetTOVDeviceID").Text("deviceID"), tovDeviceId);
}

TEST_F(CoreConsent, TheDialogShownFlagIsKept)
{
    EXPECT_EQ(Code("IsPXDialogShown"), 106);
    EXPECT_EQ(Code("SetPXDialogShown", R"({"DialogShown": true, "preferences": {"usage": "full"}})"), 0);
    EXPECT_EQ(Code("IsPXDialogShown"), 0);
    for (char const* bad : {"{}", R"({"DialogShown": 1})", R"({"DialogShown": "true"})"})
        EXPECT_EQ(Code("SetPXDialogShown", bad), 101) << bad;
    EXPECT_EQ(Code("IsPXDialogShown"), 0);
    ASSERT_EQ(Code("FlushEvent"), 0);
    std::map<std::string, std::string> settings = StoredSettings();
    EXPECT_EQ(settings["dialog_shown"], "1");
    EXPECT_TRUE(SameJson(settings["dialog_preferences"], R"({"usage": "full"})"));

    EXPECT_EQ(Code("SetPXDialogShown", R"({"DialogShown": false})"), 0);
    EXPECT_EQ(Code("IsPXDialogShown"), 106);
}

TEST_F(CoreConsent, DialogStringsMatchTheLocaleItsLanguageOrTheFallback)
{
    JsonDocument const file =
        Parse(ReadFile(fs::path(LocalCoreFiles::kCore).parent_path() / "QdxSDKCore.dialog-strings.json"));
    ASSERT_TRUE(file.IsObject());
    struct {
        char const* asked;
        int availableCode;
        char const* served;
    } const cases[] = {
        {"en_US", 0, "en_US"}, {"de_DE", 0, "de_DE"},   {"de_AT", 0, "de_DE"}, {"de", 0, "de_DE"},
        {"fr-CA", 0, "fr_FR"}, {"ja_JP", 107, "en_US"}, {"d", 107, "en_US"},   {"", 107, "en_US"},
    };
    for (auto const& locale : cases) {
        std::string const arguments = std::string(R"({"locale": ")") + locale.asked + "\"}";
        EXPECT_EQ(Code("IsDialogStringsAvailable", arguments), locale.availableCode) << locale.asked;
        Answer const strings = Send("GetPXDialogStrings", arguments);
        EXPECT_EQ(strings.code, 0) << locale.asked;
        EXPECT_EQ(strings.Text("locale"), locale.served) << locale.asked;
        ASSERT_TRUE(strings.json.IsObject() && strings.json.HasMember("strings")) << locale.asked;
        EXPECT_TRUE(strings.json["strings"] == file[locale.served]) << locale.asked;
    }
}

TEST(CoreConsentWithoutStrings, ACoreWithoutItsStringsFileHasNone)
{
    QDX_REQUIRE_ISOLATION();
    fs::path const copy = "/tmp/bare/QdxSDKCore.so";
    fs::create_directories(copy.parent_path());
    fs::copy_file(LocalCoreFiles::kCore, copy);
    LoadedCore const core(copy.string());
    ASSERT_TRUE(core.Loaded());
    EXPECT_EQ(core.Send("IsDialogStringsAvailable", R"({"locale": "en_US"})").code, 107);
    EXPECT_EQ(core.Send("GetPXDialogStrings", R"({"locale": "en_US"})").code, 107);
}

// Another process's commit makes this one read the settings again; an opt-out
// committed there must reach a process whose writer is busy with records.
TEST_F(CoreConsent, AnOptOutCommittedByAnotherProcessReachesAProcessThatKeepsRecording)
{
    OptIn();
    ASSERT_EQ(Code("FlushEvent"), 0);
    std::atomic<bool> stop{false};
    std::thread recorder([&] {
        for (long long i = 0; !stop.load(); ++i) {
            Send("UpdateLiFlow", NumberedRecord(0, i));
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    Query("UPDATE settings SET value = 'out' WHERE name = 'consent'");
    EXPECT_TRUE(PollUntil([&] { return Code("IsOptedIn") == 103; }, std::chrono::seconds(10)));
    stop = true;
    recorder.join();
}

// The writer rereads the settings after another process's commit, which may
// come before it has written this process's latest change.
TEST(CoreSettingsReread, AChangeNotYetWrittenOutlivesARereadUntilItIsWritten)
{
    CoreSettings settings;
    settings.Set(Setting::kConsent, "in");
    settings.Replace({});
    EXPECT_TRUE(settings.Consented());
    settings.Set(Setting::kConsent, "out");
    settings.Written(Setting::kConsent, std::string("in"));  // the earlier change: the later one still waits
    settings.Replace({{Setting::kConsent, "in"}});
    EXPECT_FALSE(settings.Consented());
    settings.Written(Setting::kConsent, std::string("out"));
    settings.Replace({{Setting::kConsent, "in"}});
    EXPECT_TRUE(settings.Consented());

    settings.Remove(Setting::kConsent);
    settings.Replace({{Setting::kConsent, "in"}});
    EXPECT_FALSE(settings.Consented());
    settings.Written(Setting::kConsent, std::nullopt);
    settings.Replace({{Setting::kConsent, "in"}});
    EXPECT_TRUE(settings.Consented());
}
