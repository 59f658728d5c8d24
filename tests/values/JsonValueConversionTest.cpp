// The document-based conversion must agree with the straight text conversion
// that every message uses.
#include "JsonValue.h"
#include "JsonValueConversion.h"
#include "values/JsonValueAccess.h"
#include "values/RapidJson.h"

#include <gtest/gtest.h>

#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

char const kMixedText[] = R"({"b": 1, "a": [true, null, "x\u00e9", 2.5, -0, 1e300, {}, []], "n": {"k": "v"}, "z": false})";

JsonValue Parsed(char const* text)
{
    JsonValue value;
    EXPECT_TRUE(value.FromJsonString(text));
    return value;
}

}  // namespace

TEST(JsonValueConversionTest, DocumentWrittenByThePrettyWriterGivesTheSameText)
{
    JsonValue const value = Parsed(kMixedText);
    JsonDocument document;
    JsonValueConversion::GetJsonData(&document.GetAllocator(), &document, JsonValueAccess::Impl(value));
    JsonTextBuffer buffer;
    JsonPrettyWriter writer(buffer);
    ASSERT_TRUE(document.Accept(writer));
    EXPECT_STREQ(value.GetJsonString().c_str(), buffer.GetString());
    EXPECT_EQ(value.GetJsonString().c_str(), JsonValueConversion::GetJsonString(JsonValueAccess::Impl(value)));
}

TEST(JsonValueConversionTest, RebuildingFromADocumentMatchesParsingText)
{
    JsonDocument document;
    document.Parse(kMixedText);
    ASSERT_FALSE(document.HasParseError());
    JsonValueImpl rebuilt;
    JsonValueConversion::FromJsonData(rebuilt, &document);
    EXPECT_EQ(0, rebuilt.Compare(*JsonValueAccess::Impl(Parsed(kMixedText))));

    JsonValue handle("old");
    JsonDocumentValue null;
    JsonValueConversion::UpdateFromJsonData(handle, &null);
    EXPECT_EQ(nullptr, handle.GetJsonString().c_str());
}

TEST(JsonValueConversionTest, FromStringReportsFailureAndLeavesJsonNull)
{
    JsonValueImpl impl(3.0);
    EXPECT_TRUE(JsonValueConversion::FromString(" [1, 2] ", impl));
    EXPECT_EQ(2, impl.GetCount());
    EXPECT_FALSE(JsonValueConversion::FromString("[1, 2", impl));
    EXPECT_EQ(JsonValueImpl::TypeNull, impl.m_type);
    EXPECT_EQ("null", JsonValueConversion::GetJsonString(&impl));
}
