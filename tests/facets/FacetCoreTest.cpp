#include "FacetCore.h"
#include "FacetNames.h"
#include "facets/TFunction.h"
#include <gtest/gtest.h>
#include <array>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace Norvane::QDXDesktopSDK;
using Facet::Core;

// Applications compiled against the headers rely on this layout.
static_assert(sizeof(Core) == 40, "exported facet container layout changed");

namespace {
JsonValue const* const kNull = &JsonValue::sNullValue;
JsonValue J(char const* text)
{
    JsonValue value;
    EXPECT_TRUE(value.FromJsonString(text)) << text;
    return value;
}
#define EXPECT_JSON(expected, actual) EXPECT_EQ(0, J(expected).Compare(actual)) << (actual).GetJsonString().c_str()
JsonValue Body(Core const& core)
{
    return core.Build(JsonValue());
}
}  // namespace

TEST(FacetCoreTest, GetFacetByNameCreatesEachKnownFacetOnceOnTheCoreValue)
{
    Core core;
    EXPECT_EQ(nullptr, core.GetFacetByName("geo", Core::FacetFind));
    for (char const* unknown : {"core", "Product", "", "unknown", static_cast<char const*>(nullptr)})
        EXPECT_EQ(nullptr, core.GetFacetByName(unknown, Core::FacetCreate)) << unknown;
    EXPECT_EQ(kNull, &std::as_const(core).Data());
    for (char const* name : kFacetNames) {
        Facet::Base* const facet = core.GetFacetByName(name, Core::FacetCreate);
        ASSERT_NE(nullptr, facet) << name;
        EXPECT_STREQ(name, facet->GetFacetName());
        EXPECT_EQ(facet, core.GetFacetByName(name, Core::FacetCreate));
        EXPECT_EQ(facet, core.GetFacetByName(name, Core::FacetFind));
        EXPECT_EQ(&core.Data(), &facet->Data()) << name;
    }
}
TEST(FacetCoreTest, BuildListsTheFacetsByNameAndRemovalTakesTheirFieldsAlong)
{
    Core core;
    EXPECT_JSON(R"({"facets": null})", Body(core));
    core.GetFacetByName("user", Core::FacetCreate)->Data()["user_id"] = "u";
    core.GetFacetByName("geo", Core::FacetCreate);
    core.Data()["product_name"] = "n";
    core.Data()["x"] = 1;
    EXPECT_JSON(R"({"user_id": "u", "product_name": "n", "x": 1, "y": 2, "facets": ["geo", "user"]})",
                core.Build(J(R"({"facets": 1, "x": 2, "y": 2})")));
    EXPECT_EQ(nullptr, core.GetFacetByName("user", Core::FacetRemove));
    EXPECT_EQ(nullptr, core.GetFacetByName("user", Core::FacetFind));
    EXPECT_EQ(nullptr, core.GetFacetByName("user", Core::FacetRemove));
    EXPECT_JSON(R"({"product_name": "n", "x": 1, "facets": ["geo"]})", Body(core));
}
TEST(FacetCoreTest, CloneAndAssignMakeIndependentCopiesWhoseOwnMembersWin)
{
    Core source;
    source.GetFacetByName("product", Core::FacetCreate)->Data()["product_id"] = "p";
    source.GetFacetByName("content", Core::FacetCreate)->Data()["content_id"] = "c";
    std::unique_ptr<Facet::Base> clonedBase(source.Clone());
    Core& clone = dynamic_cast<Core&>(*clonedBase);
    EXPECT_EQ(0, Body(clone).Compare(Body(source)));
    Facet::Base* const product = clone.GetFacetByName("product", Core::FacetFind);
    product->Data()["product_id"] = "changed";
    product->Data()["product_new"] = 1;
    EXPECT_JSON(R"({"product_id": "p", "product_new": 1, "content_id": "c", "facets": ["content", "product"]})",
                Body(clone));
    EXPECT_JSON(R"({"product_id": "p", "content_id": "c", "facets": ["content", "product"]})", Body(source));
    clone.Assign(clone);
    EXPECT_EQ(product, clone.GetFacetByName("product", Core::FacetFind));
    clone.Assign(Core());
    EXPECT_EQ(kNull, &std::as_const(clone).Data());
    EXPECT_EQ(nullptr, clone.GetFacetByName("content", Core::FacetFind));
}
TEST(FacetCoreTest, MovesCarryTheFacetsWithTheValueAndTheMovedFromCoreKeepsWorking)
{
    Core first;
    Facet::Base* const user = first.GetFacetByName("user", Core::FacetCreate);
    user->Data()["user_id"] = 1;
    Core second(std::move(first));
    EXPECT_EQ(&second.Data(), &user->Data());
    EXPECT_JSON(R"({"facets": null})", Body(first));
    Core third;
    Facet::Base* const geo = third.GetFacetByName("geo", Core::FacetCreate);
    geo->Data()["geo_x"] = 1;
    third = std::move(second);
    EXPECT_JSON(R"({"user_id": 1, "facets": ["user"]})", Body(third));
    EXPECT_EQ(geo, second.GetFacetByName("geo", Core::FacetFind));
    EXPECT_EQ(kNull, &std::as_const(*geo).Data());
    EXPECT_JSON(R"({"facets": ["geo"]})", Body(second));
}
// Runs every sequence of four steps over two cores; AddressSanitizer reports any
// use of a freed value or facet, and any leak.
TEST(FacetCoreTest, CoresSurviveEveryOrderOfMovesAssignmentsClonesAndClears)
{
    using Cores = std::array<std::unique_ptr<Core>, 2>;
    auto fill = [](Core& core, int step) {
        core.GetFacetByName(kFacetNames[step], Core::FacetCreate)->Data()[QdxString(kFacetNames[step]) + "_x"] = step;
    };
    std::vector<std::function<void(Cores&, int)>> const steps = {
        [&](Cores& c, int step) { fill(*c[0], step); },
        [&](Cores& c, int step) { fill(*c[1], step); },
        [](Cores& c, int) { c[1] = std::make_unique<Core>(std::move(*c[0])); },
        [](Cores& c, int) { *c[0] = std::move(*c[1]); },
        [](Cores& c, int) { *c[1] = std::move(*c[0]); },
        [](Cores& c, int) { c[0]->Assign(*c[1]); },
        [](Cores& c, int) { c[1].reset(static_cast<Core*>(c[0]->Clone())); },
        [](Cores& c, int) { c[0]->Clear(); },
        [](Cores& c, int) { c[1]->GetFacetByName("product", Core::FacetRemove); },
        [](Cores& c, int) {
            auto& product = static_cast<Facet::Product&>(*c[0]->GetFacetByName("product", Core::FacetCreate));
            Facet::Product taken(std::move(product));
            product = std::move(taken);
        },
    };
    int const count = static_cast<int>(steps.size());
    for (int sequence = 0; sequence < count * count * count * count; ++sequence) {
        Cores cores = {std::make_unique<Core>(), std::make_unique<Core>()};
        fill(*cores[0], 0);
        for (int step = 0, code = sequence; step < 4; ++step, code /= count) {
            steps[code % count](cores, step);
            for (auto const& core : cores) {
                int facets = 0;
                for (char const* name : kFacetNames)
                    if (Facet::Base* facet = core->GetFacetByName(name, Core::FacetFind))
                        facets += facet->Build(JsonValue()).GetCount() >= 0;
                ASSERT_EQ(facets, Body(*core)["facets"].GetCount()) << "sequence " << sequence;
            }
        }
    }
}
TEST(FacetCoreTest, ThreadsFillTheirOwnCoresWhileSharingOne)
{
    constexpr int kThreads = 8;
    constexpr int kRounds = 50;
    Core shared;
    std::vector<std::array<Facet::Base*, 4>> seen(kThreads);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&, thread] {
            Core own;
            for (int round = 0; round < kRounds; ++round) {
                for (int index = 0; index < 4; ++index) {
                    char const* const name = kFacetNames[index];
                    auto action = (round + thread) % 2 != 0 ? Core::FacetCreate : Core::FacetFind;
                    if (Facet::Base* facet = shared.GetFacetByName(name, action)) {
                        if (seen[thread][index] == nullptr)
                            seen[thread][index] = facet;
                        failures += seen[thread][index] != facet ||
                                    &std::as_const(*facet).Data() != &std::as_const(shared).Data();
                    }
                    own.GetFacetByName(name, Core::FacetCreate)->Data()[QdxString(name) + "_round"] = round;
                }
                own.GetFacetByName(kFacetNames[round % 4], Core::FacetRemove);
                JsonValue const body = Body(own);
                failures += body["facets"].GetCount() != 3 || body.GetCount() != 4;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, failures.load());
    for (int index = 0; index < 4; ++index)
        for (auto const& facets : seen)
            EXPECT_EQ(shared.GetFacetByName(kFacetNames[index], Core::FacetFind), facets[index]) << kFacetNames[index];
}
TEST(FacetCoreTest, TFunctionCallsEachKindAndThrowsWhenEmpty)
{
    struct Owner {
        int base;
        int scale;
        int Add(int const& value) { return base + value; }
    };
    using Function = STLUtils::TFunction<int, int, Owner>;
    Function const plain([](int const& value, void* owner) { return value * static_cast<Owner*>(owner)->scale; });
    Function const member(&Owner::Add);
    Function const object(Function::FunctionObject([](int const& value, Owner& owner) { return value - owner.base; }));
    Owner owner{10, 10};
    EXPECT_EQ(30, plain(3, owner));
    EXPECT_EQ(13, member(3, owner));
    EXPECT_EQ(-7, object(3, owner));
    EXPECT_EQ(Function::Kind::Member, member.GetKind());
    for (Function const& empty : {Function(), Function(Function::PlainFunction(nullptr))}) {
        EXPECT_EQ(Function::Kind::Empty, empty.GetKind());
        EXPECT_THROW(empty(3, owner), std::bad_function_call);
    }
}
