#include "JsonValue.h"
#include "QdxString.h"
#include "values/JsonValueAccess.h"
#include "values/JsonValueConversion.h"
#include "values/RapidJson.h"
#include <gtest/gtest.h>
#include <limits>
#include <string>
using namespace Norvane::QDXDesktopSDK;
namespace {
std::string Text(QdxString const& text)
{
    return text.c_str() == nullptr ? "<null>" : text.c_str();
}
std::string Json(JsonValue const& value)
{
    return Text(value.GetJsonString());
}
JsonValue Parsed(std::string const& text)
{
    JsonValue value;
    EXPECT_TRUE(value.FromJsonString(QdxString(text.c_str()))) << text;
    return value;
}
struct Case {
    char const* text;
    char const* expected;
};
}  // namespace

TEST(JsonTextTest, NumbersAreIntegersWhenIntegralAndInRangeAndNonFiniteIsNull)
{
    double const inf = std::numeric_limits<double>::infinity();
    struct NumberCase {
        double number;
        char const* expected;
    };
    NumberCase const cases[] = {{2.5, "2.5"},
                                {3.0, "3"},
                                {-0.0, "0"},
                                {2.0 / 3.0, "0.6666666666666666"},
                                {1e-7, "1e-7"},
                                {5e-324, "5e-324"},
                                {1e18, "1000000000000000000"},
                                {-0x1p63, "-9223372036854775808"},
                                {0x1p63, "9223372036854776000.0"},
                                {1e21, "1e21"},
                                {1.7976931348623157e308, "1.7976931348623157e308"},
                                {std::numeric_limits<double>::quiet_NaN(), "null"},
                                {inf, "null"},
                                {-inf, "null"}};
    for (NumberCase const& c : cases)
        EXPECT_EQ(c.expected, Json(JsonValue(c.number))) << c.expected;
    EXPECT_EQ("<null>", Json(JsonValue()));
}

TEST(JsonTextTest, ParsedNumbersKeepTheirValueAndOutOfRangeTextFails)
{
    struct {
        char const* text;
        double number;
    } const cases[] = {{"-5", -5.0},
                       {"-0", 0.0},
                       {"18446744073709551615", 18446744073709551615.0},
                       {"18446744073709551616", 0x1p64},
                       {"-9223372036854775808", -0x1p63},
                       {"-9223372036854775809", -0x1p63},
                       {"1e-400", 0.0},
                       {"2.5e3", 2500.0}};
    for (auto const& c : cases) {
        JsonValue const parsed = Parsed(std::string("[") + c.text + "]");
        EXPECT_EQ(c.number, static_cast<double>(parsed[0])) << c.text;
    }
    JsonValue value;
    EXPECT_FALSE(value.FromJsonString(QdxString("[1e400]")));  // no finite double holds it
    EXPECT_FALSE(value.FromJsonString(QdxString("[-1e400]")));
}
TEST(JsonTextTest, StringsEscapeControlAndNonAsciiButWriteInvalidUtf8Raw)
{
    Case const cases[] = {
        {"", "\"\""},
        {"plain /", "\"plain /\""},
        {"\"\\", "\"\\\"\\\\\""},
        {"\n\t\r\b\f", "\"\\n\\t\\r\\b\\f\""},
        {"\x01\x1F", "\"\\u0001\\u001F\""},
        {"\xE2\x82\xAC", "\"\\u20AC\""},
        {"\xF0\x9F\x98\x80", "\"\\uD83D\\uDE00\""},
        {"a\xFFz", "\"a\xFFz\""},
        {"\xC3\xA9\xC3", "\"\\u00E9\xC3\""},
        {"ab\xE2\x82", "\"ab\xE2\x82\""},
        {"\xC0\xAF", "\"\xC0\xAF\""},
        {"\xFF\n\xC3\xA9", "\"\xFF\\n\\u00E9\""},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(c.expected, Json(JsonValue(c.text)));
        EXPECT_EQ(0, JsonValue(c.text).Compare(Parsed(c.expected))) << c.expected;
    }
    JsonValue keyed;
    keyed["\xC3\xA9\n"] = "v", keyed["k\xFF"] = 1;
    EXPECT_EQ("{\n    \"k\xFF\": 1,\n    \"\\u00E9\\n\": \"v\"\n}", Json(keyed));
    EXPECT_TRUE(Parsed(Json(keyed)).HasKey(QdxString("k\xFF")));
}
TEST(JsonTextTest, ValidTextParsesAndWritesBackPrettyWithFourSpaces)
{
    Case const cases[] = {
        {"null", "null"},
        {" \t\r\n42 \r\n", "42"},
        {"-0", "0"},
        {"1.0", "1"},
        {"18446744073709551615", "18446744073709553000.0"},
        {"\"\\u00e9\\/\"", "\"\\u00E9/\""},
        {"\"\\uD83D\\uDE00\"", "\"\\uD83D\\uDE00\""},
        {"[1,[],{}]", "[\n    1,\n    {},\n    {}\n]"},
        {"{\"b\":1,\"a\":[true,null]}", "{\n    \"a\": [\n        true,\n        null\n    ],\n    \"b\": 1\n}"},
        {"[[1],{\"k\":null}]", "[\n    [\n        1\n    ],\n    {\n        \"k\": null\n    }\n]"},
        {"{\"a\": 1, \"a\": 2, \"k\\u0000z\": 3}", "{\n    \"a\": 2,\n    \"k\": 3\n}"},
        {"\"a\\u0000b\"", "\"a\""},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, Json(Parsed(c.text))) << c.text;
    JsonValue const list = Parsed("[null, {\"a\": null}]");
    EXPECT_EQ(nullptr, static_cast<QdxString>(list[0]).c_str());
    EXPECT_EQ(nullptr, static_cast<QdxString>(list[1]["a"]).c_str());
}
TEST(JsonTextTest, FailedParseLeavesJsonNullAndEmptyTextTheNullHandle)
{
    for (char const* text : {"  ",  "{}x",     "{",        "[1,]",  "{\"a\":1,}",  "// c\n1",   "NaN",   "Infinity",
                             "'a'", "{a:1}",   "[1 2]",    "01",    "1 2",         "tru",       "\"abc", "-",
                             "1e",  "\"\\x\"", "\"a\tb\"", "1e400", "\"\\uD800\"", "{\"a\" 1}", "[1]]"}) {
        JsonValue v;
        v["old"] = 1;
        EXPECT_FALSE(v.FromJsonString(QdxString(text))) << text;
        EXPECT_EQ("null", Json(v)) << text;
        EXPECT_FALSE(v.HasKey(QdxString("old"))) << text;
    }
    for (QdxString const& empty : {QdxString(""), QdxString()}) {
        JsonValue v(5);
        EXPECT_FALSE(v.FromJsonString(empty));
        EXPECT_EQ("<null>", Json(v));
    }
}
TEST(JsonTextTest, NestingBeyond512LevelsIsRejected)
{
    auto nested = [](int depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    std::string objects = "1" + std::string(513, '}');
    for (int i = 0; i < 513; ++i)
        objects.insert(0, "{\"a\":");
    JsonValue v;
    EXPECT_TRUE(v.FromJsonString(QdxString(nested(512).c_str())));
    for (std::string const& text : {nested(513), objects, nested(200000)}) {
        EXPECT_FALSE(v.FromJsonString(QdxString(text.c_str())));
        EXPECT_EQ("null", Json(v));
    }
}
TEST(JsonTextTest, TextAndDocumentConversionsAgreeAndRoundTrip)
{
    char const text[] = R"({"b": 1, "a": [true, null, "x\u00e9", -12.625, 1e-300, {}, []], "n": {"k": "v"}})";
    JsonValue const value = Parsed(text);
    EXPECT_EQ(0, value.Compare(Parsed(Json(value))));
    JsonDocument document;
    JsonValueConversion::GetJsonData(&document.GetAllocator(), &document, JsonValueAccess::Impl(value));
    JsonTextBuffer buffer;
    JsonPrettyWriter writer(buffer);
    ASSERT_TRUE(document.Accept(writer));
    EXPECT_EQ(Json(value), buffer.GetString());
    JsonValueImpl rebuilt;
    JsonValueConversion::FromJsonData(rebuilt, &document);
    EXPECT_EQ(0, rebuilt.Compare(*JsonValueAccess::Impl(value)));
    JsonValue handle("old");
    JsonValueConversion::UpdateFromJsonData(handle, &JsonDocumentValue().Move());
    EXPECT_EQ("<null>", Json(handle));
    JsonValueImpl impl;
    impl.m_members["stale"] = 1;
    EXPECT_TRUE(JsonValueConversion::FromString(" [1, 2] ", impl));
    EXPECT_TRUE(impl.m_members.empty());
    EXPECT_EQ("[\n    1,\n    2\n]", impl.GetJsonString());
    EXPECT_FALSE(JsonValueConversion::FromString("[1,", impl));
    EXPECT_EQ(int(JsonValueImpl::TypeNull), impl.m_type);
}
