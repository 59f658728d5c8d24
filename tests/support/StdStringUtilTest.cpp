#include "support/QdxUtilVersion.h"
#include "support/StdStringUtil.h"
#include <gtest/gtest.h>
#include <string>
#include <vector>
using namespace Norvane::QDXDesktopSDK;

TEST(StdStringUtilTest, TrimRemovesSetCharactersFromChosenEnds)
{
    struct Case {
        char const* text;
        char const* set;
        bool left;
        bool right;
        char const* expected;
    };
    Case const cases[] = {
        {"  a b \n", nullptr, true, true, "a b"},    {"  a b \n", nullptr, true, false, "a b \n"},
        {"  a b \n", nullptr, false, true, "  a b"}, {"  a b \n", nullptr, false, false, "  a b \n"},
        {"  a b \n", "", true, true, "a b"},         {"\r\n\t x\t \r\n", nullptr, true, true, "x"},
        {"a  b", nullptr, true, true, "a  b"},       {"xyhiyx", "xy", true, true, "hi"},
        {" hi ", "x", true, true, " hi "},           {"", nullptr, true, true, ""},
        {" \t\r\n", nullptr, true, false, ""},       {"xxx", "x", false, true, ""},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, StdStringUtil::Trim(c.text, c.set, c.left, c.right)) << "'" << c.text << "'";
}
TEST(StdStringUtilTest, SplitStringSplitsAtAnySeparatorUpToALimit)
{
    struct Case {
        char const* text;
        char const* separators;
        bool keepEmpty;
        int maxSplits;
        std::vector<std::string> expected;
    };
    Case const cases[] = {
        {"a.b.c", ".", false, -1, {"a", "b", "c"}},
        {".a..b.", ".", false, -1, {"a", "b"}},
        {"a/b.c", "/.", false, -1, {"a", "b", "c"}},
        {"a.b", "", false, -1, {"a.b"}},
        {"", ".", false, -1, {}},
        {"...", ".", false, -1, {}},
        {"a,,b", ",", true, -1, {"a", "", "b"}},
        {",a,", ",", true, -1, {"", "a", ""}},
        {"a,,b", ",", false, -5, {"a", "b"}},
        {"a.b.c", ".", false, 1, {"a", "b.c"}},
        {"a.b.c", ".", false, 0, {"a", "b.c"}},
        {"a.b.c", ".", false, 2, {"a", "b", "c"}},
        {"a.b.c.d", ".", false, 2, {"a", "b", "c.d"}},
        {"a.b.c", ".", false, 9, {"a", "b", "c"}},
        // Dropped empty tokens do not count; the rest is kept verbatim unless empty; kept empty tokens count.
        {"..a.b.c", ".", false, 1, {"a", "b.c"}},
        {"a..b", ".", false, 1, {"a", ".b"}},
        {"a.", ".", false, 1, {"a"}},
        {"a.b.", ".", false, 2, {"a", "b"}},
        {".a.b", ".", true, 1, {"", "a.b"}},
        {"a..b.c", ".", true, 2, {"a", "", "b.c"}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, StdStringUtil::SplitString(c.text, c.separators, c.keepEmpty, c.maxSplits))
            << "'" << c.text << "' limit " << c.maxSplits;
}
TEST(QdxUtilVersionTest, PartsPackSixteenBitsEachAndTextRoundTrips)
{
    EXPECT_EQ(0x0001000200030004ULL, QdxUtil::GetVersionFromParts(1, 0x10002, 3, 4));
    EXPECT_EQ(0x0002000000000000ULL, QdxUtil::GetVersionFromParts(0x10002, 0, 0, 0));
    EXPECT_EQ("65535.0.0.1", QdxUtil::GetVersionStringFromVersion(0xFFFF000000000001ULL));
    EXPECT_EQ("5.5.34.5", QdxUtil::GetVersionStringFromVersion(QdxUtil::GetVersionFromString("5.5.34.5 Mar  1 2025")));
    struct Case {
        char const* text;
        unsigned long long version;
    };
    Case const cases[] = {
        {",v 1.2.3.4 Jan  1 2025 00:00:00 y $", 0x0001000200030004ULL},
        {"2.1", 0x0002000100000000ULL},
        {"1..2", 0x0001000000000000ULL},
        {"x3", 0x0003000000000000ULL},
        {"1,2 3.4.5", 0x0001000200030004ULL},
        {"no digits", 0},
        {"", 0},
        {"0.65536", 0x0001000000000000ULL},  // an oversized field spills upward
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.version, QdxUtil::GetVersionFromString(c.text)) << c.text;
}
