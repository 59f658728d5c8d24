// The ten facet classes and their factories. They differ only in their names,
// except for the content facet's editing timer.
#include "Facet.h"

#include "support/StdProcessTime.h"

namespace Norvane {
namespace QDXDesktopSDK {
namespace Facet {

// clang-format off
#define QDX_DEFINE_FACET_CLASS(ClassName, facetName)                                    \
    ClassName::ClassName(JsonValue* value, bool copy) : Base(value, copy) {}            \
    ClassName::~ClassName() = default;                                                  \
    char const* ClassName::FacetName() { return facetName; }                            \
    char const* ClassName::GetFacetName() const { return FacetName(); }                 \
    Base* ClassName::Clone() const { return new ClassName(*this); }                     \
    Base* New_##ClassName(int const&, void*) { return new ClassName(nullptr, false); }
// clang-format on

QDX_DEFINE_FACET_CLASS(Product, "product")
QDX_DEFINE_FACET_CLASS(Geo, "geo")
QDX_DEFINE_FACET_CLASS(Http, "http")
QDX_DEFINE_FACET_CLASS(Browser, "browser")
QDX_DEFINE_FACET_CLASS(Operation, "operation")
QDX_DEFINE_FACET_CLASS(Entitlement, "entitlement")
QDX_DEFINE_FACET_CLASS(Device, "device")
QDX_DEFINE_FACET_CLASS(User, "user")
QDX_DEFINE_FACET_CLASS(Component, "component")

#undef QDX_DEFINE_FACET_CLASS

Content::Content(JsonValue* value, bool copy) : Base(value, copy), m_editStart(-1) {}

Content::~Content() = default;

JsonValue Content::Build(JsonValue const& moreData) const
{
    QdxAutoLock lock(m_lock);
    JsonValue result(Data());
    // Added before the merge, so that the extra data cannot replace the measured length.
    if (m_editStart != -1)
        result["content_meta"]["document_editing_length_ms"] = StdProcessUtil::GetTickCount() - m_editStart;
    if (moreData)
        result.Merge(moreData, false);
    return result;
}

char const* Content::FacetName()
{
    return "content";
}

char const* Content::GetFacetName() const
{
    return FacetName();
}

Base* Content::Clone() const
{
    QdxAutoLock lock(m_lock);
    return new Content(*this);
}

long long Content::StartDocumentEditTimer()
{
    QdxAutoLock lock(m_lock);
    m_editStart = StdProcessUtil::GetTickCount();
    return m_editStart;
}

Base* New_Content(int const&, void*)
{
    return new Content(nullptr, false);
}

}  // namespace Facet
}  // namespace QDXDesktopSDK
}  // namespace Norvane
