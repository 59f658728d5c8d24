// The scan that finds a record's session id without parsing the whole text,
// and its fallback to the parser: both must agree with the parser's reading.
#include "TopLevelMember.h"

#include <gtest/gtest.h>

using namespace Norvane::LocalCore;

namespace {

struct Lookup {
    char const* text;
    MemberLookup scanned;
    char const* value;  ///< as found by the scan or, failing that, the parser; null when absent or not an object
};

Lookup const kLookups[] = {
    {R"({"session_id":"abc"})", MemberLookup::Found, "abc"},
    {" {\n\t\"a\" : 1 ,\r\n \"session_id\" : \"abc\" } ", MemberLookup::Found, "abc"},
    {R"({"nested":{"session_id":"inner"},"session_id":"outer"})", MemberLookup::Found, "outer"},
    {R"({"list":["session_id",{"session_id":"x"}],"session_id":"y"})", MemberLookup::Found, "y"},
    {R"({"text":"a \"session_id\": \"fake\" }","session_id":"real"})", MemberLookup::Found, "real"},
    {R"({"text":"{[}]\\","session_id":"real"})", MemberLookup::Found, "real"},
    {R"({"session_idx":"a","session":"b","session_id":"c"})", MemberLookup::Found, "c"},
    {R"({"session_id":"first","session_id":"second"})", MemberLookup::Found, "first"},
    {R"({"session_id":"","n":1})", MemberLookup::Found, ""},
    {R"({"nested":{"session_id":"inner"}})", MemberLookup::Absent, nullptr},
    {R"({"session_id":1,"x":"session_id"})", MemberLookup::Absent, nullptr},
    {R"({"session_id":null})", MemberLookup::Absent, nullptr},
    {R"({"session_id":{"id":"x"}})", MemberLookup::Absent, nullptr},
    {"{}", MemberLookup::Absent, nullptr},
    {R"({"session_id":"a\"b"})", MemberLookup::NeedsParse, "a\"b"},
    {R"({"session_id":"\u0041"})", MemberLookup::NeedsParse, "A"},
    {R"({"session\u005fid":"x"})", MemberLookup::NeedsParse, "x"},
    {R"({"k\u0065y":1,"session_id":"a","session_id":"b"})", MemberLookup::NeedsParse, "a"},
    {R"(["session_id","x"])", MemberLookup::NeedsParse, nullptr},
    {"", MemberLookup::NeedsParse, nullptr},
    {R"({"a":)", MemberLookup::NeedsParse, nullptr},
    {R"({"a" 1,"session_id":"x"})", MemberLookup::NeedsParse, nullptr},
    {R"({"a":1,})", MemberLookup::NeedsParse, nullptr},
    {R"({"a":"unterminated)", MemberLookup::NeedsParse, nullptr},
    {R"({"a":{"b":[1,2})", MemberLookup::NeedsParse, nullptr},
    {R"({a:1})", MemberLookup::NeedsParse, nullptr},
};

}  // namespace

TEST(TopLevelMember, FindsTheTopLevelStringAsTheParserWould)
{
    for (Lookup const& lookup : kLookups) {
        std::string value = "unchanged";
        EXPECT_EQ(FindTopLevelString(lookup.text, "session_id", value), lookup.scanned) << lookup.text;
        if (lookup.scanned == MemberLookup::Found) {
            EXPECT_EQ(value, lookup.value) << lookup.text;
        }

        value.clear();
        bool found = false;
        bool const isObject = TopLevelString(lookup.text, "session_id", value, found);
        bool const parsedObject = lookup.value != nullptr || lookup.scanned != MemberLookup::NeedsParse;
        EXPECT_EQ(isObject, parsedObject) << lookup.text;
        EXPECT_EQ(found, lookup.value != nullptr) << lookup.text;
        if (lookup.value != nullptr) {
            EXPECT_EQ(value, lookup.value) << lookup.text;
        }
    }
}
