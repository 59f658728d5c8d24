// The writer compacts every record with one compactor whose buffers live on
// from record to record: a text must never carry anything of the one before.
// Its output is the stored form of records, so it must stay exactly what the
// parser's reader and writer make of a text (the reference below), also
// where its shortcuts do not apply: escapes, and strings of every length at
// every alignment, which the parser scans sixteen bytes at a time.
#include "CoreJson.h"
#include "JsonCompactor.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Norvane::LocalCore;

namespace {

// The parser's own compact text, as the core wrote it before the compactor had shortcuts.
bool ReferenceCompact(std::string& text)
{
    std::string parsed = text;
    QdxLocalCoreJson::StringBuffer compact;
    QdxLocalCoreJson::Writer<QdxLocalCoreJson::StringBuffer> writer(compact);
    QdxLocalCoreJson::Reader reader;
    QdxLocalCoreJson::InsituStringStream stream(parsed.data());
    if (!reader.Parse<QdxLocalCoreJson::kParseInsituFlag>(stream, writer))
        return false;
    text.assign(compact.GetString(), compact.GetSize());
    return true;
}

std::vector<std::string> Texts()
{
    std::vector<std::string> texts = {
        "{\n    \"a\": [1, 2],\n    \"b\": {\"c\": null}\n}",
        R"({"s": "caf\u00e9 \/ \"q\" \\ \n"})",
        R"({"n": [1.50, 1E2, -0, -0.0, 0.1, 1e-7, 1.7976931348623157e308, 5e-324, 2.5E+10]})",
        R"({"i": [0, -1, 2147483647, -2147483648, 4294967296, 9223372036854775807, -9223372036854775808]})",
        R"({"u": [18446744073709551615, 18446744073709551616, 12345678901234567890123]})",
        R"({"e": "\b\f\n\r\t\u0001\u001f\u007f\u0000x", "\"key\\": "\ud83d\ude00 \u20ac"})",
        "{\"raw\": \"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80\", \"\xc3\xa9\": true}",
        "{\"bad utf-8 passes as bytes\": \"\xff\xfe\x80\"}",
        "{\"\": \"\", \"x\": [], \"y\": {}, \"z\": [[], {}, [{}]]}",
        "\t{ \"t\" :\r\n true , \"f\":false,\"n\" : null }  \n",
        R"([1, "two", {"three": 3}])",
        R"("a string alone")",
        "{\"" + std::string(300, 'k') + "\": \"" + std::string(5000, 'v') + "\"}",
        std::string(200, '[') + std::string(200, ']'),
        // Invalid: both refuse them.
        "",
        "{\"a\": 1,}",
        "{\"a\": \"unterminated}",
        "{\"a\": \"tab\tinside\"}",
        R"({"a": "\x"})",
        R"({"a": "\ud83d"})",
        "{} {}",
        "{\"a\": tru}",
        "[" + std::string(10, ' '),
    };
    // Strings of 0 to 40 characters, plain or with an escape at each end or
    // in the middle, starting at each of 16 offsets.
    for (std::size_t indent = 0; indent < 16; ++indent) {
        for (std::size_t length = 0; length <= 40; ++length) {
            std::string const plain(length, 'x');
            std::string const escaped =
                length == 0 ? "\\n" : plain.substr(0, length / 2) + "\\\"" + plain.substr(length / 2);
            texts.push_back("{" + std::string(indent, ' ') + "\"" + plain + "\": \"" + escaped + "\"}");
            texts.push_back("[" + std::string(indent, '\n') + "\"\\u00e9" + plain + "\", \"" + plain + "\\\\\"]");
        }
    }
    return texts;
}

}  // namespace

TEST(JsonCompactorTest, WritesExactlyTheParsersCompactText)
{
    JsonCompactor compactor;
    for (std::string const& original : Texts()) {
        std::string expected = original;
        bool const valid = ReferenceCompact(expected);
        std::string text = original;
        ASSERT_EQ(valid, compactor.Compact(text)) << original;
        EXPECT_EQ(expected, text) << original;  // invalid text is left as it was
    }
}

TEST(JsonCompactorTest, WritesTheStoredForm)
{
    struct {
        char const* text;
        char const* compact;
    } const cases[] = {
        {"{\n    \"a\": [1, 2],\n    \"b\": {\"c\": null}\n}", R"({"a":[1,2],"b":{"c":null}})"},
        {R"({"s": "caf\u00e9 \/ \"q\" \\ \n"})", "{\"s\":\"caf\xc3\xa9 / \\\"q\\\" \\\\ \\n\"}"},
        {R"({"n": [1.50, 1E2, -0, 12345678901234567890]})", R"({"n":[1.5,100.0,0,12345678901234567890]})"},
        {R"({"s": "\u0000"})", R"({"s":"\u0000"})"},
    };
    JsonCompactor compactor;
    for (auto const& test : cases) {
        std::string text = test.text;
        ASSERT_TRUE(compactor.Compact(text)) << test.text;
        EXPECT_EQ(test.compact, text);
    }
}

TEST(JsonCompactorTest, ShorterTextAfterLongerCarriesNothingOver)
{
    JsonCompactor compactor;
    std::string longer = "{\"long\": \"" + std::string(3000, 'x') + "\"}";
    ASSERT_TRUE(compactor.Compact(longer));
    std::string shorter = "{ \"b\" : true }";
    ASSERT_TRUE(compactor.Compact(shorter));
    EXPECT_EQ(R"({"b":true})", shorter);
    std::string invalid = "{\"a\": ";
    EXPECT_FALSE(compactor.Compact(invalid));
    std::string after = "[ ]";
    ASSERT_TRUE(compactor.Compact(after));
    EXPECT_EQ("[]", after);
}
