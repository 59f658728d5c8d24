#include "FacetCore.h"

#include "facets/TFunction.h"

#include <map>
#include <memory>
#include <string>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {
namespace Facet {

class Core::FacetTable : public std::map<QdxString, Base*> {};

namespace {

using FacetMap = std::map<QdxString, Base*>;
using FacetFactory = STLUtils::TFunction<Base*, int, Core>;

// Built for each creation only: creations are rare next to lookups. Each
// name is the one its class defines.
std::map<std::string, FacetFactory> FacetFactories()
{
    return {
        {Component::FacetName(), New_Component},
        {Content::FacetName(), New_Content},
        {Operation::FacetName(), New_Operation},
        {User::FacetName(), New_User},
        {Entitlement::FacetName(), New_Entitlement},
        {Product::FacetName(), New_Product},
        {Device::FacetName(), New_Device},
        {Geo::FacetName(), New_Geo},
        {Http::FacetName(), New_Http},
        {Browser::FacetName(), New_Browser},
    };
}

bool HasValue(Base const& facet)
{
    return &facet.Data() != &JsonValue::sNullValue;
}

void DeleteFacets(FacetMap& facets)
{
    for (auto const& entry : facets)
        delete entry.second;
}

// Points the facets that borrow `value` at no value at all.
void DetachFacets(FacetMap* facets, JsonValue const& value)
{
    if (facets == nullptr)
        return;
    for (auto const& entry : *facets)
        if (&std::as_const(*entry.second).Data() == &value)
            entry.second->SetJsonValue(nullptr, false);
}

}  // namespace

Core::Core(JsonValue* value, bool copy) : Base(value, copy), m_pFacets(nullptr) {}

Core::Core(Core&& other) : Base(std::move(other)), m_pFacets(std::exchange(other.m_pFacets, nullptr)) {}

Core& Core::operator=(Core&& other)
{
    // This Core's facets go to the other Core, which does not get the value they borrow (freed below when owned).
    DetachFacets(m_pFacets, std::as_const(*this).Data());
    Base::operator=(std::move(other));
    std::swap(m_pFacets, other.m_pFacets);
    return *this;
}

Core::~Core()
{
    Clear();
}

Base* Core::GetFacetByName(char const* name, FacetCreationAction action)
{
    QdxAutoLock lock(m_lock);
    if (m_pFacets == nullptr)
        m_pFacets = new FacetTable;
    QdxString const key(name);
    auto const found = m_pFacets->find(key);
    if (found != m_pFacets->end()) {
        if (action != FacetRemove)
            return found->second;
        std::unique_ptr<Base> facet(found->second);
        m_pFacets->erase(found);
        facet->RemoveFacetEntries();
        return nullptr;
    }
    if (action != FacetCreate || name == nullptr)
        return nullptr;
    auto const factories = FacetFactories();
    auto const factory = factories.find(name);
    if (factory == factories.end())
        return nullptr;
    // The factories ignore their argument and context.
    std::unique_ptr<Base> facet(factory->second(0, *this));
    facet->SetJsonValue(&Data(), false);
    m_pFacets->emplace(key, facet.get());
    return facet.release();
}

JsonValue Core::Build(JsonValue const& moreData) const
{
    JsonValue body = Base::Build(JsonValue());
    JsonValue names;
    if (m_pFacets != nullptr) {
        JsonValue const& value = Data();
        for (auto const& entry : *m_pFacets) {
            Base const& facet = *entry.second;
            // A facet that borrows the Core's value has its fields in the body already.
            if (&facet.Data() != &value)
                body.Merge(facet.Build(JsonValue()), false);
            names[-1] = facet.GetFacetName();
        }
    }
    if (moreData)
        body.Merge(moreData, false);
    body["facets"] = std::move(names);
    return body;
}

void Core::Assign(Core const& other)
{
    if (this == &other)
        return;
    Clear();
    if (!HasValue(other))
        return;
    Data() = other.Data();
    if (other.m_pFacets == nullptr)
        return;
    auto clones = std::make_unique<FacetTable>();
    try {
        for (auto const& entry : *other.m_pFacets) {
            std::unique_ptr<Base> clone(entry.second->Clone());
            clones->emplace(entry.first, clone.get());
            clone.release();
        }
    } catch (...) {
        DeleteFacets(*clones);
        throw;
    }
    m_pFacets = clones.release();
}

void Core::Clear()
{
    if (m_pFacets != nullptr) {
        DeleteFacets(*m_pFacets);
        delete m_pFacets;
        m_pFacets = nullptr;
    }
    SetJsonValue(nullptr, false);
}

char const* Core::FacetName()
{
    return "core";
}

char const* Core::GetFacetName() const
{
    return FacetName();
}

Base* Core::Clone() const
{
    auto clone = std::make_unique<Core>();
    clone->Assign(*this);
    return clone.release();
}

}  // namespace Facet
}  // namespace QDXDesktopSDK
}  // namespace Norvane
