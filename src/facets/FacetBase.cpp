#include "Facet.h"

#include <functional>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {
namespace Facet {

namespace {

// Holds the locks of two facets, always taken in address order, so that two
// threads assigning two facets to each other cannot deadlock.
class PairLock {
public:
    PairLock(QdxLock& one, QdxLock& other) : PairLock(one, other, std::less<QdxLock*>()(&one, &other)) {}

private:
    PairLock(QdxLock& one, QdxLock& other, bool oneFirst)
        : m_first(oneFirst ? one : other), m_second(oneFirst ? other : one)
    {
    }

    QdxAutoLock m_first;
    QdxAutoLock m_second;
};

}  // namespace

Base::Base(JsonValue* value, bool copy) : m_pData(nullptr), m_owned(false)
{
    SetJsonValue(value, copy);
}

Base::Base(Base const& other) : m_pData(nullptr), m_owned(false)
{
    QdxAutoLock sourceLock(other.m_lock);
    SetJsonValue(other.m_pData, true);
}

Base::Base(Base&& other) : m_pData(nullptr), m_owned(false)
{
    QdxAutoLock sourceLock(other.m_lock);
    m_pData = other.m_pData;
    m_owned = other.m_owned;
    other.m_pData = nullptr;
    other.m_owned = false;
}

Base& Base::operator=(Base const& other)
{
    if (this != &other) {
        PairLock locks(m_lock, other.m_lock);
        SetJsonValue(other.m_pData, true);
    }
    return *this;
}

Base& Base::operator=(Base&& other)
{
    PairLock locks(m_lock, other.m_lock);
    SetJsonValue(nullptr, false);
    m_pData = other.m_pData;
    m_owned = other.m_owned;
    other.m_pData = nullptr;
    other.m_owned = false;
    return *this;
}

Base::~Base()
{
    SetJsonValue(nullptr, false);
}

JsonValue Base::Build(JsonValue const& moreData) const
{
    QdxAutoLock lock(m_lock);
    JsonValue result(Data());
    if (moreData)
        result.Merge(moreData, false);
    return result;
}

void Base::RemoveFacetEntries()
{
    QdxAutoLock lock(m_lock);
    if (m_pData == nullptr)
        return;
    std::string const prefix = std::string(GetFacetName()) + "_";
    // A copy of the keys, so removing members while walking it is safe.
    JsonValue const keys = m_pData->GetKeyList();
    for (int index = 0; index < keys.GetCount(); ++index) {
        QdxString const key = keys[index];
        if (key.size() >= prefix.size() && prefix.compare(0, prefix.size(), key.c_str(), prefix.size()) == 0)
            m_pData->RemoveKey(key);
    }
}

void Base::SetJsonValue(JsonValue* value, bool copy)
{
    QdxAutoLock lock(m_lock);
    JsonValue* replacement = value;
    if (copy) {
        // A null value only makes sure that there is one: this is how Data() creates it.
        if (value == nullptr && m_pData != nullptr)
            return;
        // Copied before the old value goes, which may be the very value copied.
        replacement = value != nullptr ? new JsonValue(*value) : new JsonValue();
    } else if (value == m_pData) {
        return;
    }
    if (m_owned)
        delete m_pData;
    m_pData = replacement;
    m_owned = copy;
}

JsonValue& Base::Data()
{
    QdxAutoLock lock(m_lock);
    SetJsonValue(nullptr, true);
    return *m_pData;
}

JsonValue const& Base::Data() const
{
    QdxAutoLock lock(m_lock);
    return m_pData != nullptr ? *m_pData : JsonValue::sNullValue;
}

}  // namespace Facet
}  // namespace QDXDesktopSDK
}  // namespace Norvane
