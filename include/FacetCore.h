#ifndef QDX_FACET_CORE_H
#define QDX_FACET_CORE_H

#include "Facet.h"
#include "JsonValue.h"
#include "QdxExport.h"
#include "QdxString.h"

namespace Norvane {
namespace QDXDesktopSDK {
namespace Facet {

/// The facet container ("core") that an application fills for an event and
/// passes to the event calls. Its value is one flat JSON object that holds the
/// fields of all its facets: the facets it hands out by name borrow that
/// object, so writing to a facet's Data() writes into the Core.
///
/// The Core owns these facets. A pointer from GetFacetByName dangles once that
/// facet is removed (FacetRemove) and after Clear, Assign, a move assignment
/// onto the Core, and its destruction. Replacing the Core's value with
/// SetJsonValue or Base's assignments leaves its facets on the old value: use
/// Clear, Assign or the Core's own moves instead.
///
/// Threads: GetFacetByName holds the Core's lock, so several threads may find
/// and create facets at once, and read the value through Data() const.
/// Build, Assign, Clear, moves and destruction do not lock the facet table:
/// they must not overlap GetFacetByName on the same Core.
///
/// Not copyable: Clone() and Assign() make deep copies.
class QDX_EXPORT Core : public Base {
public:
    /// What GetFacetByName does with the facet it is asked for.
    enum FacetCreationAction {
        FacetFind = 0,    ///< Return the facet if present, else null.
        FacetCreate = 1,  ///< Return the facet, creating it when absent.
        FacetRemove = 2,  ///< Remove the facet and its fields from the value; return null.
    };

    /// As Base(value, copy), without facets.
    explicit Core(JsonValue* value = nullptr, bool copy = false);
    Core(Core const&) = delete;
    Core& operator=(Core const&) = delete;
    /// Takes the other Core's value and facets; the other is left empty.
    Core(Core&& other);
    /// Frees this Core's owned value and takes the other's value and facets.
    /// The other receives this Core's former facets, detached from any value,
    /// and deletes them when it is cleared or destroyed.
    Core& operator=(Core&& other);
    /// Deletes the facets, as Clear().
    ~Core() override;

    /// Finds, creates or removes the facet called `name`: "browser",
    /// "component", "content", "device", "entitlement", "geo", "http",
    /// "operation", "product" or "user", in exactly that case. Returns the
    /// facet, which the Core owns, or null: always for FacetRemove, for any
    /// other name (including "core") and for FacetFind of a facet not created.
    /// A created facet borrows the Core's value, which is created (owned,
    /// null) when the Core has none. Removing a facet also removes its fields
    /// from the value it uses.
    Base* GetFacetByName(char const* name, FacetCreationAction action);
    /// The event body: a copy of the value; then the fields of facets that own
    /// a separate value (as after Assign) and the members of `moreData`, each
    /// only where the body lacks them; then "facets", the array of the facet
    /// names in name order (a null member without facets), replacing any
    /// "facets" of the value or of `moreData`.
    JsonValue Build(JsonValue const& moreData) const override;
    /// Makes this Core a deep copy of `other`, sharing nothing (nothing happens
    /// when `other` is this Core): clears it, copies the other's value (none
    /// when the other has none) and clones each of the other's facets. The
    /// clones own copies of the other's value instead of borrowing this Core's:
    /// Build adds their members only where the Core's value lacks them, and
    /// removing such a facet takes its fields out of its own copy only.
    void Assign(Core const& other);
    /// Deletes every facet (borrowed values are not freed) and frees the value
    /// when owned: the Core is left without value and facets.
    void Clear();
    /// "core".
    static char const* FacetName();
    char const* GetFacetName() const override;
    /// A new Core made by Assign(*this). The caller deletes it.
    Base* Clone() const override;

private:
    class FacetTable;  // the facets by name; defined inside the library
    // Owned with every facet in it; created by the first GetFacetByName.
    FacetTable* m_pFacets;
};

}  // namespace Facet
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
