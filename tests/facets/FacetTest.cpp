#include "Facet.h"
#include "FacetNames.h"
#include "support/StdProcessTime.h"
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>

using namespace Norvane::QDXDesktopSDK;

// Applications compiled against the headers rely on this layout.
static_assert(sizeof(Facet::Base) == 32 && sizeof(Facet::Content) == 40, "exported facet layout changed");

namespace {
JsonValue const* const kNull = &JsonValue::sNullValue;
JsonValue J(char const* text)
{
    JsonValue value;
    EXPECT_TRUE(value.FromJsonString(text)) << text;
    return value;
}
#define EXPECT_JSON(expected, actual) EXPECT_EQ(0, J(expected).Compare(actual)) << (actual).GetJsonString().c_str()
long long EditingLength(Facet::Base const& content)
{
    return content.Build(JsonValue())["content_meta"]["document_editing_length_ms"];
}
}  // namespace

TEST(FacetTest, FactoriesMakeEmptyFacetsOfTheirClassThatAllocateOnFirstWrite)
{
    Facet::Base* (*const factories[])(int const&, void*) = {
        Facet::New_Product,   Facet::New_Geo,         Facet::New_Content, Facet::New_Http, Facet::New_Browser,
        Facet::New_Operation, Facet::New_Entitlement, Facet::New_Device,  Facet::New_User, Facet::New_Component};
    static_assert(std::size(factories) == std::size(kFacetNames));
    for (std::size_t index = 0; index < std::size(kFacetNames); ++index) {
        std::unique_ptr<Facet::Base> facet(factories[index](7, nullptr));
        EXPECT_STREQ(kFacetNames[index], facet->GetFacetName());
        EXPECT_EQ(kNull, &std::as_const(*facet).Data()) << kFacetNames[index];
        EXPECT_EQ(nullptr, facet->Build(JsonValue()).GetJsonString().c_str()) << kFacetNames[index];
        JsonValue& data = facet->Data();
        EXPECT_EQ(&data, &facet->Data()) << kFacetNames[index];
        std::unique_ptr<Facet::Base> clone(facet->Clone());
        EXPECT_EQ(typeid(*facet), typeid(*clone)) << kFacetNames[index];
    }
}
TEST(FacetTest, SetJsonValueBorrowsOrCopiesAndCopiesOfBorrowersOwnTheirValue)
{
    JsonValue external = J(R"({"product_id": "p"})");
    Facet::Product facet(&external, false);
    facet.SetJsonValue(nullptr, true);
    EXPECT_EQ(&external, &facet.Data());
    Facet::Product copy(facet);
    Facet::Product assigned;
    assigned = facet;
    copy.Data()["product_id"] = "copy";
    assigned.Data()["product_id"] = "assigned";
    EXPECT_JSON(R"({"product_id": "p"})", external);
    facet.SetJsonValue(&facet.Data(), true);  // copies the borrowed value before letting go of it
    facet.SetJsonValue(&facet.Data(), true);  // copies its own value before freeing it
    EXPECT_NE(&external, &facet.Data());
    EXPECT_JSON(R"({"product_id": "p"})", facet.Data());
    facet.SetJsonValue(nullptr, false);
    EXPECT_EQ(kNull, &std::as_const(facet).Data());
    Facet::Product copyOfEmpty(facet);
    EXPECT_NE(kNull, &std::as_const(copyOfEmpty).Data());
}
TEST(FacetTest, MovesHandOverTheValueAndItsOwnership)
{
    Facet::User source;
    JsonValue* const value = &source.Data();
    Facet::User moved(std::move(source));
    EXPECT_EQ(kNull, &std::as_const(source).Data());
    Facet::User target;
    target.Data()["user_x"] = 2;
    target = std::move(moved);
    EXPECT_EQ(value, &target.Data());
    EXPECT_EQ(kNull, &std::as_const(moved).Data());
    JsonValue external;
    {
        Facet::Geo borrower(&external, false);
        Facet::Geo taker(std::move(borrower));
        borrower = std::move(taker);
        EXPECT_EQ(&external, &borrower.Data());
    }
    external["geo_x"] = 1;  // still alive: borrowed values are never freed
}
TEST(FacetTest, RemoveFacetEntriesTakesOnlyKeysThatBeginWithTheFacetPrefix)
{
    Facet::User user;
    user.RemoveFacetEntries();
    EXPECT_EQ(kNull, &std::as_const(user).Data());
    user.Data() = J(R"({"user_id": 1, "user_x": 2, "user_": 3, "users": 4, "my_user_id": 5, "product_user_id": 6})");
    user.RemoveFacetEntries();
    EXPECT_JSON(R"({"users": 4, "my_user_id": 5, "product_user_id": 6})", user.Data());
    Facet::Geo geo;
    geo.Data()["geo_only"] = 1;
    geo.RemoveFacetEntries();
    EXPECT_EQ(nullptr, geo.Data().GetJsonString().c_str());
}
TEST(FacetTest, BuildAddsOnlyTheMembersThatTheValueLacks)
{
    Facet::Product product;
    product.Data()["product_id"] = "own";
    EXPECT_JSON(R"({"product_id": "own", "x": 1})", product.Build(J(R"({"product_id": "more", "x": 1})")));
    EXPECT_JSON(R"({"product_id": "own"})", product.Build(JsonValue(0)));
    EXPECT_JSON(R"({"product_id": "own"})", product.Data());
}
TEST(FacetTest, ContentReportsTheEditingLengthOnceItsTimerRuns)
{
    Facet::Content content;
    content.Data()["content_id"] = "doc";
    JsonValue const theirs = J(R"({"content_meta": "theirs"})");
    EXPECT_JSON(R"({"content_id": "doc", "content_meta": "theirs"})", content.Build(theirs));
    EXPECT_LE(content.StartDocumentEditTimer(), StdProcessUtil::GetTickCount());
    long long const first = EditingLength(content);
    EXPECT_GE(first, 0);
    StdProcessUtil::Sleep(50);
    std::unique_ptr<Facet::Base> clone(content.Clone());
    long long const second = EditingLength(*clone);
    EXPECT_GE(second, first);
    EXPECT_GE(second, 50);
    EXPECT_TRUE(content.Build(theirs)["content_meta"].HasKey("document_editing_length_ms"));
    EXPECT_JSON(R"({"content_id": "doc"})", content.Data());
}
