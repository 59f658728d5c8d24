#include "support/StdStringUtil.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Norvane::QDXDesktopSDK::StdStringUtil;

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
        {"  a b \n", nullptr, true, true, "a b"},
        {"  a b \n", nullptr, true, false, "a b \n"},
        {"  a b \n", nullptr, false, true, "  a b"},
        {"  a b \n", nullptr, false, false, "  a b \n"},
        {"  a b \n", "", true, true, "a b"},
        {"\r\n\t x\t \r\n", nullptr, true, true, "x"},
        {"a  b", nullptr, true, true, "a  b"},
        {"xyhiyx", "xy", true, true, "hi"},
        {" hi ", "x", true, true, " hi "},
        {"", nullptr, true, true, ""},
        {" \t\r\n", nullptr, true, true, ""},
        {" \t\r\n", nullptr, true, false, ""},
        {"xxx", "x", false, true, ""},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, StdStringUtil::Trim(c.text, c.set, c.left, c.right))
            << "'" << c.text << "' left " << c.left << " right " << c.right;
}

TEST(StdStringUtilTest, SplitStringSplitsAtAnySeparator)
{
    using Tokens = std::vector<std::string>;
    struct Case {
        char const* text;
        char const* separators;
        bool keepEmpty;
        int maxSplits;
        Tokens expected;
    };
    Case const cases[] = {
        {"a.b.c", ".", false, -1, {"a", "b", "c"}},
        {".a..b.", ".", false, -1, {"a", "b"}},
        {"a/b.c", "/.", false, -1, {"a", "b", "c"}},
        {"abc", ".", false, -1, {"abc"}},
        {"a.b", "", false, -1, {"a.b"}},
        {"", ".", false, -1, {}},
        {"...", ".", false, -1, {}},
        {"a,,b", ",", true, -1, {"a", "", "b"}},
        {",a,", ",", true, -1, {"", "a", ""}},
        {"a,,b", ",", false, -5, {"a", "b"}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, StdStringUtil::SplitString(c.text, c.separators, c.keepEmpty, c.maxSplits))
            << "'" << c.text << "' by '" << c.separators << "'";
}

TEST(StdStringUtilTest, SplitStringLimitKeepsTheRestAsOneToken)
{
    using Tokens = std::vector<std::string>;
    struct Case {
        char const* text;
        bool keepEmpty;
        int maxSplits;
        Tokens expected;
    };
    Case const cases[] = {
        {"a.b.c", false, 1, {"a", "b.c"}},
        {"a.b.c", false, 0, {"a", "b.c"}},
        {"a.b.c", false, 2, {"a", "b", "c"}},
        {"a.b.c.d", false, 2, {"a", "b", "c.d"}},
        {"a.b.c", false, 3, {"a", "b", "c"}},
        {"a.b.c", false, 9, {"a", "b", "c"}},
        {"abc", false, 0, {"abc"}},
        // Empty tokens that are dropped do not count toward the limit.
        {"..a.b.c", false, 1, {"a", "b.c"}},
        // The rest is taken as it is, separators included, but only when it is not empty.
        {"a..b", false, 1, {"a", ".b"}},
        {"a.", false, 1, {"a"}},
        {"a.b.", false, 2, {"a", "b"}},
        // Kept empty tokens count.
        {".a.b", true, 1, {"", "a.b"}},
        {"a..b.c", true, 2, {"a", "", "b.c"}},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, StdStringUtil::SplitString(c.text, ".", c.keepEmpty, c.maxSplits))
            << "'" << c.text << "' limit " << c.maxSplits << (c.keepEmpty ? " keeping empty" : "");
}
