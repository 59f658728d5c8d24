// The writer compacts every record with one compactor whose buffers live on
// from record to record: a text must never carry anything of the one before.
#include "CoreJson.h"

#include <gtest/gtest.h>

using namespace Norvane::LocalCore;

TEST(JsonCompactorTest, WritesTheParsersCompactText)
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

TEST(JsonCompactorTest, LeavesInvalidTextAsItWas)
{
    JsonCompactor compactor;
    for (char const* invalid : {"", "{\"a\": 1,}", "{\"a\": \"unterminated}", "{} {}", "{\"a\": tru}"}) {
        std::string text = invalid;
        EXPECT_FALSE(compactor.Compact(text)) << invalid;
        EXPECT_EQ(invalid, text);
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
}
