#ifndef QDX_FACET_H
#define QDX_FACET_H

#include "JsonValue.h"
#include "QdxExport.h"
#include "QdxLock.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// Facets: named groups of descriptive fields that an application attaches to
/// the events it tracks. Facet::Core (FacetCore.h) gathers them into an event
/// body.
namespace Facet {

/// A facet: a JSON value whose members beginning with the facet's name and "_"
/// (such as "product_id" for the product facet) are the facet's fields. The
/// facet has no value, owns one, or borrows one (normally the value of the
/// Facet::Core that handed it out). It frees an owned value when the value is
/// replaced or the facet dies; a borrowed value must outlive the facet and is
/// never freed by it.
///
/// Threads: every operation that reads or replaces the value pointer holds the
/// facet's own lock, so one facet may be used from several threads. The value
/// that Data() returns is not guarded once returned: callers that use it from
/// several threads coordinate themselves.
///
/// Applications may derive their own facets: a class that returns its name
/// from GetFacetName() and a copy of itself from Clone().
class QDX_EXPORT Base {
public:
    /// Starts without a value, then SetJsonValue(value, copy).
    Base(JsonValue* value, bool copy);
    /// An owned deep copy of the other facet's value (an owned null value when
    /// the other has none), even when the other borrows its value.
    Base(Base const& other);
    /// Takes the other facet's value and its ownership; the other is left
    /// without a value.
    Base(Base&& other);
    /// Unless `other` is this facet: an owned deep copy of the other's value
    /// replaces this facet's value.
    Base& operator=(Base const& other);
    /// Frees this facet's owned value, then takes the other's value and its
    /// ownership; the other is left without a value. Moving a facet into
    /// itself leaves it without a value.
    Base& operator=(Base&& other);
    /// Frees the value when owned.
    virtual ~Base();

    /// The facet's contribution to an event: a copy of the value, to which
    /// the members of `moreData` that the value lacks are added when
    /// `moreData` is true by JsonValue::operator bool. The stored value does
    /// not change. A facet without a value and without `moreData` builds a
    /// null handle.
    virtual JsonValue Build(JsonValue const& moreData) const;
    /// The facet's name, as its class's static FacetName().
    virtual char const* GetFacetName() const = 0;
    /// A new facet of the same class that owns a deep copy of this facet's
    /// value. The caller deletes it.
    virtual Base* Clone() const = 0;
    /// Removes every member whose key begins with GetFacetName() and "_" (for
    /// the user facet "user_id", but neither "users" nor "my_user_id"). A value
    /// that loses its last member becomes a null handle.
    virtual void RemoveFacetEntries();

    /// With `copy`: an owned deep copy of `*value` replaces the value, except
    /// that a null `value` keeps an existing value and gives a facet without
    /// one an owned null value. Without `copy`: the facet borrows `value`
    /// (nullptr: no value). A replaced value is freed when it was owned.
    void SetJsonValue(JsonValue* value, bool copy);
    /// The value, for writing; a facet without one first gets an owned null
    /// value. The reference stays valid until the value is replaced or freed
    /// (SetJsonValue, assignment, destruction of the owner).
    JsonValue& Data();
    /// The value, or JsonValue::sNullValue (never to be modified) when the
    /// facet has none.
    JsonValue const& Data() const;

private:
    JsonValue* m_pData;  // guarded by m_lock
    bool m_owned;        // guarded by m_lock: whether this facet frees m_pData

protected:
    /// Guards the value pointer and its ownership; derived classes guard their
    /// own fields with it too. Recursive.
    mutable QdxLock m_lock;
};

/// The product facet ("product"): which product is running.
class QDX_EXPORT Product : public Base {
public:
    /// As Base(value, copy).
    explicit Product(JsonValue* value = nullptr, bool copy = false);
    Product(Product const&) = default;
    Product(Product&&) = default;
    Product& operator=(Product const&) = default;
    Product& operator=(Product&&) = default;
    ~Product() override;
    /// "product".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// The geography facet ("geo"): where the product runs.
class QDX_EXPORT Geo : public Base {
public:
    /// As Base(value, copy).
    explicit Geo(JsonValue* value = nullptr, bool copy = false);
    Geo(Geo const&) = default;
    Geo(Geo&&) = default;
    Geo& operator=(Geo const&) = default;
    Geo& operator=(Geo&&) = default;
    ~Geo() override;
    /// "geo".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// The content facet ("content"): which document is worked on, and for how
/// long it has been edited.
class QDX_EXPORT Content : public Base {
public:
    /// As Base(value, copy), with the editing timer stopped.
    explicit Content(JsonValue* value = nullptr, bool copy = false);
    Content(Content const&) = default;
    Content(Content&&) = default;
    Content& operator=(Content const&) = default;
    Content& operator=(Content&&) = default;
    ~Content() override;
    /// As Base::Build, but once the editing timer runs the copy first gets
    /// "content_meta"."document_editing_length_ms": the milliseconds since the
    /// timer started. Members of `moreData` never replace "content_meta" then.
    JsonValue Build(JsonValue const& moreData) const override;
    /// "content".
    static char const* FacetName();
    char const* GetFacetName() const override;
    /// Copies the editing timer too.
    Base* Clone() const override;
    /// Starts, or restarts, the editing timer at the monotonic clock's
    /// milliseconds, and returns that tick count. The timer has no stop: every
    /// later Build reports the length since this start.
    long long StartDocumentEditTimer();

private:
    long long m_editStart;  // guarded by m_lock: monotonic milliseconds, -1 while the timer is stopped
};

/// The HTTP facet ("http"): the request an event belongs to.
class QDX_EXPORT Http : public Base {
public:
    /// As Base(value, copy).
    explicit Http(JsonValue* value = nullptr, bool copy = false);
    Http(Http const&) = default;
    Http(Http&&) = default;
    Http& operator=(Http const&) = default;
    Http& operator=(Http&&) = default;
    ~Http() override;
    /// "http".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// The browser facet ("browser"): the browser an event comes through.
class QDX_EXPORT Browser : public Base {
public:
    /// As Base(value, copy).
    explicit Browser(JsonValue* value = nullptr, bool copy = false);
    Browser(Browser const&) = default;
    Browser(Browser&&) = default;
    Browser& operator=(Browser const&) = default;
    Browser& operator=(Browser&&) = default;
    ~Browser() override;
    /// "browser".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// The operation facet ("operation"): which operation the user performed.
class QDX_EXPORT Operation : public Base {
public:
    /// As Base(value, copy).
    explicit Operation(JsonValue* value = nullptr, bool copy = false);
    Operation(Operation const&) = default;
    Operation(Operation&&) = default;
    Operation& operator=(Operation const&) = default;
    Operation& operator=(Operation&&) = default;
    ~Operation() override;
    /// "operation".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// The entitlement facet ("entitlement"): what the user is entitled to use.
class QDX_EXPORT Entitlement : public Base {
public:
    /// As Base(value, copy).
    explicit Entitlement(JsonValue* value = nullptr, bool copy = false);
    Entitlement(Entitlement const&) = default;
    Entitlement(Entitlement&&) = default;
    Entitlement& operator=(Entitlement const&) = default;
    Entitlement& operator=(Entitlement&&) = default;
    ~Entitlement() override;
    /// "entitlement".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// The device facet ("device"): the machine the product runs on.
class QDX_EXPORT Device : public Base {
public:
    /// As Base(value, copy).
    explicit Device(JsonValue* value = nullptr, bool copy = false);
    Device(Device const&) = default;
    Device(Device&&) = default;
    Device& operator=(Device const&) = default;
    Device& operator=(Device&&) = default;
    ~Device() override;
    /// "device".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// The user facet ("user"): who uses the product.
class QDX_EXPORT User : public Base {
public:
    /// As Base(value, copy).
    explicit User(JsonValue* value = nullptr, bool copy = false);
    User(User const&) = default;
    User(User&&) = default;
    User& operator=(User const&) = default;
    User& operator=(User&&) = default;
    ~User() override;
    /// "user".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// The component facet ("component"): which part of the product is used.
class QDX_EXPORT Component : public Base {
public:
    /// As Base(value, copy).
    explicit Component(JsonValue* value = nullptr, bool copy = false);
    Component(Component const&) = default;
    Component(Component&&) = default;
    Component& operator=(Component const&) = default;
    Component& operator=(Component&&) = default;
    ~Component() override;
    /// "component".
    static char const* FacetName();
    char const* GetFacetName() const override;
    Base* Clone() const override;
};

/// Factories of the facet classes, as Facet::Core's table of facets by name
/// calls them. Each ignores both arguments and returns a new facet of its
/// class without a value (the content facet's timer stopped), which the caller
/// deletes.
QDX_EXPORT Base* New_Product(int const& unused, void* context);
QDX_EXPORT Base* New_Geo(int const& unused, void* context);
QDX_EXPORT Base* New_Content(int const& unused, void* context);
QDX_EXPORT Base* New_Http(int const& unused, void* context);
QDX_EXPORT Base* New_Browser(int const& unused, void* context);
QDX_EXPORT Base* New_Operation(int const& unused, void* context);
QDX_EXPORT Base* New_Entitlement(int const& unused, void* context);
QDX_EXPORT Base* New_Device(int const& unused, void* context);
QDX_EXPORT Base* New_User(int const& unused, void* context);
QDX_EXPORT Base* New_Component(int const& unused, void* context);

}  // namespace Facet
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
