#include "QdxString.h"
#include "QdxStringImpl.h"

#include <gtest/gtest.h>

#include <limits>
#include <locale>
#include <string>
#include <utility>

using Norvane::QDXDesktopSDK::QdxString;
using Norvane::QDXDesktopSDK::QdxStringImpl;

namespace {

// The text of a string, with a marker for the null string so that null and "" stay distinguishable.
std::string Text(QdxString const& s)
{
    return s.c_str() == nullptr ? std::string("<null>") : std::string(s.c_str());
}

} // namespace

TEST(QdxStringTest, NullAndEmptyAreDifferentStatesThatCompareEqual)
{
    QdxString s;
    EXPECT_EQ(nullptr, s.c_str());
    EXPECT_EQ(nullptr, s.c_strw());
    EXPECT_EQ(0u, s.size());
    EXPECT_EQ(0, s[0]);
    EXPECT_TRUE(s == QdxString(""));
    s.SetString("x");
    EXPECT_STREQ("x", s.c_str());
    s.SetString(nullptr);
    EXPECT_EQ(nullptr, s.c_str());
    s.SetString("");
    ASSERT_NE(nullptr, s.c_str());
    EXPECT_STREQ("", s.c_str());
    EXPECT_EQ(0u, s.size());
}

TEST(QdxStringTest, CopiesKeepNullAndEmptyApartAndMovesLeaveNull)
{
    QdxString const null;
    QdxString const empty("");
    EXPECT_EQ("<null>", Text(QdxString(null)));
    EXPECT_EQ("", Text(QdxString(empty)));

    QdxString original("abc");
    QdxString copy(original);
    original.SetString("xyz");
    EXPECT_EQ("abc", Text(copy));

    QdxString assigned("old");
    assigned = null;
    EXPECT_EQ("<null>", Text(assigned));
    assigned = original;
    EXPECT_EQ("xyz", Text(assigned));

    QdxString moved(std::move(assigned));
    EXPECT_EQ("xyz", Text(moved));
    EXPECT_EQ(nullptr, assigned.c_str());
    copy = std::move(moved);
    EXPECT_EQ("xyz", Text(copy));
    EXPECT_EQ(nullptr, moved.c_str());
}

TEST(QdxStringTest, IndexReturnsUnsignedBytesAndZeroPastTheEnd)
{
    QdxString const s("a\xC3\xA9");
    EXPECT_EQ(3u, s.size());
    EXPECT_EQ('a', s[0]);
    EXPECT_EQ(0xC3, s[1]);
    EXPECT_EQ(0xA9, s[2]);
    for (int index : {3, 4, 1000})
        EXPECT_EQ(0, s[index]);
}

TEST(QdxStringTest, CompareIsBytewiseWithShorterPrefixFirst)
{
    struct Case {
        char const* left;
        char const* right;
        int sign;
    };
    Case const cases[] = {
        {"ab", "abc", -1}, {"b", "abc", 1},  {"abc", "abc", 0},     {"", "a", -1},      {"\xFF", "a", 1},
        {nullptr, "", 0},  {"", nullptr, 0}, {nullptr, nullptr, 0}, {nullptr, "a", -1}, {"a", nullptr, 1},
    };
    for (Case const& c : cases) {
        QdxString const left(c.left);
        QdxString const right(c.right);
        int const result = left.compare(right);
        int const sign = (result > 0) - (result < 0);
        EXPECT_EQ(c.sign, sign) << Text(left) << " vs " << Text(right);
        EXPECT_EQ(c.sign == 0, left == right);
        EXPECT_EQ(c.sign != 0, left != right);
        EXPECT_EQ(c.sign < 0, left < right);
    }
    QdxString const same("q");
    EXPECT_EQ(0, same.compare(same));
}

TEST(QdxStringTest, TrimUsesWhitespaceForNullOrEmptySetAndNeverReturnsNull)
{
    QdxString const text("  a b \n");
    EXPECT_EQ("a b \n", Text(text.Trim(QdxString(), true, false)));
    EXPECT_EQ("  a b", Text(text.Trim(QdxString(), false, true)));
    EXPECT_EQ("a b", Text(text.Trim(QdxString(""), true, true)));
    EXPECT_EQ("  a b \n", Text(text.Trim(QdxString(), false, false)));
    EXPECT_EQ("hi", Text(QdxString("xyhixx").Trim(QdxString("xy"), true, true)));
    EXPECT_EQ(" x ", Text(QdxString(" x ").Trim(QdxString("x"), true, true)));
    EXPECT_EQ("", Text(QdxString(" \t\r\n").Trim(QdxString(), true, true)));
    EXPECT_EQ("", Text(QdxString().Trim(QdxString(), true, true)));
}

TEST(QdxStringTest, AppendAndPlusTreatNullAsEmpty)
{
    QdxString s("ab");
    s.append(QdxString("cd"));
    EXPECT_EQ("abcd", Text(s));
    s.append(s);
    EXPECT_EQ("abcdabcd", Text(s));

    QdxString null;
    null.append(QdxString());
    EXPECT_EQ("", Text(null));

    EXPECT_EQ("", Text(QdxString() + QdxString()));
    EXPECT_EQ("a", Text(QdxString("a") + QdxString()));
    EXPECT_EQ("b", Text(QdxString() + QdxString("b")));
    EXPECT_EQ("a\xC3\xA9z", Text(QdxString("a\xC3\xA9") + QdxString("z")));
}

TEST(QdxStringTest, NumberConstructorUsesDefaultStreamFormatting)
{
    struct Case {
        double number;
        char const* expected;
    };
    Case const cases[] = {
        {1.0 / 3.0, "0.333333"},
        {-0.0, "-0"},
        {3.14159265, "3.14159"},
        {1e7, "1e+07"},
        {1234567.0, "1.23457e+06"},
        {0.5, "0.5"},
        {2.0, "2"},
        {1e-5, "1e-05"},
        {std::numeric_limits<double>::infinity(), "inf"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, Text(QdxString(c.number))) << c.expected;
}

TEST(QdxStringTest, NumberTextIgnoresTheApplicationsLocale)
{
    struct CommaDecimals : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale const previous = std::locale::global(std::locale(std::locale::classic(), new CommaDecimals));
    std::string const half = Text(QdxString(0.5));
    std::string const thousands = Text(QdxString(123456.0));
    std::locale::global(previous);
    EXPECT_EQ("0.5", half);
    EXPECT_EQ("123456", thousands);
}

TEST(QdxStringTest, WideViewConvertsUtf8AndIsEmptyForInvalidText)
{
    QdxString const s("h\xC3\xA9llo \xF0\x9F\x98\x80");
    ASSERT_NE(nullptr, s.c_strw());
    EXPECT_EQ(std::wstring(L"h\u00E9llo \U0001F600"), s.c_strw());

    QdxString const empty("");
    ASSERT_NE(nullptr, empty.c_strw());
    EXPECT_EQ(std::wstring(), empty.c_strw());

    QdxString const invalid("ok\xC3\x28");
    ASSERT_NE(nullptr, invalid.c_strw());
    EXPECT_EQ(std::wstring(), invalid.c_strw());
}

TEST(QdxStringTest, WideViewFollowsChangesOfTheText)
{
    QdxString s("abc");
    EXPECT_EQ(std::wstring(L"abc"), s.c_strw());
    s.SetString("xyz");
    EXPECT_EQ(std::wstring(L"xyz"), s.c_strw());
    s = QdxString("\xC3\xA9");
    EXPECT_EQ(std::wstring(L"\u00E9"), s.c_strw());
}

TEST(QdxStringTest, SetStringWConvertsToUtf8)
{
    QdxString s;
    s.SetStringW(L"h\u00E9 \U0001F600");
    EXPECT_EQ("h\xC3\xA9 \xF0\x9F\x98\x80", Text(s));
    EXPECT_EQ(std::wstring(L"h\u00E9 \U0001F600"), s.c_strw());

    s.SetStringW(L"");
    EXPECT_EQ("", Text(s));
    s.SetStringW(nullptr);
    EXPECT_EQ("<null>", Text(s));

    // A lone surrogate has no UTF-8 form: the string becomes empty, not null.
    wchar_t const lone[] = {L'a', static_cast<wchar_t>(0xD800), L'b', 0};
    s.SetString("previous");
    s.SetStringW(lone);
    EXPECT_EQ("", Text(s));
}

TEST(QdxStringImplTest, NullTextIsEmptyAndWideCopyFollowsChanges)
{
    QdxStringImpl impl(nullptr);
    ASSERT_NE(nullptr, impl.GetString());
    EXPECT_STREQ("", impl.GetString());
    EXPECT_TRUE(impl.GetStringW().empty());
    impl.SetString("\xC3\xA9xy");
    EXPECT_EQ(4u, impl.size());
    EXPECT_EQ(std::wstring(L"\u00E9xy"), impl.GetStringW());
}
