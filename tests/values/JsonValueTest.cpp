#include "JsonKeyPath.h"
#include "JsonValue.h"
#include "QdxString.h"
#include <gtest/gtest.h>
#include <climits>
#include <limits>
#include <string>
#include <utility>
using namespace Norvane::QDXDesktopSDK;
namespace {
double const kNan = std::numeric_limits<double>::quiet_NaN();
JsonValue const* const kNull = &JsonValue::sNullValue;
std::string Text(QdxString const& text)
{
    return text.c_str() == nullptr ? "<null>" : text.c_str();
}
JsonValue J(char const* text)
{
    JsonValue value;
    EXPECT_TRUE(value.FromJsonString(text)) << text;
    return value;
}
}  // namespace

TEST(JsonValueTest, NullHandleAndScalarConversions)
{
    JsonValue const null;
    EXPECT_EQ("<null>", Text(null));
    EXPECT_EQ(0, static_cast<int>(null));
    EXPECT_EQ(kNull, &null["a"]);
    EXPECT_EQ("<null>", Text(null.GetKeyList()));
    EXPECT_EQ(9007199254740992LL, static_cast<long long>(JsonValue(9007199254740993ULL)));
    EXPECT_EQ(-2, static_cast<int>(JsonValue(-2.9)));
    EXPECT_EQ(3000000000LL, static_cast<long long>(JsonValue(3e9)));
    for (double outOfRange : {3e9, -3e9, kNan})
        EXPECT_EQ(INT_MIN, static_cast<int>(JsonValue(outOfRange))) << outOfRange;
    EXPECT_EQ("", Text(JsonValue(3)));
    EXPECT_EQ(0.0, static_cast<double>(JsonValue("7")));
    EXPECT_EQ("", Text(JsonValue(static_cast<char const*>(nullptr))));
    for (JsonValue const& falsy : {JsonValue(0), JsonValue(-0.0), JsonValue(false), JsonValue("")})
        EXPECT_FALSE(static_cast<bool>(falsy));
    for (JsonValue const& truthy : {JsonValue(0.001), JsonValue(kNan), JsonValue("7"), J(R"({"a":0})"), J("[false]")})
        EXPECT_TRUE(static_cast<bool>(truthy));
}
TEST(JsonValueTest, CopiesAreDeepMovesEmptyTheSourceAndSelfAssignmentLeavesNull)
{
    JsonValue const original = J(R"({"o": {"x": 1}})");
    JsonValue copy(original);
    copy["o"]["x"] = 2;
    EXPECT_EQ(1, static_cast<int>(original["o"]["x"]));
    JsonValue moved(std::move(copy));
    EXPECT_EQ("<null>", Text(copy));
    JsonValue target("old");
    target = std::move(moved);
    EXPECT_EQ("<null>", Text(moved));
    EXPECT_EQ(2, static_cast<int>(target["o"]["x"]));
    JsonValue& alias = target;
    target = alias;
    EXPECT_EQ("<null>", Text(target));
    target = "text";
    target = std::move(alias);
    EXPECT_EQ("<null>", Text(target));
}
TEST(JsonValueTest, AccessCreatesContainersOnlyThroughNonConstHandles)
{
    JsonValue v("abc");
    v["a"]["b"] = 1;
    EXPECT_EQ(1, v.GetCount());
    JsonValue const& cv = v;
    EXPECT_EQ(kNull, &cv["missing"]);
    EXPECT_FALSE(v.HasKey(QdxString("missing")));
    v["created"];
    EXPECT_EQ("<null>", Text(cv["created"]));
    v[""] = 5;
    EXPECT_EQ(5, static_cast<int>(cv[QdxString()]));
    EXPECT_EQ(kNull, &cv[0]);
    JsonValue list;
    list[-1] = 1;
    list[7] = 2;
    list[0] = 9;
    EXPECT_TRUE(list.IsArray());
    EXPECT_EQ(0, list.Compare(J("[9, 2]")));
    EXPECT_EQ(kNull, &static_cast<JsonValue const&>(list)[-1]);
    JsonValue keys;
    for (char const* key : {"b", "aa", "B", "a", "\xC3\xA9"})
        keys[key] = 0;
    EXPECT_EQ(0, keys.GetKeyList().Compare(J(R"(["B", "a", "aa", "b", "\u00e9"])")));
}
TEST(JsonValueTest, RemovingTheLastContentOrFromAScalarClearsToNull)
{
    JsonValue v = J(R"({"a": 1, "b": 2})");
    EXPECT_FALSE(v.RemoveKey(QdxString("zz")));
    EXPECT_TRUE(v.RemoveKey(QdxString("a")));
    EXPECT_TRUE(v.RemoveKey(QdxString("b")));
    EXPECT_EQ("<null>", Text(v));
    v = "abc";
    EXPECT_FALSE(v.RemoveKey(QdxString("missing")));
    EXPECT_EQ("<null>", Text(v));
    JsonValue list = J("[3, 1, 2]");
    EXPECT_EQ(0, list.Remove(3, 1));
    EXPECT_EQ(2, list.Remove(1, -5));
    EXPECT_EQ(0, list.Compare(J("[3]")));
    EXPECT_EQ(1, list.Remove(0, 1));
    EXPECT_EQ("<null>", Text(list));
    JsonValue four = J("[1, 2, 3, 4]");
    EXPECT_EQ(2, four.Remove(-3, 2));
    EXPECT_EQ(0, four.Compare(J("[3, 4]")));
    four = 5;
    EXPECT_EQ(0, four.Remove(0, 1));
    EXPECT_EQ("<null>", Text(four));
}
TEST(JsonValueTest, InsertAndFind)
{
    JsonValue v;
    EXPECT_EQ(0, v.Insert(JsonValue(1), 5, true));
    v[-1] = 2;
    EXPECT_EQ(-1, v.Insert(JsonValue(1), -1, true));
    EXPECT_EQ(0, v.Insert(JsonValue(3), 0, false));
    EXPECT_EQ(3, v.Insert(JsonValue(2), 99, false));
    EXPECT_EQ(1, v.Insert(JsonValue(7), 1, false));
    EXPECT_EQ(0, v.Compare(J("[3, 7, 1, 2, 2]")));
    EXPECT_EQ(5, v.Insert(JsonValue(1.5), -1, true));
    JsonValue const array = J(R"([5, 7, 5, "x"])");
    EXPECT_EQ(0, static_cast<int>(array.Find(JsonValue(5))));
    EXPECT_EQ(-1, static_cast<int>(array.Find(JsonValue(5.5))));
    JsonValue const object = J(R"({"b": 2, "a": 1, "c": 2})");
    EXPECT_EQ("b", Text(object.Find(JsonValue(2))));
    EXPECT_EQ("c", Text(object.Find(JsonValue("c"))));  // no value matches, but the text names a member
    EXPECT_EQ("<null>", Text(object.Find(JsonValue("zz"))));
    EXPECT_EQ("<null>", Text(object.Find(JsonValue(3))));
    EXPECT_EQ("<null>", Text(JsonValue("s").Find(JsonValue("s"))));
}
TEST(JsonValueTest, CompareOrdersByTypeThenShorterFirstAndNeverEqualsDifferentNumbers)
{
    struct Case {
        JsonValue left;
        JsonValue right;
        int expected;
    };
    Case const cases[] = {
        {1.5, 1.2, 1},
        {1.2, 1.5, -1},
        {5.0, 2.0, 3},
        {4, 4.0, 0},
        {kNan, kNan, 0},
        {true, false, 1},
        {"zz", "aaa", -1},
        {"a", "abcd", -3},
        {"same", "same", 0},
        {JsonValue(), JsonValue(), 0},
        {JsonValue(), 1, -1},
        {1, JsonValue(), 1},
        {"7", 7, -1},
        {true, 1, 1},
        {7, J("[1, 2, 3]"), -3},
        {J(R"({"a":1})"), J(R"({"a":1})"), 0},
        {J(R"({"a":1})"), J(R"({"a":1,"b":2})"), -1},
        {J(R"({"a":1,"b":2})"), J(R"({"a":1})"), 1},
        {J(R"({"a":1})"), J(R"({"a":2})"), -1},
        {J(R"({"a":1})"), J("[5, 6]"), 1},
        {J("[5, 6]"), J(R"({"a":1})"), -1},
        {J("[1, 2]"), J("[1, 2, 3]"), -1},
        {J("[1, 3]"), J("[1, 2]"), 1},
        {J(R"([1, "x"])"), J(R"([1, "x"])"), 0},
    };
    int index = 0;
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, c.left.Compare(c.right)) << "case " << index++;
    EXPECT_LT(JsonValue("abc").Compare(JsonValue("abd")), 0);
}
TEST(JsonValueTest, MergeIsShallowAndReportsKeptMembers)
{
    JsonValue kept = J(R"({"a": 0, "o": {"x": 1}})");
    JsonValue const other = J(R"({"a": 1, "b": 2, "o": {"y": 2}})");
    EXPECT_FALSE(kept.Merge(other, false));
    EXPECT_EQ(J(R"({"a": 0, "b": 2, "o": {"x": 1}})").Compare(kept), 0);
    JsonValue replaced = J(R"({"a": 0, "o": {"x": 1}})");
    EXPECT_TRUE(replaced.Merge(other, true));
    EXPECT_EQ(other.Compare(replaced), 0);
    JsonValue unchanged(kept);
    EXPECT_TRUE(unchanged.Merge(JsonValue(), true));
    EXPECT_TRUE(unchanged.Merge(JsonValue("s"), false));
    EXPECT_EQ(0, unchanged.Compare(kept));
    JsonValue target;
    EXPECT_TRUE(target.Merge(J("[1, 2]"), false));
    EXPECT_EQ(0, target.Compare(J("[1, 2]")));
}
TEST(JsonKeyPathTest, ConstLookupFollowsUpToTwoKeysAndNeverInserts)
{
    JsonValue const root = J(R"({"a": {"b": 1, "b.c": 2, "x": {"y": 3}}, "a/b": 4, "s": "t"})");
    struct Case {
        char const* path;
        int maxSplits;
        char const* separators;
        int expected;
    };  // 0: shared null
    Case const cases[] = {
        {"a.b", -1, nullptr, 1},       {"a.b", -1, "", 1},
        {"a/b", -1, nullptr, 4},       {".a..b.", -1, nullptr, 1},
        {"", -1, nullptr, 0},          {"...", -1, nullptr, 0},
        {"a.x.y", -1, nullptr, 0},     {"a.missing", -1, nullptr, 0},
        {"missing.b", -1, nullptr, 0}, {"a/b.c", -1, "/.", 0},
        {"a/b", -1, "/.", 1},          {"a:b", -1, ":", 1},
        {"a/b.c", -1, "/", 2},         {"a.b.c", 1, nullptr, 2},
        {"a.b.c", 0, nullptr, 2},      {"a.b.c", 2, nullptr, 0},
        {"a.x.y", 1, nullptr, 0},      {"a.b", 5, nullptr, 1},
        {"..a.b.c", 1, nullptr, 2},
    };
    for (Case const& c : cases) {
        JsonValue const& found = JsonValue_GetValueFromKeys(root, c.path, c.maxSplits, c.separators);
        if (c.expected == 0)
            EXPECT_EQ(kNull, &found) << c.path;
        else
            EXPECT_EQ(c.expected, static_cast<int>(found)) << c.path;
    }
    EXPECT_EQ(&root["a"], &JsonValue_GetValueFromKeys(root, "..a", -1, nullptr));
    EXPECT_EQ(kNull, &JsonValue_GetValueFromKeys(JsonValue(), "a.b", -1, nullptr));
}
TEST(JsonKeyPathTest, MutableLookupCreatesMembersOrReturnsTheRootForNoneOrTooManyKeys)
{
    JsonValue root = J(R"({"a": {"b": 1, "b.c": 2}})");
    JsonValue_GetValueFromKeys(root, "n/m", -1, "/") = 7;
    EXPECT_EQ(7, static_cast<int>(root["n"]["m"]));
    EXPECT_EQ(&root["single"], &JsonValue_GetValueFromKeys(root, "single", -1, nullptr));
    EXPECT_EQ(&root["a"]["b.c"], &JsonValue_GetValueFromKeys(root, "a.b.c", 1, nullptr));
    int const count = root.GetCount();
    for (char const* path : {"a.b.c", "p.q.r", "", "/./"})
        EXPECT_EQ(&root, &JsonValue_GetValueFromKeys(root, path, -1, "./")) << path;
    EXPECT_EQ(count, root.GetCount());
}
