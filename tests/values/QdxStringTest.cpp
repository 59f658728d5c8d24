#include "QdxString.h"
#include "values/QdxStringImpl.h"
#include <gtest/gtest.h>
#include <limits>
#include <locale>
#include <string>
#include <utility>
using Norvane::QDXDesktopSDK::QdxString;
using Norvane::QDXDesktopSDK::QdxStringImpl;
namespace {
std::string Text(QdxString const& s)
{
    return s.c_str() == nullptr ? "<null>" : s.c_str();
}
}  // namespace

TEST(QdxStringTest, NullAndEmptyStayDistinctThroughSetCopyAndMove)
{
    QdxString s;
    EXPECT_EQ(nullptr, s.c_strw());
    EXPECT_EQ(0, s[0]);
    QdxString const bytes("a\xC3\xA9");
    EXPECT_EQ(0xC3, bytes[1]);
    EXPECT_EQ(0, bytes[3]);
    EXPECT_EQ(0, bytes[1000]);
    s.SetString("");
    EXPECT_EQ("", Text(s));
    s.SetString(nullptr);
    EXPECT_EQ("<null>", Text(s));
    QdxString original("abc");
    QdxString copy(original);
    original.SetString("xyz");
    EXPECT_EQ("abc", Text(copy));
    QdxString const null;
    copy = null;
    EXPECT_EQ("<null>", Text(copy));
    QdxString moved(std::move(original));
    EXPECT_EQ(nullptr, original.c_str());
    copy = std::move(moved);
    EXPECT_EQ("xyz", Text(copy));
    EXPECT_EQ(nullptr, moved.c_str());
}
TEST(QdxStringTest, CompareIsBytewiseWithShorterPrefixFirstAndNullAsEmpty)
{
    struct Case {
        char const* left;
        char const* right;
        int sign;
    };
    Case const cases[] = {{"ab", "abc", -1},  {"b", "abc", 1},  {"abc", "abc", 0}, {"", "a", -1},
                          {"\xFF", "a", 1},   {nullptr, "", 0}, {"", nullptr, 0},  {nullptr, nullptr, 0},
                          {nullptr, "a", -1}, {"a", nullptr, 1}};
    for (Case const& c : cases) {
        QdxString const left(c.left), right(c.right);
        int const result = left.compare(right);
        EXPECT_EQ(c.sign, (result > 0) - (result < 0)) << Text(left) << " vs " << Text(right);
        EXPECT_EQ(c.sign == 0, left == right);
        EXPECT_EQ(c.sign < 0, left < right);
    }
}
TEST(QdxStringTest, TrimAndAppendTreatNullAsEmptyAndNeverReturnNull)
{
    EXPECT_EQ("a b \n", Text(QdxString("  a b \n").Trim(QdxString(), true, false)));
    EXPECT_EQ("  a b", Text(QdxString("  a b \n").Trim(QdxString(""), false, true)));
    EXPECT_EQ("", Text(QdxString().Trim(QdxString(), true, true)));
    QdxString s("ab");
    s.append(s);
    EXPECT_EQ("abab", Text(s));
    QdxString null;
    null.append(QdxString());
    EXPECT_EQ("", Text(null));
    EXPECT_EQ("", Text(QdxString() + QdxString()));
    EXPECT_EQ("b", Text(QdxString() + QdxString("b")));
}
TEST(QdxStringTest, NumberTextUsesDefaultStreamFormattingWhateverTheLocale)
{
    struct Case {
        double number;
        char const* expected;
    };
    Case const cases[] = {{1.0 / 3.0, "0.333333"},
                          {-0.0, "-0"},
                          {1e7, "1e+07"},
                          {1234567.0, "1.23457e+06"},
                          {2.0, "2"},
                          {1e-5, "1e-05"},
                          {std::numeric_limits<double>::infinity(), "inf"}};
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, Text(QdxString(c.number)));
    struct CommaDecimals : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::locale const previous = std::locale::global(std::locale(std::locale::classic(), new CommaDecimals));
    std::string const half = Text(QdxString(0.5)), thousands = Text(QdxString(123456.0));
    std::locale::global(previous);
    EXPECT_EQ("0.5", half);
    EXPECT_EQ("123456", thousands);
}
TEST(QdxStringTest, WideTextConvertsBothWaysAndIsEmptyWhenInvalid)
{
    QdxString s("ok\xC3\x28");
    ASSERT_NE(nullptr, s.c_strw());
    EXPECT_EQ(std::wstring(), s.c_strw());
    s.SetString("h\xC3\xA9llo \xF0\x9F\x98\x80");
    EXPECT_EQ(std::wstring(L"h\u00E9llo \U0001F600"), s.c_strw());
    s.SetStringW(L"h\u00E9 \U0001F600");
    EXPECT_EQ("h\xC3\xA9 \xF0\x9F\x98\x80", Text(s));
    s.SetStringW(L"");
    EXPECT_EQ("", Text(s));
    s.SetStringW(nullptr);
    EXPECT_EQ("<null>", Text(s));
    wchar_t const lone[] = {L'a', static_cast<wchar_t>(0xD800), L'b', 0};
    s.SetStringW(lone);
    EXPECT_EQ("", Text(s));
    QdxStringImpl impl(nullptr);
    EXPECT_STREQ("", impl.GetString());
}
