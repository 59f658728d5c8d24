// A library's packed version from its stamp: the test library's and the
// wrapper's own as built, and copies of the test library whose stamp text or
// file was changed, in the launcher's private /tmp.
#include "ElfImage.h"
#include "ElfOracleFiles.h"
#include "QdxBuildVersion.h"
#include "TestIsolation.h"
#include "support/Path.h"
#include "support/QdxUtilVersion.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using Norvane::QDXDesktopSDK::Path;
using namespace Norvane::QDXDesktopSDK::QdxUtil;
using QdxTest::ElfImage;

namespace {

class PathVersionTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        ASSERT_TRUE(Path("/tmp/version").CreateDir());
        ASSERT_TRUE(m_image.Load(Path(QDX_ELF_ORACLE_LIBRARY)));
        m_stamp = m_image.FindDataObject("_ZL7version");
        ASSERT_NE(ElfImage::npos, m_stamp);
    }

    // The version of a copy of the test library whose stamp holds `text`.
    unsigned long long VersionWithStamp(std::string const& text)
    {
        ElfImage image = m_image;
        image.SetSymbolContent(m_stamp, text);
        EXPECT_TRUE(image.Write(m_file));
        return m_file.GetVersion();
    }

    Path const m_file{"/tmp/version/libcopy.so"};
    ElfImage m_image;
    std::size_t m_stamp = 0;
};

}  // namespace

TEST_F(PathVersionTest, TheStampOfTheFamilysFormGivesItsFourFields)
{
    EXPECT_EQ(0x0001000200030004ull, Path(QDX_ELF_ORACLE_LIBRARY).GetVersion());
}

TEST_F(PathVersionTest, TheWrapperLibraryCarriesTheVersionItWasBuiltAs)
{
    unsigned long long const version = Path(QDX_WRAPPER_LIBRARY).GetVersion();
    EXPECT_EQ(GetVersionFromString(QDX_SDK_VERSION), version);
    EXPECT_EQ("5.5.34.5", GetVersionStringFromVersion(version));
}

TEST_F(PathVersionTest, DigitsBeforeTheFirstCommaAreNotTheVersion)
{
    EXPECT_EQ(GetVersionFromParts(3, 4, 5, 6), VersionWithStamp("$Id: lib7zip2,v 3.4.5.6 Jan  1 2025 y $"));
    EXPECT_EQ(GetVersionFromParts(9, 0, 0, 0), VersionWithStamp("$Id: a1,b9,v 2 $"));
    // Without a comma the whole text counts.
    EXPECT_EQ(GetVersionFromParts(7, 8, 0, 0), VersionWithStamp("release 7.8"));
}

TEST_F(PathVersionTest, TheWholeObjectCountsNotOnlyTheTextBeforeItsTerminator)
{
    EXPECT_EQ(GetVersionFromParts(2, 3, 0, 0), VersionWithStamp(std::string("$Id: x,v \0 2.3", 14)));
}

TEST_F(PathVersionTest, AStampWithoutDigitsOrTextGivesZero)
{
    EXPECT_EQ(0u, VersionWithStamp("$Id: x1,v unknown $"));
    EXPECT_EQ(0u, VersionWithStamp(""));
}

TEST_F(PathVersionTest, FilesWithoutAReadableStampGiveZero)
{
    std::string const copy = m_file.GetString();
    std::string const stripped = "/tmp/version/libstripped.so";
    ASSERT_EQ(0, std::system(("strip --strip-all -o " + stripped + " " + QDX_ELF_ORACLE_LIBRARY).c_str()));
    EXPECT_EQ(0u, Path(stripped).GetVersion());

    ElfImage image = m_image;
    image.Bytes()[EI_CLASS] = ELFCLASS32;
    ASSERT_TRUE(image.Write(m_file));
    EXPECT_EQ(0u, m_file.GetVersion());

    EXPECT_EQ(0u, Path("/tmp/version/missing.so").GetVersion());
    EXPECT_EQ(0u, Path("/tmp/version").GetVersion());
}
