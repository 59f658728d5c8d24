// Which copy of a companion is chosen, seen from a real host: a program in
// /tmp/app/bin whose companion search lives in a library in /tmp/app/lib,
// with copies of different versions in those folders and in a configured one.
#include "FakeCompanions.h"
#include "LocatePrograms.h"
#include "TestIsolation.h"
#include "companion/QDXLibraryEntry.h"
#include "support/Path.h"

#include <gtest/gtest.h>

#include <cstdio>
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

    // The host's one line of output for `command`, with `configured` set first when given.
    static std::string Host(char const* command, Path const& configured = Path())
    {
        std::string line = kBin.Append("qdx_locate_host").GetString() + " /tmp/working " + command;
        if (!configured.IsEmpty())
            line += " " + configured.GetString();
        std::FILE* const output = popen(line.c_str(), "r");
        char buffer[4096] = {};
        std::string text = output != nullptr && std::fgets(buffer, sizeof buffer, output) != nullptr ? buffer : "";
        if (output != nullptr)
            pclose(output);
        if (!text.empty() && text.back() == '\n')
            text.pop_back();
        return text;
    }

    // The located folder, compared as a path: the loader names this library's
    // own folder as the host found it ("/tmp/app/bin/../lib").
    static bool Located(Path const& folder, Path const& configured = Path())
    {
        std::string const text = Host("locate", configured);
        return Path(text.c_str()) == folder || (ADD_FAILURE() << "located " << text, false);
    }

    // The code of the first message and the folder the companion came from.
    static bool Sent(int code, Path const& folder, Path const& configured = Path())
    {
        std::string const text = Host("send", configured);
        std::string const expected = std::to_string(code) + " ";
        bool const match = text.compare(0, expected.size(), expected) == 0 &&
                           (folder.IsEmpty() || Path(text.substr(expected.size()).c_str()) == folder);
        return match || (ADD_FAILURE() << "sent: " << text, false);
    }
};

}  // namespace

TEST_F(LocateLibraryTest, HighestVersionWinsWhereverItLies)
{
    Place(FakeCompanions::kFakeCore_2_0, kLib);
    Place(FakeCompanions::kFakeCore_2_1, kBin);
    EXPECT_TRUE(Located(kBin));
    EXPECT_TRUE(Sent(0, kBin));

    Place(FakeCompanions::kFakeCore_1_0, kConfigured);
    EXPECT_TRUE(Located(kBin, kConfigured));
}

TEST_F(LocateLibraryTest, OnEqualVersionsConfiguredBeatsOwnFolderBeatsHostFolder)
{
    Place(FakeCompanions::kFakeCore_2_0, kBin);
    EXPECT_TRUE(Located(kBin));
    Place(FakeCompanions::kFakeCore_2_0, kLib);
    EXPECT_TRUE(Located(kLib));
    Place(FakeCompanions::kFakeCore_2_0, kConfigured);
    EXPECT_TRUE(Located(kConfigured, kConfigured));
    EXPECT_TRUE(Sent(0, kConfigured, kConfigured));
}

TEST_F(LocateLibraryTest, NoCopyAnywhereLeavesTheOwnFolderAndCodeOne)
{
    EXPECT_TRUE(Located(kLib));
    EXPECT_TRUE(Sent(1, Path()));
}

TEST_F(LocateLibraryTest, UnstampedCopyIsChosenOnlyWhenNothingElseExists)
{
    ASSERT_TRUE(kLib.Append("QdxSDKCore.so").WriteFile("no stamp", 8, 0, nullptr, nullptr));
    EXPECT_TRUE(Located(kLib));
    Place(FakeCompanions::kFakeCore_1_0, kBin);
    EXPECT_TRUE(Located(kBin));
}

TEST(QDXLibraryEntryTest, OrderIsVersionThenPriorityThenPathText)
{
    using QDXLibraryManager::QDXLibraryEntry;
    QDXLibraryEntry const older{Path("/z/a.so"), 0x0001000000000000ULL, 100};
    QDXLibraryEntry const newer{Path("/a/a.so"), 0x0002000000000000ULL, 0};
    QDXLibraryEntry const preferred{Path("/a/a.so"), 0x0002000000000000ULL, 1};
    QDXLibraryEntry const laterText{Path("/b/a.so"), 0x0002000000000000ULL, 1};
    QDXLibraryEntry const longer{Path("/b/a.so2"), 0x0002000000000000ULL, 1};
    EXPECT_TRUE(older < newer);
    EXPECT_TRUE(newer < preferred);
    EXPECT_TRUE(preferred < laterText);
    EXPECT_TRUE(laterText < longer);
    EXPECT_FALSE(longer < laterText);
    // Versions compare through their signed difference.
    QDXLibraryEntry const huge{Path("/h.so"), 0x9000000000000000ULL, 0};
    QDXLibraryEntry const small{Path("/s.so"), 0x0001000000000000ULL, 0};
    EXPECT_TRUE(huge < small);
}
