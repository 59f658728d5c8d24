#include "JsonKeyPath.h"
#include "JsonValue.h"
#include "QdxString.h"

#include <gtest/gtest.h>

#include <string>

using Norvane::QDXDesktopSDK::JsonValue;
using Norvane::QDXDesktopSDK::JsonValue_GetValueFromKeys;
using Norvane::QDXDesktopSDK::QdxString;

namespace {

class JsonKeyPathTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_root["a"]["b"] = 1;
        m_root["a"]["b.c"] = 2;
        m_root["a"]["x"]["y"] = 3;
        m_root["a/b"] = 4;
        m_root["s"] = "t";
    }

    JsonValue const& Const(std::string const& path, int maxSplits = -1, char const* separators = nullptr) const
    {
        return JsonValue_GetValueFromKeys(m_root, path, maxSplits, separators);
    }

    JsonValue& Mutable(std::string const& path, int maxSplits = -1, char const* separators = nullptr)
    {
        return JsonValue_GetValueFromKeys(m_root, path, maxSplits, separators);
    }

    JsonValue const& Member(char const* key) const { return static_cast<JsonValue const&>(m_root)[key]; }

    JsonValue m_root;
};

} // namespace

TEST_F(JsonKeyPathTest, OneOrTwoKeysReachMembers)
{
    EXPECT_EQ(&Member("s"), &Const("s"));
    EXPECT_EQ(&Member("a")["b"], &Const("a.b"));
    EXPECT_EQ(1, static_cast<int>(Const("a.b")));
    EXPECT_EQ(1, static_cast<int>(Const("a.b", -1, "")));
    EXPECT_EQ(4, static_cast<int>(Const("a/b")));
}

TEST_F(JsonKeyPathTest, EmptyKeysAreDropped)
{
    EXPECT_EQ(1, static_cast<int>(Const(".a..b.")));
    EXPECT_EQ(&Member("a"), &Const("..a"));
    EXPECT_EQ(&JsonValue::sNullValue, &Const(""));
    EXPECT_EQ(&JsonValue::sNullValue, &Const("..."));
}

TEST_F(JsonKeyPathTest, ConstLookupGivesSharedNullForMissingOrTooDeep)
{
    EXPECT_EQ(&JsonValue::sNullValue, &Const("a.x.y"));
    EXPECT_EQ(&JsonValue::sNullValue, &Const("a.missing"));
    EXPECT_EQ(&JsonValue::sNullValue, &Const("missing.b"));
    EXPECT_EQ(&JsonValue::sNullValue, &Const("missing"));
    EXPECT_FALSE(m_root.HasKey(QdxString("missing")));
    EXPECT_FALSE(Member("a").HasKey(QdxString("missing")));

    JsonValue const null;
    EXPECT_EQ(&JsonValue::sNullValue, &JsonValue_GetValueFromKeys(null, "a.b", -1, nullptr));
}

TEST_F(JsonKeyPathTest, AnySeparatorCharacterSplits)
{
    EXPECT_EQ(&JsonValue::sNullValue, &Const("a/b.c", -1, "/."));
    EXPECT_EQ(1, static_cast<int>(Const("a/b", -1, "/.")));
    EXPECT_EQ(1, static_cast<int>(Const("a:b", -1, ":")));
    // With a slash as the only separator, a dot is part of the key.
    EXPECT_EQ(2, static_cast<int>(Const("a/b.c", -1, "/")));
}

TEST_F(JsonKeyPathTest, MaxSplitsKeepsTheRestAsOneKey)
{
    EXPECT_EQ(2, static_cast<int>(Const("a.b.c", 1)));
    EXPECT_EQ(2, static_cast<int>(Const("a.b.c", 0)));
    EXPECT_EQ(&JsonValue::sNullValue, &Const("a.b.c", 2));
    EXPECT_EQ(&JsonValue::sNullValue, &Const("a.x.y", 1));
    EXPECT_EQ(1, static_cast<int>(Const("a.b", 1)));
    EXPECT_EQ(1, static_cast<int>(Const("a.b", 5)));
    EXPECT_EQ(2, static_cast<int>(Const("..a.b.c", 1)));
}

TEST_F(JsonKeyPathTest, MutableLookupCreatesMembers)
{
    JsonValue& created = Mutable("n.m");
    created = 7;
    EXPECT_TRUE(m_root.HasKey(QdxString("n")));
    EXPECT_EQ(7, static_cast<int>(Member("n")["m"]));

    Mutable("single") = "v";
    EXPECT_EQ(&m_root["single"], &Mutable("single"));

    EXPECT_EQ(&m_root["a"]["b"], &Mutable("a.b"));
    EXPECT_EQ(&m_root["a"]["b.c"], &Mutable("a.b.c", 1));

    JsonValue fresh;
    JsonValue_GetValueFromKeys(fresh, "p/q", -1, "/") = true;
    EXPECT_TRUE(static_cast<bool>(fresh["p"]["q"]));
}

TEST_F(JsonKeyPathTest, MutableLookupReturnsTheRootForNoKeyOrTooManyKeys)
{
    int const count = m_root.GetCount();
    EXPECT_EQ(&m_root, &Mutable("a.x.y"));
    EXPECT_EQ(&m_root, &Mutable("p.q.r"));
    EXPECT_EQ(&m_root, &Mutable(""));
    EXPECT_EQ(&m_root, &Mutable("/./", -1, "./"));
    EXPECT_EQ(count, m_root.GetCount());
    EXPECT_FALSE(m_root.HasKey(QdxString("p")));
    EXPECT_EQ(3, static_cast<int>(m_root["a"]["x"]["y"]));

    JsonValue null;
    EXPECT_EQ(&null, &JsonValue_GetValueFromKeys(null, "", -1, nullptr));
    EXPECT_EQ(nullptr, null.GetJsonString().c_str());
}
