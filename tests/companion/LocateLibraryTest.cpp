// Which copy of a companion is chosen, seen from a real host: a program in
// /tmp/app/bin whose companion search lives in a library in /tmp/app/lib.
#include "FakeCompanions.h"
#include "LocatePrograms.h"
#include "TestIsolation.h"
#include "companion/QDXLibraryEntry.h"
#include "support/Path.h"
#include <gtest/gtest.h>
#include <cstdio>
#include <iterator>
#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

Path const kBin("/tmp/app/bin");
Path const kLib("/tmp/app/lib");
Path const kConfigured("/tmp/configured");

class LocateLibraryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        ASSERT_TRUE(Path(LocatePrograms::kHost).CopyFile(kBin.Append("qdx_locate_host")));
        ASSERT_TRUE(Path(LocatePrograms::kProbe).CopyFile(kLib.Append(Path(LocatePrograms::kProbe).FileName())));
        ASSERT_TRUE(Path("/tmp/working").CreateDir());
    }
    static void Place(char const* built, Path const& folder)
    {
        ASSERT_TRUE(Path(built).CopyFile(folder.Append("QdxSDKCore.so")));
    }

    /// Runs the host: it must locate `located` (compared as paths, as the search may
    /// name its own folder "/tmp/app/bin/../lib"), and a first message give `code`
    /// with the copy from `loaded`.
    static void Expect(Path const& located, int code, Path const& loaded, Path const& configured = Path())
    {
        std::string const line = kBin.Append("qdx_locate_host").GetString() + " /tmp/working " + configured.GetString();
        std::FILE* const output = popen(line.c_str(), "r");
        char found[4096] = {}, from[4096] = {};
        int sent = -1;
        EXPECT_LE(2, std::fscanf(output, "%4095s %d %4095s", found, &sent, from));
        pclose(output);
        EXPECT_TRUE(Path(found) == located && sent == code && (loaded.IsEmpty() || Path(from) == loaded))
            << found << " " << sent << " " << from;
    }
};

}  // namespace

TEST_F(LocateLibraryTest, HighestVersionWinsWhereverItLies)
{
    Place(FakeCompanions::kFakeCore_2_0, kLib);
    Place(FakeCompanions::kFakeCore_2_1, kBin);
    Expect(kBin, 0, kBin);
    Place(FakeCompanions::kFakeCore_1_0, kConfigured);
    Expect(kBin, 0, kBin, kConfigured);
}

TEST_F(LocateLibraryTest, OnEqualVersionsConfiguredBeatsOwnFolderBeatsHostFolder)
{
    Place(FakeCompanions::kFakeCore_2_0, kBin);
    Expect(kBin, 0, kBin);
    Place(FakeCompanions::kFakeCore_2_0, kLib);
    Expect(kLib, 0, kLib);
    Place(FakeCompanions::kFakeCore_2_0, kConfigured);
    Expect(kConfigured, 0, kConfigured, kConfigured);
}

TEST_F(LocateLibraryTest, NoCopyLeavesTheOwnFolderAndAnUnstampedCopyIsChosenOnlyWhenNothingElseExists)
{
    Expect(kLib, 1, Path());
    ASSERT_TRUE(kLib.Append("QdxSDKCore.so").WriteFile("no stamp", 8, 0, nullptr, nullptr));
    Expect(kLib, 1, Path());
    Place(FakeCompanions::kFakeCore_1_0, kBin);
    Expect(kBin, 0, kBin);
}

TEST(QDXLibraryEntryTest, OrderIsVersionThenPriorityThenPathText)
{
    using QDXLibraryManager::QDXLibraryEntry;
    QDXLibraryEntry const entries[] = {
        // each before the next
        {Path("/h.so"), 0x9000000000000000ULL, 0},  // versions compare through their signed difference
        {Path("/z/a.so"), 0x0001000000000000ULL, 100}, {Path("/a/a.so"), 0x0002000000000000ULL, 0},
        {Path("/a/a.so"), 0x0002000000000000ULL, 1},   {Path("/b/a.so"), 0x0002000000000000ULL, 1},
        {Path("/b/a.so2"), 0x0002000000000000ULL, 1},
    };
    for (std::size_t i = 0; i + 1 < std::size(entries); ++i) {
        EXPECT_TRUE(entries[i] < entries[i + 1]) << i;
        EXPECT_FALSE(entries[i + 1] < entries[i]) << i;
    }
}
