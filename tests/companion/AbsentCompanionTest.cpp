// A companion that is nowhere: every message looks again, searching only when
// a stat shows that something the search depends on changed, and a copy that
// appears anywhere the search looks is loaded by the very next message. Seen
// from a real host (a program in /tmp/app/bin whose companion search lives in
// a library in /tmp/app/lib), whose folders were last changed an hour ago.
#include "FakeCompanions.h"
#include "LocatePrograms.h"
#include "TestIsolation.h"
#include "support/Path.h"
#include <gtest/gtest.h>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

using namespace Norvane::QDXDesktopSDK;
namespace fs = std::filesystem;

namespace {

std::string const kCore = FakeCompanions::kFakeCore_1_0;
std::string const kHostConfig = R"({"ProductLibraryPath": {"/tmp/app/bin": {"QDX": "/tmp/configured"}}})";

/// What one message gave: its code, the folder loaded ("-" for none), and
/// "searched" or "skipped".
struct Outcome {
    int code;
    std::string folder;
    std::string search;
};

class AbsentCompanionTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        ASSERT_TRUE(Path(LocatePrograms::kHost).CopyFile("/tmp/app/bin/qdx_locate_host"));
        ASSERT_TRUE(Path(LocatePrograms::kProbe)
                        .CopyFile(Path("/tmp/app/lib").Append(Path(LocatePrograms::kProbe).FileName())));
        for (char const* folder : {"/tmp/working", "/tmp/configured", "/tmp/prepared"})
            ASSERT_TRUE(Path(folder).CreateDir());
        Write("/tmp/prepared/slp.json", kHostConfig);
    }
    static void Write(char const* file, std::string const& text)
    {
        ASSERT_TRUE(Path(file).WriteFile(text.data(), static_cast<long long>(text.size()), 0, nullptr, nullptr));
    }
    /// Sets the modification time of every entry of the layout, as an
    /// installation that nobody touched for an hour.
    static void AgeTheLayout()
    {
        for (char const* entry : {"/tmp/app/bin", "/tmp/app/lib", "/tmp/working", "/tmp/working/slp.json",
                                  "/tmp/configured", "/tmp/configured/QdxSDKCore.so"}) {
            if (fs::exists(entry))
                fs::last_write_time(entry, fs::file_time_type::clock::now() - std::chrono::hours(1));
        }
    }
    /// Runs the host with the steps (see LocateProbe.cpp) and returns the
    /// outcome of each message.
    static std::vector<Outcome> Run(std::string const& configured, std::vector<std::string> const& steps)
    {
        std::string line = "/tmp/app/bin/qdx_locate_host /tmp/working " + configured;
        for (std::string const& step : steps)
            line += " '" + step + "'";
        std::FILE* const output = popen(line.c_str(), "r");
        std::string text;
        for (char buffer[512]; std::fgets(buffer, sizeof buffer, output) != nullptr;)
            text += buffer;
        EXPECT_EQ(0, pclose(output)) << text;
        std::istringstream lines(text);
        std::string located;
        std::getline(lines, located);
        std::vector<Outcome> outcomes;
        for (Outcome outcome; lines >> outcome.code >> outcome.folder >> outcome.search;)
            outcomes.push_back(outcome);
        return outcomes;
    }
    static void Expect(std::vector<Outcome> const& expected, std::vector<Outcome> const& outcomes)
    {
        ASSERT_EQ(expected.size(), outcomes.size());
        for (std::size_t i = 0; i < expected.size(); ++i) {
            SCOPED_TRACE("message " + std::to_string(i + 1));
            EXPECT_EQ(expected[i].code, outcomes[i].code);
            EXPECT_EQ(expected[i].search, outcomes[i].search);
            // The own folder is named as the loader found the library: /tmp/app/bin/../lib.
            EXPECT_TRUE(expected[i].folder == outcomes[i].folder ||
                        Path(expected[i].folder) == Path(outcomes[i].folder))
                << outcomes[i].folder;
        }
    }
};

}  // namespace

TEST_F(AbsentCompanionTest, ACopyAppearingWhereTheSearchLooksIsLoadedByTheNextMessage)
{
    struct {
        char const* what;
        char const* configured;  // "-": nothing
        char const* slpJson;     // the configuration file before the host starts; null: none
        std::string appears;     // "FROM=>TO" after the second message
        char const* loadedFrom;
    } const cases[] = {
        {"beside the library", "-", nullptr, kCore + "=>/tmp/app/lib/QdxSDKCore.so", "/tmp/app/lib"},
        {"beside the host", "-", nullptr, kCore + "=>/tmp/app/bin/QdxSDKCore.so", "/tmp/app/bin"},
        {"in the configured folder", "/tmp/configured", nullptr, kCore + "=>/tmp/configured/QdxSDKCore.so",
         "/tmp/configured"},
        {"in a configured folder made later", "/tmp/later/libs", nullptr, kCore + "=>/tmp/later/libs/QdxSDKCore.so",
         "/tmp/later/libs"},
        {"in a relative configured folder beside the host", "plugins", nullptr,
         kCore + "=>/tmp/app/bin/plugins/QdxSDKCore.so", "/tmp/app/bin/plugins"},
        {"through a configuration file that appears", "-", nullptr, "/tmp/prepared/slp.json=>/tmp/working/slp.json",
         "/tmp/configured"},
        {"through a broken configuration file that is mended", "-", "{\"ProductLibraryPath\": {",
         "/tmp/prepared/slp.json=>/tmp/working/slp.json", "/tmp/configured"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        fs::remove_all("/tmp/app/bin/QdxSDKCore.so");
        fs::remove_all("/tmp/app/lib/QdxSDKCore.so");
        fs::remove_all("/tmp/app/bin/plugins");
        fs::remove_all("/tmp/later");
        fs::remove_all("/tmp/configured/QdxSDKCore.so");
        fs::remove_all("/tmp/working/slp.json");
        if (c.slpJson != nullptr)
            Write("/tmp/working/slp.json", c.slpJson);
        // Only what a configuration file names holds a copy before.
        if (std::string(c.appears).find("slp.json") != std::string::npos) {
            ASSERT_TRUE(Path(kCore.c_str()).CopyFile("/tmp/configured/QdxSDKCore.so"));
        }
        AgeTheLayout();
        Expect({{1, "-", "searched"}, {1, "-", "skipped"}, {0, c.loadedFrom, "searched"}},
               Run(c.configured, {"ping", c.appears, "ping"}));
    }
}

TEST_F(AbsentCompanionTest, AFolderChangedInTheLastMomentsIsSearchedAtEveryMessage)
{
    AgeTheLayout();
    // A change in the same tick of the file system's clock as the last one
    // could leave the folder's times as they are; a time not well in the past
    // therefore proves nothing.
    fs::last_write_time("/tmp/app/lib", fs::file_time_type::clock::now() + std::chrono::hours(1));
    Expect({{1, "-", "searched"}, {1, "-", "searched"}, {1, "-", "searched"}}, Run("-", {"ping", "ping"}));
}
