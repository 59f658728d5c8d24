// The candidate table of the companion search: every file tested, what was
// read from it, and the verdict and reason of each, in folder layouts built
// in the private /tmp.
#include "FakeCompanions.h"
#include "TestIsolation.h"
#include "companion/CompanionSearch.h"
#include <gtest/gtest.h>
#include <filesystem>
#include <string>
#include <vector>

using namespace Norvane::QDXDesktopSDK;
namespace fs = std::filesystem;

namespace {

struct Copy {
    char const* built;
    char const* folder;
};

/// "kind file verdict version" per candidate.
std::vector<std::string> Rows(CompanionSearch::Table const& table)
{
    std::vector<std::string> rows;
    for (CompanionSearch::Candidate const& c : table.candidates)
        rows.push_back(std::string(CompanionSearch::FolderKindName(c.kind)) + " " + c.file.GetString() + " " +
                       CompanionSearch::VerdictName(c.verdict) + " " + CompanionSearch::VersionText(c.version));
    return rows;
}

}  // namespace

TEST(CompanionSearchTest, TheTableListsEveryTestedFileWithItsVerdict)
{
    QDX_REQUIRE_ISOLATION();
    struct {
        char const* what;
        std::vector<Copy> copies;
        char const* configured;
        char const* hostFolder;
        std::vector<std::string> rows;
        char const* folder;
        char const* reason;  // of the chosen one, or of the first row when none is
    } const cases[] = {
        {"nothing",
         {},
         "",
         "/tmp/bin",
         {"own /tmp/lib/QdxSDKCore.so not found -", "host /tmp/bin/QdxSDKCore.so not found -"},
         "/tmp/lib",
         "no such file"},
        {"newer beside the host, configured folder empty",
         {{FakeCompanions::kFakeCore_2_0, "/tmp/lib"}, {FakeCompanions::kFakeCore_2_1, "/tmp/bin"}},
         "/tmp/conf",
         "/tmp/bin",
         {"configured /tmp/conf/QdxSDKCore.so not found -", "own /tmp/lib/QdxSDKCore.so older version 2.0.0.0",
          "host /tmp/bin/QdxSDKCore.so chosen 2.1.0.0"},
         "/tmp/bin",
         "the highest version"},
        {"equal versions",
         {{FakeCompanions::kFakeCore_2_0, "/tmp/lib"}, {FakeCompanions::kFakeCore_2_0, "/tmp/bin"}},
         "",
         "/tmp/bin",
         {"own /tmp/lib/QdxSDKCore.so chosen 2.0.0.0", "host /tmp/bin/QdxSDKCore.so lower priority 2.0.0.0"},
         "/tmp/lib",
         "the highest version, and the highest priority among copies of it"},
        {"host and library in one folder",
         {{FakeCompanions::kFakeCore_1_0, "/tmp/lib"}},
         "",
         "/tmp/lib",
         {"own /tmp/lib/QdxSDKCore.so chosen 1.0.0.0", "host /tmp/lib/QdxSDKCore.so same file -"},
         "/tmp/lib",
         "the only copy found"},
        {"relative configured path: inside each folder first, the folder itself second",
         {{FakeCompanions::kFakeCore_1_0, "/tmp/lib/plugins"}, {FakeCompanions::kFakeCore_2_0, "/tmp/bin"}},
         "plugins",
         "/tmp/bin",
         {"own /tmp/lib/plugins/QdxSDKCore.so older version 1.0.0.0", "host /tmp/bin/plugins/QdxSDKCore.so not found -",
          "host /tmp/bin/QdxSDKCore.so chosen 2.0.0.0"},
         "/tmp/bin",
         "the highest version"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        for (char const* folder : {"/tmp/lib", "/tmp/bin", "/tmp/conf"})
            fs::remove_all(folder);
        for (Copy const& copy : c.copies) {
            fs::create_directories(copy.folder);
            fs::copy_file(copy.built, fs::path(copy.folder) / "QdxSDKCore.so");
        }
        CompanionSearch::Table const table = CompanionSearch::Search(
            {Path("QdxSDKCore.so"), Path(c.configured), Path(), Path(), Path("/tmp/lib"), Path(c.hostFolder)});
        EXPECT_EQ(c.rows, Rows(table));
        EXPECT_EQ(c.folder, table.folder.GetString());
        EXPECT_EQ(c.reason, CompanionSearch::Reason(table, table.chosen >= 0 ? table.chosen : 0));
    }
}

TEST(CompanionSearchTest, LosersSayWhatDecidedAgainstThem)
{
    QDX_REQUIRE_ISOLATION();
    fs::create_directories("/tmp/lib");
    fs::create_directories("/tmp/bin");
    fs::copy_file(FakeCompanions::kFakeCore_1_0, "/tmp/lib/QdxSDKCore.so");
    fs::copy_file(FakeCompanions::kFakeCore_2_1, "/tmp/bin/QdxSDKCore.so");
    CompanionSearch::Table const table =
        CompanionSearch::Search({Path("QdxSDKCore.so"), Path(), Path(), Path(), Path("/tmp/lib"), Path("/tmp/bin")});
    ASSERT_EQ(2u, table.candidates.size());
    EXPECT_EQ("version 1.0.0.0 is older than 2.1.0.0", CompanionSearch::Reason(table, 0));
}
