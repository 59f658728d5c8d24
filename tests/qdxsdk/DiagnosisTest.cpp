// The diagnosis subcommands against a real layout: a host in /tmp/app/bin
// linking the shared library in /tmp/app/lib, fake companions placed around
// it, and the configuration, markers and log files they read and write.
#include "DiagnosisPrograms.h"
#include "FakeCompanions.h"
#include "QdxsdkFixture.h"

#include "support/Path.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace Norvane;
using QDXDesktopSDK::Path;
namespace fs = std::filesystem;

namespace {

std::string const kHost = "/tmp/app/bin/host";

std::string Canonical(std::string const& path)
{
    std::error_code error;
    fs::path const real = fs::canonical(path, error);
    return error ? path : real.string();
}

std::string Text(QDXDesktopSDK::JsonDocumentValue const& value)
{
    return value.IsString() ? value.GetString() : "(not text)";
}

}  // namespace

class DiagnosisTest : public QdxsdkTest {
protected:
    void SetUp() override
    {
        QdxsdkTest::SetUp();
        if (IsSkipped())
            return;
        fs::create_directories("/tmp/app/bin");
        fs::create_directories("/tmp/app/lib");
        fs::copy_file(DiagnosisPrograms::kHost, kHost);
        fs::copy_file(DiagnosisPrograms::kLibrary, "/tmp/app/lib/libQdxSDKWrapper.so");
    }
    static void Place(char const* built, std::string const& folder, char const* name = "QdxSDKCore.so")
    {
        fs::create_directories(folder);
        fs::copy_file(built, fs::path(folder) / name, fs::copy_options::overwrite_existing);
    }
    /// The candidates of the core in `locate --json`, as "folder verdict version" each.
    std::vector<std::string> CoreCandidates(QDXDesktopSDK::JsonDocument const& json) const
    {
        std::vector<std::string> lines;
        for (auto const& candidate : json["companions"][0]["candidates"].GetArray()) {
            std::string const version = candidate["version"].IsString() ? candidate["version"].GetString() : "-";
            lines.push_back(Text(candidate["folder"]) + " " + Text(candidate["verdict"]) + " " + version);
        }
        return lines;
    }
};

TEST_F(DiagnosisTest, LocateShowsEveryCandidateAndTheCopyTheLibraryWouldLoad)
{
    struct {
        char const* what;
        std::vector<std::pair<char const*, std::string>> copies;
        char const* configured;  // recorded with libpath set first; null: none
        std::vector<std::string> candidates;
        char const* chosen;  // null: none
    } const cases[] = {
        {"nothing anywhere", {}, nullptr, {"own not_found -", "host not_found -"}, nullptr},
        {"newer beside the host",
         {{FakeCompanions::kFakeCore_2_0, "/tmp/app/lib"}, {FakeCompanions::kFakeCore_2_1, "/tmp/app/bin"}},
         nullptr,
         {"own older_version 2.0.0.0", "host chosen 2.1.0.0"},
         "/tmp/app/bin/QdxSDKCore.so"},
        {"equal versions: the own folder first",
         {{FakeCompanions::kFakeCore_2_0, "/tmp/app/lib"}, {FakeCompanions::kFakeCore_2_0, "/tmp/app/bin"}},
         nullptr,
         {"own chosen 2.0.0.0", "host lower_priority 2.0.0.0"},
         "/tmp/app/lib/QdxSDKCore.so"},
        {"equal versions: the configured folder first",
         {{FakeCompanions::kFakeCore_2_0, "/tmp/app/lib"}, {FakeCompanions::kFakeCore_2_0, "/tmp/configured"}},
         "/tmp/configured",
         {"configured chosen 2.0.0.0", "own lower_priority 2.0.0.0", "host not_found -"},
         "/tmp/configured/QdxSDKCore.so"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        for (char const* folder : {"/tmp/app/lib/QdxSDKCore.so", "/tmp/app/bin/QdxSDKCore.so", "/tmp/configured"})
            fs::remove_all(folder);
        fs::remove(m_sdkFolder + "/slp.json");
        for (auto const& [built, folder] : c.copies)
            Place(built, folder);
        if (c.configured != nullptr) {
            ASSERT_EQ(0, Run({"libpath", "set", c.configured, "--exe", kHost}).exitCode);
        }

        ToolResult const result = Run({"locate", "--exe", kHost, "--json"});
        ASSERT_EQ(0, result.exitCode) << result.err;
        QDXDesktopSDK::JsonDocument const json = ParseJson(result.out);
        ASSERT_TRUE(json.IsObject()) << result.out;
        EXPECT_EQ("/tmp/app/lib/libQdxSDKWrapper.so", Canonical(Text(json["library"]["file"])));
        EXPECT_EQ("5.5.34.5", Text(json["library"]["version"]));
        EXPECT_EQ("/tmp/app/bin", Text(json["host_folder"]));
        EXPECT_EQ(c.candidates, CoreCandidates(json));
        auto const& chosen = json["companions"][0]["chosen"];
        EXPECT_EQ(c.chosen != nullptr ? c.chosen : "(none)", chosen.IsNull() ? "(none)" : Canonical(Text(chosen)));
        EXPECT_EQ(3u, json["companions"].Size());
    }
    ToolResult const text = Run({"locate", "--exe", kHost});
    EXPECT_NE(text.out.find("QdxSDKCore.so: would load /tmp/configured/QdxSDKCore.so (version 2.0.0.0)"),
              std::string::npos)
        << text.out;
    EXPECT_EQ(1, Run({"locate", "--exe", "/tmp/app/bin/missing"}).exitCode);
}

TEST_F(DiagnosisTest, VersionReadsTheStampAsTheLibraryDoes)
{
    Place(FakeCompanions::kFakeCore_2_1, "/tmp/v");
    std::ofstream("/tmp/v/plain.txt") << "no stamp";
    ToolResult const result = Run({"version", "/tmp/v/QdxSDKCore.so", "/tmp/v/plain.txt", "--json"});
    ASSERT_EQ(0, result.exitCode) << result.err;
    ASSERT_EQ(2u, result.Lines().size());
    QDXDesktopSDK::JsonDocument const stamped = ParseJson(result.Lines()[0]);
    EXPECT_EQ("2.1.0.0", Text(stamped["version"]));
    EXPECT_NE(Text(stamped["stamp"]).find(",v 2.1.0.0 "), std::string::npos);
    QDXDesktopSDK::JsonDocument const plain = ParseJson(result.Lines()[1]);
    EXPECT_TRUE(plain["version"].IsNull() && plain["stamp"].IsNull()) << result.Lines()[1];
    EXPECT_EQ("/tmp/v/plain.txt  -  (no version stamp)\n", Run({"version", "/tmp/v/plain.txt"}).out);

    ToolResult const missing = Run({"version", "/tmp/v/QdxSDKCore.so", "/tmp/v/missing.so"});
    EXPECT_EQ(4, missing.exitCode);
    EXPECT_NE(missing.out.find("2.1.0.0"), std::string::npos);
    EXPECT_NE(missing.err.find("/tmp/v/missing.so: no such file"), std::string::npos);
    EXPECT_EQ(1, Run({"version"}).exitCode);
}

TEST_F(DiagnosisTest, LibpathSetsShowsAndClearsTheHostsEntry)
{
    // An ancestor's entry applies until the host has one of its own, and again once that is cleared.
    std::ofstream(m_sdkFolder + "/slp.json") << R"({"ProductLibraryPath": {"/tmp": {"QDX": "/tmp/shared"}}})";
    auto show = [this] {
        ToolResult const result = Run({"libpath", "show", "--exe", kHost, "--json"});
        EXPECT_EQ(0, result.exitCode) << result.err;
        QDXDesktopSDK::JsonDocument const json = ParseJson(result.out);
        return Text(json["library_path"]) + " @ " + Text(json["key"]);
    };
    EXPECT_EQ("/tmp/shared @ /tmp", show());
    EXPECT_EQ(0, Run({"libpath", "set", "/tmp/mine", "--exe", kHost}).exitCode);
    EXPECT_EQ("/tmp/mine @ /tmp/app/bin", show());
    ToolResult const all = Run({"libpath", "show"});
    EXPECT_NE(all.out.find("/tmp -> /tmp/shared"), std::string::npos) << all.out;
    EXPECT_NE(all.out.find("/tmp/app/bin -> /tmp/mine"), std::string::npos) << all.out;
    EXPECT_EQ(0, Run({"libpath", "clear", "--exe", kHost}).exitCode);
    EXPECT_EQ("/tmp/shared @ /tmp", show());

    ToolResult const withoutHost = Run({"libpath", "set", "/tmp/x"});
    EXPECT_EQ(1, withoutHost.exitCode);
    EXPECT_NE(withoutHost.err.find("needs --exe"), std::string::npos);
    EXPECT_EQ(1, Run({"libpath"}).exitCode);
}

TEST_F(DiagnosisTest, LogSwitchesTheMarkerFiles)
{
    struct {
        char const* command;
        std::vector<char const*> markers;  // present afterwards
        int level;
    } const steps[] = {
        {"dev", {"qdxdev"}, 6},
        {"pid", {"qdxdev", "qdxpid"}, 6},
        {"debug", {"qdxdebug", "qdxpid"}, 5},
        {"verbose", {"qdxdebug", "qdxpid", "qdxverbose"}, 5},
        {"off", {}, 4},
    };
    for (auto const& step : steps) {
        SCOPED_TRACE(step.command);
        ASSERT_EQ(0, Run({"log", step.command}).exitCode);
        ToolResult const status = Run({"log", "status", "--json"});
        ASSERT_EQ(0, status.exitCode) << status.err;
        QDXDesktopSDK::JsonDocument const json = ParseJson(status.out);
        for (char const* marker : {"qdxdev", "qdxdebug", "qdxpid", "qdxverbose"}) {
            bool const expected =
                std::find(step.markers.begin(), step.markers.end(), std::string(marker)) != step.markers.end();
            EXPECT_EQ(expected, fs::exists(std::string("/tmp/") + marker)) << marker;
            EXPECT_EQ(expected, json["markers"][marker].GetBool()) << marker;
        }
        EXPECT_EQ(step.level, json["level"].GetInt());
        EXPECT_EQ(step.level != 4, json["log_file"].GetBool());
    }
    ToolResult const none = Run({"log", "show"});
    EXPECT_EQ(2, none.exitCode);
    EXPECT_NE(none.err.find("no log file"), std::string::npos);
    EXPECT_EQ(1, Run({"log", "loud"}).exitCode);
}

TEST_F(DiagnosisTest, DoctorListsTheLayoutAndEndsWithTheProblems)
{
    ToolResult const bare = Run({"doctor", "--exe", kHost, "--json"});
    ASSERT_EQ(0, bare.exitCode) << bare.err;
    QDXDesktopSDK::JsonDocument const json = ParseJson(bare.out);
    ASSERT_TRUE(json.IsObject()) << bare.out;
    EXPECT_EQ(m_sdkFolder, Text(json["sdk_folder"]));
    EXPECT_TRUE(json["database"].IsNull());
    std::string problems;
    for (auto const& problem : json["problems"].GetArray())
        problems += Text(problem["problem"]) + "\n";
    EXPECT_NE(problems.find("no copy of QdxSDKCore.so"), std::string::npos) << problems;
    EXPECT_NE(problems.find("does not exist (no record stored yet)"), std::string::npos) << problems;

    Place(FakeCompanions::kFakeCore_2_0, "/tmp/app/lib");
    std::ofstream("/tmp/app/lib/qdxdesktopsdk.env") << "A=1\n";
    FillStore();
    ASSERT_EQ(0, Run({"log", "debug"}).exitCode);
    ToolResult const text = Run({"doctor", "--exe", kHost});
    ASSERT_EQ(0, text.exitCode) << text.err;
    for (std::string const& expected : std::vector<std::string>{
             "Wrapper library:   /tmp/app/bin/../lib/libQdxSDKWrapper.so, version 5.5.34.5",
             "QdxSDKCore.so: would load /tmp/app/bin/../lib/QdxSDKCore.so (version 2.0.0.0): the only copy found",
             "Environment file:  /tmp/app/bin/../lib/qdxdesktopsdk.env; mirror " + m_sdkFolder +
                 "/qdxdesktopsdk.env (missing), NOT in step",
             "New processes:     level 5, log file " + m_sdkFolder + "/logs/host.log", "Records:          5",
             "Problems:\n  - the environment file's mirror"})
        EXPECT_NE(text.out.find(expected), std::string::npos) << expected << "\n" << text.out;
    EXPECT_EQ(text.out.find("no copy of QdxSDKCore.so"), std::string::npos) << text.out;

    // A collector that fails to answer, and one that refused records for good.
    Norvane::LocalCore::UploadBatch batch;
    ASSERT_TRUE(m_store->ClaimUploadBatch("test", m_nowMs, {}, batch));
    Norvane::LocalCore::UploadResult retry;
    retry.outcome = Norvane::LocalCore::UploadOutcome::Retry;
    retry.retryDelayMs = [](long long) { return 60000LL; };
    ASSERT_TRUE(m_store->FinishUploadBatch(batch, retry, m_nowMs));
    ASSERT_TRUE(m_store->AddToCounters({{"upload_records_dropped", 4}}));
    ToolResult const failing = Run({"doctor", "--exe", kHost});
    for (char const* expected : {"Upload:           1 failed attempts in a row",
                                 "did not take the last 1 upload attempts", "the collector refused 4 records for good"})
        EXPECT_NE(failing.out.find(expected), std::string::npos) << expected << "\n" << failing.out;
}
