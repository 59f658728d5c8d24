#include "support/QdxUtilVersion.h"

#include <gtest/gtest.h>

using namespace Norvane::QDXDesktopSDK;

TEST(QdxUtilVersionTest, PartsArePackedSixteenBitsEach)
{
    EXPECT_EQ(0x0001000200030004ULL, QdxUtil::GetVersionFromParts(1, 2, 3, 4));
    EXPECT_EQ(0x0001000200030004ULL, QdxUtil::GetVersionFromParts(1, 0x10002, 3, 4));
    EXPECT_EQ(0x0002000000000000ULL, QdxUtil::GetVersionFromParts(0x10002, 0, 0, 0));
    EXPECT_GT(QdxUtil::GetVersionFromParts(2, 0, 0, 0), QdxUtil::GetVersionFromParts(1, 65535, 0, 0));
}

TEST(QdxUtilVersionTest, TextGivesUpToFourFieldsAfterTheFirstDigit)
{
    struct Case {
        char const* text;
        unsigned long long version;
    };
    Case const cases[] = {
        {"5.5.34.5 Mar  1 2025", QdxUtil::GetVersionFromParts(5, 5, 34, 5)},
        {",v 1.2.3.4 Jan  1 2025 00:00:00 y $", 0x0001000200030004ULL},
        {"2.1", QdxUtil::GetVersionFromParts(2, 1, 0, 0)},
        {"1..2", QdxUtil::GetVersionFromParts(1, 0, 0, 0)},
        {"x3", QdxUtil::GetVersionFromParts(3, 0, 0, 0)},
        {"1,2 3.4.5", 0x0001000200030004ULL},
        {"no digits", 0},
        {"", 0},
        // An oversized field spills into the one above.
        {"0.65536", 0x0001000000000000ULL},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.version, QdxUtil::GetVersionFromString(c.text)) << c.text;
}

TEST(QdxUtilVersionTest, VersionTextAlwaysHasFourFields)
{
    EXPECT_EQ("1.2.3.4", QdxUtil::GetVersionStringFromVersion(0x0001000200030004ULL));
    EXPECT_EQ("0.0.0.0", QdxUtil::GetVersionStringFromVersion(0));
    EXPECT_EQ("65535.0.0.1", QdxUtil::GetVersionStringFromVersion(0xFFFF000000000001ULL));
    EXPECT_EQ("5.5.34.5", QdxUtil::GetVersionStringFromVersion(QdxUtil::GetVersionFromString("5.5.34.5")));
}
