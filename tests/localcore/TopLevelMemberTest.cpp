// The session-id scan crosses strings and nested values in jumps: every
// character that could end one early must still be seen in its place.
#include "TopLevelMember.h"

#include <gtest/gtest.h>

using namespace Norvane::LocalCore;

namespace {

struct ScanCase {
    char const* text;
    MemberLookup lookup;
    char const* value;  // when found
};

}  // namespace

TEST(TopLevelMemberTest, ScanAgreesWithTheTextsStructure)
{
    ScanCase const cases[] = {
        {R"({"a": "}]", "session_id": "s1"})", MemberLookup::Found, "s1"},
        {R"({"a": {"b": "\"}", "c": ["]", {"d": "["}]}, "session_id": "s2"})", MemberLookup::Found, "s2"},
        {R"({"a": {"session_id": "inner"}, "session_id": "outer"})", MemberLookup::Found, "outer"},
        {R"({"a": [{"session_id": "inner"}]})", MemberLookup::Absent, ""},
        {R"({"session_id": "first", "session_id": "second"})", MemberLookup::Found, "first"},
        {R"({"session_id": 12})", MemberLookup::Absent, ""},
        {R"({"a": "x\\", "session_id": "s3"})", MemberLookup::Found, "s3"},
        {R"({"session_id": "with \" quote"})", MemberLookup::NeedsParse, ""},
        {R"({"a": {"b": [1, 2})", MemberLookup::NeedsParse, ""},
        {R"({"a": "unterminated)", MemberLookup::NeedsParse, ""},
        {"{\"a\": \"ends in a backslash\\", MemberLookup::NeedsParse, ""},
    };
    for (ScanCase const& test : cases) {
        std::string value;
        EXPECT_EQ(test.lookup, FindTopLevelString(test.text, "session_id", value)) << test.text;
        if (test.lookup == MemberLookup::Found) {
            EXPECT_EQ(test.value, value) << test.text;
        }
    }
}
