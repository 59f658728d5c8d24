#include "JsonValue.h"
#include "QdxString.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <string>
#include <utility>
#include <vector>

using Norvane::QDXDesktopSDK::JsonValue;
using Norvane::QDXDesktopSDK::QdxString;

namespace {

bool IsNullHandle(JsonValue const& value)
{
    QdxString const text = value;
    return text.c_str() == nullptr;
}

// The text of a string value; "<null>" for the null handle.
std::string Text(JsonValue const& value)
{
    QdxString const text = value;
    return text.c_str() == nullptr ? std::string("<null>") : std::string(text.c_str());
}

// The elements of an array read as numbers.
std::vector<double> Numbers(JsonValue const& value)
{
    std::vector<double> numbers;
    for (int i = 0; i < value.GetCount(); ++i)
        numbers.push_back(static_cast<double>(value[i]));
    return numbers;
}

JsonValue MakeObject(std::vector<std::pair<char const*, JsonValue>> const& members)
{
    JsonValue object;
    for (auto const& member : members)
        object[member.first] = member.second;
    return object;
}

JsonValue MakeArray(std::vector<JsonValue> const& items)
{
    JsonValue array;
    for (JsonValue const& item : items)
        array[-1] = item;
    return array;
}

} // namespace

TEST(JsonValueTest, DefaultValueIsNullHandle)
{
    JsonValue const v;
    EXPECT_TRUE(IsNullHandle(v));
    EXPECT_FALSE(static_cast<bool>(v));
    EXPECT_EQ(0.0, static_cast<double>(v));
    EXPECT_EQ(0, static_cast<int>(v));
    EXPECT_EQ(0, v.GetCount());
    EXPECT_FALSE(v.HasKey(QdxString("a")));
    EXPECT_EQ(&JsonValue::sNullValue, &v["a"]);
    EXPECT_EQ(&JsonValue::sNullValue, &v[0]);
    EXPECT_TRUE(IsNullHandle(v.GetKeyList()));
}

TEST(JsonValueTest, NumbersAreDoublesAndConvertByTruncation)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(-7.0, static_cast<double>(JsonValue(-7L)));
    EXPECT_EQ(-1099511627776.0, static_cast<double>(JsonValue(-(1LL << 40))));
    EXPECT_EQ(4000000000.0, static_cast<double>(JsonValue(4000000000u)));
    EXPECT_EQ(9007199254740992.0, static_cast<double>(JsonValue(9007199254740993ULL)));
    EXPECT_EQ(9007199254740992LL, static_cast<long long>(JsonValue(9007199254740993ULL)));
    EXPECT_EQ(1.0, static_cast<double>(JsonValue(true)));

    EXPECT_EQ(2, static_cast<int>(JsonValue(2.9)));
    EXPECT_EQ(-2, static_cast<int>(JsonValue(-2.9)));
    EXPECT_EQ(-3LL, static_cast<long long>(JsonValue(-3.7)));
    EXPECT_EQ(3000000000LL, static_cast<long long>(JsonValue(3e9)));
    for (double outOfRange : {3e9, -3e9, nan})
        EXPECT_EQ(INT_MIN, static_cast<int>(JsonValue(outOfRange))) << outOfRange;

    // Numbers and booleans have no text, but are not the null handle.
    EXPECT_EQ("", Text(JsonValue(3)));
    EXPECT_EQ("", Text(JsonValue(true)));
}

TEST(JsonValueTest, StringValuesHaveTextButNoNumber)
{
    JsonValue const seven("7");
    EXPECT_EQ("7", Text(seven));
    EXPECT_EQ(0, static_cast<int>(seven));
    EXPECT_EQ(0.0, static_cast<double>(seven));
    EXPECT_EQ("", Text(JsonValue(static_cast<char const*>(nullptr))));
    EXPECT_EQ("", Text(JsonValue(QdxString())));

    JsonValue v = MakeObject({{"k", 1}});
    v.SetString("replaced");
    EXPECT_EQ("replaced", Text(v));
    EXPECT_EQ(0, v.GetCount());
}

TEST(JsonValueTest, BoolConversionFollowsContentThenNumber)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    for (JsonValue const& falsy : {JsonValue(0), JsonValue(-0.0), JsonValue(false), JsonValue("")})
        EXPECT_FALSE(static_cast<bool>(falsy));
    for (JsonValue const& truthy : {JsonValue(true), JsonValue(0.001), JsonValue(nan), JsonValue("7"),
                                    MakeObject({{"a", 0}}), MakeArray({false})})
        EXPECT_TRUE(static_cast<bool>(truthy));
}

TEST(JsonValueTest, CopiesAreDeepAndMovesEmptyTheSource)
{
    JsonValue const original = MakeObject({{"o", MakeObject({{"x", 1}})}, {"list", MakeArray({"a"})}});
    JsonValue copy(original);
    copy["o"]["x"] = 2;
    copy["list"][0].SetString("b");
    EXPECT_EQ(1, static_cast<int>(original["o"]["x"]));
    EXPECT_EQ("a", Text(original["list"][0]));

    JsonValue assigned(7);
    assigned = original;
    EXPECT_EQ(0, assigned.Compare(original));
    JsonValue const null;
    assigned = null;
    EXPECT_TRUE(IsNullHandle(assigned));

    JsonValue moved(std::move(copy));
    EXPECT_TRUE(IsNullHandle(copy));
    JsonValue target("old");
    target = std::move(moved);
    EXPECT_TRUE(IsNullHandle(moved));
    EXPECT_EQ(2, static_cast<int>(target["o"]["x"]));
}

TEST(JsonValueTest, AssigningOrMovingIntoItselfLeavesNull)
{
    JsonValue v = MakeObject({{"a", 1}});
    JsonValue& alias = v;
    v = alias;
    EXPECT_TRUE(IsNullHandle(v));

    JsonValue w("text");
    JsonValue& aliasW = w;
    w = std::move(aliasW);
    EXPECT_TRUE(IsNullHandle(w));
}

TEST(JsonValueTest, KeyAccessCreatesNestedObjects)
{
    JsonValue v;
    v["a"]["b"] = 1;
    EXPECT_EQ(1, v.GetCount());
    EXPECT_FALSE(v.IsArray());
    EXPECT_TRUE(v.HasKey(QdxString("a")));
    EXPECT_EQ(1, v["a"].GetCount());
    EXPECT_EQ(1, static_cast<int>(v["a"]["b"]));

    // Non-const access inserts a null member; const access inserts nothing.
    JsonValue const& cv = v;
    EXPECT_EQ(&JsonValue::sNullValue, &cv["missing"]);
    EXPECT_FALSE(v.HasKey(QdxString("missing")));
    v["created"];
    EXPECT_TRUE(v.HasKey(QdxString("created")));
    EXPECT_TRUE(IsNullHandle(v["created"]));
    EXPECT_EQ(2, v.GetCount());

    // A null key is the empty key.
    v[""] = 5;
    EXPECT_TRUE(v.HasKey(QdxString()));
    EXPECT_EQ(5, static_cast<int>(cv[QdxString()]));

    // Key access makes a container even of a scalar.
    JsonValue text("abc");
    text["k"] = 1;
    EXPECT_EQ(1, text.GetCount());
    EXPECT_TRUE(text.HasKey(QdxString("k")));
}

TEST(JsonValueTest, IndexAccessAppendsOutsideTheElements)
{
    JsonValue v;
    v[-1] = 1;
    v[-1] = 2;
    v[7] = 3;
    EXPECT_TRUE(v.IsArray());
    EXPECT_EQ((std::vector<double>{1, 2, 3}), Numbers(v));
    v[0] = 9;
    EXPECT_EQ((std::vector<double>{9, 2, 3}), Numbers(v));

    JsonValue const& cv = v;
    EXPECT_EQ(&JsonValue::sNullValue, &cv[-1]);
    EXPECT_EQ(&JsonValue::sNullValue, &cv[3]);

    // An object counts members, but const index access still finds no element.
    JsonValue const object = MakeObject({{"a", 1}});
    EXPECT_EQ(&JsonValue::sNullValue, &object[0]);
}

TEST(JsonValueTest, KeyListIsSortedBytewise)
{
    JsonValue v;
    for (char const* key : {"b", "aa", "B", "a", "\xC3\xA9"})
        v[key] = 0;
    JsonValue const keys = v.GetKeyList();
    std::vector<std::string> texts;
    for (int i = 0; i < keys.GetCount(); ++i)
        texts.push_back(Text(keys[i]));
    EXPECT_EQ((std::vector<std::string>{"B", "a", "aa", "b", "\xC3\xA9"}), texts);

    EXPECT_TRUE(IsNullHandle(MakeArray({1, 2}).GetKeyList()));
    EXPECT_TRUE(IsNullHandle(JsonValue("s").GetKeyList()));
}

TEST(JsonValueTest, RemoveKeyClearsAValueLeftEmpty)
{
    JsonValue v = MakeObject({{"a", 1}, {"b", 2}});
    EXPECT_FALSE(v.RemoveKey(QdxString("zz")));
    EXPECT_EQ(2, v.GetCount());
    EXPECT_TRUE(v.RemoveKey(QdxString("a")));
    EXPECT_EQ(1, v.GetCount());
    EXPECT_FALSE(v.HasKey(QdxString("a")));
    EXPECT_TRUE(v.RemoveKey(QdxString("b")));
    EXPECT_TRUE(IsNullHandle(v));

    JsonValue text("abc");
    EXPECT_FALSE(text.RemoveKey(QdxString("missing")));
    EXPECT_TRUE(IsNullHandle(text));
}

TEST(JsonValueTest, RemoveTakesElementsFromStartAndClearsWhenEmpty)
{
    JsonValue v = MakeArray({3, 1, 2});
    EXPECT_EQ(0, v.Remove(3, 1));
    EXPECT_EQ(0, v.Remove(9, 1));
    EXPECT_EQ(0, v.Remove(0, 0));
    EXPECT_EQ(3, v.GetCount());
    EXPECT_EQ(2, v.Remove(1, -5));
    EXPECT_EQ((std::vector<double>{3}), Numbers(v));
    EXPECT_EQ(1, v.Remove(0, 1));
    EXPECT_TRUE(IsNullHandle(v));

    JsonValue w = MakeArray({1, 2, 3, 4});
    EXPECT_EQ(2, w.Remove(-3, 2));
    EXPECT_EQ((std::vector<double>{3, 4}), Numbers(w));

    JsonValue number(5);
    EXPECT_EQ(0, number.Remove(0, 1));
    EXPECT_TRUE(IsNullHandle(number));
}

TEST(JsonValueTest, InsertPlacesCopiesAndHonoursUnique)
{
    JsonValue v;
    EXPECT_EQ(0, v.Insert(JsonValue(1), 5, true));
    v[-1] = 2;
    EXPECT_EQ(-1, v.Insert(JsonValue(1), -1, true));
    EXPECT_EQ(0, v.Insert(JsonValue(3), 0, false));
    EXPECT_EQ((std::vector<double>{3, 1, 2}), Numbers(v));
    EXPECT_EQ(3, v.Insert(JsonValue(2), 99, false));
    EXPECT_EQ(1, v.Insert(JsonValue(7), 1, false));
    EXPECT_EQ((std::vector<double>{3, 7, 1, 2, 2}), Numbers(v));

    // Numbers less than 1 apart are still different.
    EXPECT_EQ(5, v.Insert(JsonValue(1.5), -1, true));

    JsonValue item = MakeObject({{"k", "before"}});
    JsonValue list;
    list.Insert(item, -1, false);
    item["k"] = "after";
    EXPECT_EQ("before", Text(list[0]["k"]));
}

TEST(JsonValueTest, FindReturnsIndexInArraysAndKeyInObjects)
{
    JsonValue const array = MakeArray({5, 7, 5, "x"});
    EXPECT_EQ(0, static_cast<int>(array.Find(JsonValue(5))));
    EXPECT_EQ(1, static_cast<int>(array.Find(JsonValue(7))));
    EXPECT_EQ(3, static_cast<int>(array.Find(JsonValue("x"))));
    JsonValue const missing = array.Find(JsonValue(5.5));
    EXPECT_FALSE(IsNullHandle(missing));
    EXPECT_EQ(-1, static_cast<int>(missing));

    JsonValue const object = MakeObject({{"b", 2}, {"a", 1}, {"c", 2}});
    EXPECT_EQ("b", Text(object.Find(JsonValue(2))));
    EXPECT_EQ("a", Text(object.Find(JsonValue(1))));
    // No member value matches, but the text names a member: the value itself comes back.
    EXPECT_EQ("c", Text(object.Find(JsonValue("c"))));
    EXPECT_TRUE(IsNullHandle(object.Find(JsonValue("zz"))));
    EXPECT_TRUE(IsNullHandle(object.Find(JsonValue(3))));

    EXPECT_TRUE(IsNullHandle(JsonValue().Find(JsonValue(1))));
    EXPECT_TRUE(IsNullHandle(JsonValue("s").Find(JsonValue("s"))));
}

TEST(JsonValueTest, CompareScalars)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        JsonValue left;
        JsonValue right;
        int expected;
    };
    Case const cases[] = {
        // Numbers: the difference, but never 0 for different numbers.
        {1.5, 1.2, 1},
        {1.2, 1.5, -1},
        {5.0, 2.0, 3},
        {2.0, 5.0, -3},
        {4, 4.0, 0},
        {nan, nan, 0},
        {true, false, 1},
        {false, true, -1},
        // Strings: shorter first, then bytes.
        {"zz", "aaa", -1},
        {"a", "abcd", -3},
        {"", "", 0},
        {"same", "same", 0},
        // Null first, then by type: string, number, boolean.
        {JsonValue(), JsonValue(), 0},
        {JsonValue(), 1, -1},
        {1, JsonValue(), 1},
        {"7", 7, -1},
        {true, 1, 1},
        {7, MakeArray({1, 2, 3}), -3},
    };
    int index = 0;
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, c.left.Compare(c.right)) << "case " << index++;
    EXPECT_LT(JsonValue("abc").Compare(JsonValue("abd")), 0);
    EXPECT_GT(JsonValue("abd").Compare(JsonValue("abc")), 0);

    JsonValue const same(2.5);
    EXPECT_EQ(0, same.Compare(same));
}

TEST(JsonValueTest, CompareContainers)
{
    JsonValue const a1 = MakeObject({{"a", 1}});
    JsonValue const ab = MakeObject({{"a", 1}, {"b", 2}});
    JsonValue const pair = MakeArray({5, 6});
    struct Case {
        JsonValue left;
        JsonValue right;
        int expected;
    };
    Case const cases[] = {
        {a1, MakeObject({{"a", 1}}), 0},
        {a1, ab, -1},
        {ab, a1, 1},
        {a1, MakeObject({{"a", 2}}), -1},
        // Objects are compared by member count, and an array has no members.
        {a1, pair, 1},
        {pair, a1, -1},
        {MakeArray({1, 2}), MakeArray({1, 2, 3}), -1},
        {MakeArray({1, 3}), MakeArray({1, 2}), 1},
        {MakeArray({1, "x"}), MakeArray({1, "x"}), 0},
        {MakeArray({1, 2, 3}), 7, 3},
    };
    int index = 0;
    for (Case const& c : cases)
        EXPECT_EQ(c.expected, c.left.Compare(c.right)) << "case " << index++;
    EXPECT_LT(a1.Compare(MakeObject({{"b", 1}})), 0);
}

TEST(JsonValueTest, MergeIsShallowAndReportsKeptMembers)
{
    JsonValue const other = MakeObject({{"a", 1}, {"b", 2}});
    JsonValue kept = MakeObject({{"a", 0}});
    EXPECT_FALSE(kept.Merge(other, false));
    EXPECT_EQ(0, static_cast<int>(kept["a"]));
    EXPECT_EQ(2, static_cast<int>(kept["b"]));

    JsonValue replaced = MakeObject({{"a", 0}});
    EXPECT_TRUE(replaced.Merge(other, true));
    EXPECT_EQ(1, static_cast<int>(replaced["a"]));
    EXPECT_EQ(2, static_cast<int>(replaced["b"]));
    EXPECT_EQ(2, other.GetCount());

    // Nested objects are replaced or kept whole, never merged.
    JsonValue nestedThis = MakeObject({{"o", MakeObject({{"x", 1}})}});
    JsonValue const nestedOther = MakeObject({{"o", MakeObject({{"y", 2}})}});
    EXPECT_FALSE(nestedThis.Merge(nestedOther, false));
    EXPECT_FALSE(nestedThis["o"].HasKey(QdxString("y")));
    EXPECT_TRUE(nestedThis.Merge(nestedOther, true));
    EXPECT_FALSE(nestedThis["o"].HasKey(QdxString("x")));
    EXPECT_EQ(2, static_cast<int>(nestedThis["o"]["y"]));

    JsonValue unchanged(kept);
    EXPECT_TRUE(unchanged.Merge(JsonValue(), true));
    EXPECT_TRUE(unchanged.Merge(MakeArray({1}), true));
    EXPECT_TRUE(unchanged.Merge(JsonValue("s"), false));
    EXPECT_EQ(0, unchanged.Compare(kept));

    // Merging into null copies the whole value, whatever it is.
    JsonValue source = MakeArray({1, 2});
    JsonValue target;
    EXPECT_TRUE(target.Merge(source, false));
    EXPECT_EQ((std::vector<double>{1, 2}), Numbers(target));
    source[0] = 9;
    EXPECT_EQ(1, static_cast<int>(target[0]));
}
