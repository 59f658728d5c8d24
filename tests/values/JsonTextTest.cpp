#include "JsonValue.h"
#include "JsonValueConversion.h"
#include "JsonValueImpl.h"
#include "QdxString.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using Norvane::QDXDesktopSDK::JsonValue;
using Norvane::QDXDesktopSDK::JsonValueImpl;
using Norvane::QDXDesktopSDK::QdxString;
namespace JsonValueConversion = Norvane::QDXDesktopSDK::JsonValueConversion;

namespace {

// The JSON text of a value; "<null>" for the null handle.
std::string Json(JsonValue const& value)
{
    QdxString const text = value.GetJsonString();
    return text.c_str() == nullptr ? std::string("<null>") : std::string(text.c_str());
}

std::string Text(JsonValue const& value)
{
    QdxString const text = value;
    return text.c_str() == nullptr ? std::string("<null>") : std::string(text.c_str());
}

JsonValue Parsed(std::string const& text)
{
    JsonValue value;
    EXPECT_TRUE(value.FromJsonString(QdxString(text.c_str()))) << text;
    return value;
}

std::string Nested(char open, char close, int depth)
{
    return std::string(static_cast<std::size_t>(depth), open) + std::string(static_cast<std::size_t>(depth), close);
}

} // namespace

TEST(JsonTextTest, NullHandleHasNoText)
{
    EXPECT_EQ("<null>", Json(JsonValue()));
}

TEST(JsonTextTest, ObjectsArePrettyPrintedInKeyOrder)
{
    JsonValue v;
    v["b"] = 1;
    v["a"][-1] = true;
    v["a"][-1];
    v["a"][-1] = "x";
    EXPECT_EQ("{\n    \"a\": [\n        true,\n        null,\n        \"x\"\n    ],\n    \"b\": 1\n}", Json(v));

    JsonValue nested;
    nested[-1][-1] = 1;
    nested[-1]["k"] = JsonValue();
    EXPECT_EQ("[\n    [\n        1\n    ],\n    {\n        \"k\": null\n    }\n]", Json(nested));

    JsonValue withEmpty;
    withEmpty["e"] = Parsed("{}");
    withEmpty["f"] = Parsed("[]");
    EXPECT_EQ("{\n    \"e\": {},\n    \"f\": {}\n}", Json(withEmpty));
}

TEST(JsonTextTest, NumbersWriteAsIntegersWhenIntegralAndInRange)
{
    struct Case {
        double number;
        char const* expected;
    };
    double const inf = std::numeric_limits<double>::infinity();
    Case const cases[] = {
        {2.5, "2.5"},
        {3.0, "3"},
        {-0.0, "0"},
        {0.1, "0.1"},
        {2.0 / 3.0, "0.6666666666666666"},
        {1e-7, "1e-7"},
        {5e-324, "5e-324"},
        {1e18, "1000000000000000000"},
        {-9223372036854775808.0, "-9223372036854775808"},
        // Beyond the signed 64-bit range an integral double is still written as a double.
        {9223372036854775808.0, "9223372036854776000.0"},
        {1e19, "10000000000000000000.0"},
        {1e21, "1e21"},
        {1e300, "1e300"},
        {1.7976931348623157e308, "1.7976931348623157e308"},
        // Numbers without a JSON form are written as null.
        {std::numeric_limits<double>::quiet_NaN(), "null"},
        {inf, "null"},
        {-inf, "null"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, Json(JsonValue(c.number))) << c.expected;

    EXPECT_EQ("9007199254740992", Json(JsonValue(9007199254740993ULL)));
    EXPECT_EQ("true", Json(JsonValue(true)));
    EXPECT_EQ("false", Json(JsonValue(false)));

    JsonValue list;
    list[-1] = std::numeric_limits<double>::quiet_NaN();
    list[-1] = 1;
    EXPECT_EQ("[\n    null,\n    1\n]", Json(list));
}

TEST(JsonTextTest, StringsEscapeControlAndNonAsciiCharacters)
{
    struct Case {
        char const* text;
        char const* expected;
    };
    Case const cases[] = {
        {"", "\"\""},
        {"plain /", "\"plain /\""},
        {"\"\\", "\"\\\"\\\\\""},
        {"\n\t\r\b\f", "\"\\n\\t\\r\\b\\f\""},
        {"\x01\x1F", "\"\\u0001\\u001F\""},
        {"\xC3\xA9", "\"\\u00E9\""},
        {"\xE2\x82\xAC", "\"\\u20AC\""},
        {"\xF0\x9F\x98\x80", "\"\\uD83D\\uDE00\""},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, Json(JsonValue(c.text))) << c.expected;

    JsonValue keyed;
    keyed["\xC3\xA9\n"] = "v";
    EXPECT_EQ("{\n    \"\\u00E9\\n\": \"v\"\n}", Json(keyed));
}

TEST(JsonTextTest, InvalidUtf8BytesPassThroughAndReadBack)
{
    struct Case {
        char const* text;
        char const* expected;
    };
    Case const cases[] = {
        {"a\xFFz", "\"a\xFFz\""},         {"\xC3\xA9\xC3", "\"\\u00E9\xC3\""}, {"x\xE9y", "\"x\xE9y\""},
        {"ab\xE2\x82", "\"ab\xE2\x82\""}, {"\xC0\xAF", "\"\xC0\xAF\""},        {"\xFF\n\xC3\xA9", "\"\xFF\\n\\u00E9\""},
    };
    for (Case const& c : cases) {
        JsonValue const original(c.text);
        std::string const json = Json(original);
        EXPECT_EQ(c.expected, json);
        JsonValue const back = Parsed(json);
        EXPECT_EQ(std::string(c.text), Text(back));
    }

    JsonValue keyed;
    keyed["k\xFF"] = 1;
    std::string const json = Json(keyed);
    EXPECT_EQ("{\n    \"k\xFF\": 1\n}", json);
    EXPECT_TRUE(Parsed(json).HasKey(QdxString("k\xFF")));
}

TEST(JsonTextTest, ValidTextParsesAndWritesBackPretty)
{
    struct Case {
        char const* text;
        char const* expected;
    };
    Case const cases[] = {
        {"true", "true"},
        {"null", "null"},
        {" \t\r\n42 \r\n", "42"},
        {"-0", "0"},
        {"1.0", "1"},
        {"123456789012", "123456789012"},
        {"-9223372036854775808", "-9223372036854775808"},
        {"18446744073709551615", "18446744073709553000.0"},
        {"\"\\u00e9\\/\"", "\"\\u00E9/\""},
        {"\"\xC3\xA9\"", "\"\\u00E9\""},
        {"\"\\uD83D\\uDE00\"", "\"\\uD83D\\uDE00\""},
        {"{}", "{}"},
        {"[1,[],{}]", "[\n    1,\n    {},\n    {}\n]"},
        {"{\"b\":1,\"a\":[null]}", "{\n    \"a\": [\n        null\n    ],\n    \"b\": 1\n}"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, Json(Parsed(c.text))) << c.text;
}

TEST(JsonTextTest, EmptyArrayReadsBackAsEmptyObject)
{
    JsonValue const v = Parsed("[]");
    EXPECT_FALSE(v.IsArray());
    EXPECT_EQ(0, v.GetCount());
    EXPECT_EQ("{}", Json(v));
}

TEST(JsonTextTest, NullMembersAndElementsBecomeNullHandles)
{
    JsonValue const list = Parsed("[null, 1]");
    ASSERT_EQ(2, list.GetCount());
    EXPECT_EQ("<null>", Text(list[0]));
    EXPECT_EQ(1, static_cast<int>(list[1]));

    JsonValue const object = Parsed("{\"a\": null}");
    EXPECT_TRUE(object.HasKey(QdxString("a")));
    EXPECT_EQ("<null>", Text(object["a"]));
}

TEST(JsonTextTest, DuplicateKeysKeepTheLaterValueAndTextEndsAtAnEscapedZero)
{
    JsonValue const v = Parsed("{\"a\": 1, \"a\": 2, \"k\\u0000z\": 3}");
    EXPECT_EQ(2, v.GetCount());
    EXPECT_EQ(2, static_cast<int>(v["a"]));
    EXPECT_EQ(3, static_cast<int>(v["k"]));
    EXPECT_EQ("a", Text(Parsed("\"a\\u0000b\"")));
}

TEST(JsonTextTest, InvalidTextFailsAndReadsAsJsonNull)
{
    char const* const texts[] = {
        "  ",  "{}x",     "{",        "[1,]",  "{\"a\":1,}",  "// c\n1",   "NaN",   "Infinity",
        "'a'", "{a:1}",   "[1 2]",    "01",    "1 2",         "tru",       "\"abc", "-",
        "1e",  "\"\\x\"", "\"a\tb\"", "1e400", "\"\\uD800\"", "{\"a\" 1}", "[1]]",
    };
    for (char const* text : texts) {
        JsonValue v;
        v["old"] = 1;
        EXPECT_FALSE(v.FromJsonString(QdxString(text))) << text;
        EXPECT_EQ("null", Json(v)) << text;
        EXPECT_FALSE(v.HasKey(QdxString("old"))) << text;
        EXPECT_EQ(0, v.GetCount()) << text;
    }
}

TEST(JsonTextTest, EmptyTextFailsAndLeavesNullHandle)
{
    JsonValue v(5);
    EXPECT_FALSE(v.FromJsonString(QdxString("")));
    EXPECT_EQ("<null>", Json(v));
    v = 5;
    EXPECT_FALSE(v.FromJsonString(QdxString()));
    EXPECT_EQ("<null>", Json(v));
}

TEST(JsonTextTest, NestingBeyond512LevelsIsRejected)
{
    JsonValue v;
    EXPECT_TRUE(v.FromJsonString(QdxString(Nested('[', ']', 512).c_str())));
    EXPECT_FALSE(v.FromJsonString(QdxString(Nested('[', ']', 513).c_str())));
    EXPECT_EQ("null", Json(v));

    std::string objects;
    for (int i = 0; i < 513; ++i)
        objects += "{\"a\":";
    objects += "1" + std::string(513, '}');
    EXPECT_FALSE(v.FromJsonString(QdxString(objects.c_str())));
    EXPECT_EQ("null", Json(v));

    EXPECT_FALSE(v.FromJsonString(QdxString(Nested('[', ']', 200000).c_str())));
    EXPECT_EQ("null", Json(v));
}

TEST(JsonTextTest, RoundTripKeepsTheTree)
{
    JsonValue v;
    v["name"] = "caf\xC3\xA9 \xF0\x9F\x98\x80";
    v["n"] = -12.625;
    v["flags"][-1] = true;
    v["flags"][-1] = false;
    v["deep"]["list"][-1]["x"] = 1e-300;
    v["deep"]["empty"] = "";
    JsonValue const back = Parsed(Json(v));
    EXPECT_EQ(0, v.Compare(back));
    EXPECT_EQ(Json(v), Json(back));
}

TEST(JsonTextTest, ImplementationParsesInPlace)
{
    JsonValueImpl impl;
    impl.m_members["stale"] = 1;
    EXPECT_TRUE(impl.FromString("[1, 2]"));
    EXPECT_TRUE(impl.m_members.empty());
    EXPECT_EQ("[\n    1,\n    2\n]", impl.GetJsonString());

    // A failed parse leaves a null-typed implementation, not an empty container.
    EXPECT_FALSE(JsonValueConversion::FromString("[1,", impl));
    EXPECT_EQ(int(JsonValueImpl::TypeNull), impl.m_type);
    EXPECT_TRUE(impl.m_elements.empty());
    EXPECT_EQ("null", JsonValueConversion::GetJsonString(&impl));
}
