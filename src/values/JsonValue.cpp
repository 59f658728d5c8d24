// The handle layer: null checks over JsonValueImpl, plus the rules that need
// the handle itself (an emptied value collapses to the null handle).
#include "JsonValue.h"

#include "support/StaticSetUpOrder.h"
#include "values/JsonTextReader.h"
#include "values/JsonTextWriter.h"
#include "values/JsonValueImpl.h"
#include "values/QdxStringAccess.h"

#include <climits>
#include <cmath>
#include <memory>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {

JsonValue const JsonValue::sNullValue QDX_STATIC_SET_UP_JSON_VALUE;

namespace {

std::string KeyText(QdxString const& key)
{
    return key.c_str() != nullptr ? std::string(key.c_str(), key.size()) : std::string();
}

}  // namespace

JsonValue::JsonValue() noexcept : m_pImpl(nullptr) {}
JsonValue::JsonValue(int number) : m_pImpl(new JsonValueImpl(static_cast<double>(number))) {}
JsonValue::JsonValue(long number) : m_pImpl(new JsonValueImpl(static_cast<double>(number))) {}
JsonValue::JsonValue(long long number) : m_pImpl(new JsonValueImpl(static_cast<double>(number))) {}
JsonValue::JsonValue(unsigned int number) : m_pImpl(new JsonValueImpl(static_cast<double>(number))) {}
JsonValue::JsonValue(unsigned long long number) : m_pImpl(new JsonValueImpl(static_cast<double>(number))) {}
JsonValue::JsonValue(double number) : m_pImpl(new JsonValueImpl(number)) {}
JsonValue::JsonValue(bool flag) : m_pImpl(new JsonValueImpl(flag)) {}

JsonValue::JsonValue(JsonValue const& other)
    : m_pImpl(other.m_pImpl != nullptr ? new JsonValueImpl(*other.m_pImpl) : nullptr)
{
}

JsonValue::JsonValue(JsonValue&& other) noexcept : m_pImpl(std::exchange(other.m_pImpl, nullptr)) {}

JsonValue::~JsonValue()
{
    delete m_pImpl;
}

JsonValue& JsonValue::operator=(JsonValue const& other)
{
    // Detached before copying: assigning a value to itself therefore leaves it null.
    std::unique_ptr<JsonValueImpl> const old(std::exchange(m_pImpl, nullptr));
    if (other.m_pImpl != nullptr)
        m_pImpl = new JsonValueImpl(*other.m_pImpl);
    return *this;
}

JsonValue& JsonValue::operator=(JsonValue&& other) noexcept
{
    Clear();
    if (other.m_pImpl != nullptr)
        m_pImpl = std::exchange(other.m_pImpl, nullptr);
    return *this;
}

void JsonValue::SetString(char const* text)
{
    Clear();
    m_pImpl = new JsonValueImpl(text != nullptr ? text : "");
}

void JsonValue::Clear()
{
    delete std::exchange(m_pImpl, nullptr);
}

JsonValue::operator bool() const
{
    return m_pImpl != nullptr && static_cast<bool>(*m_pImpl);
}

JsonValue::operator double() const
{
    return m_pImpl != nullptr ? m_pImpl->m_number : 0.0;
}

JsonValue::operator long long() const
{
    if (m_pImpl == nullptr)
        return 0;
    double const number = m_pImpl->m_number;
    // Out of range and NaN give the most negative value, as the hardware conversion does.
    if (!(number > -9223372036854775809.0 && number < 9223372036854775808.0))
        return LLONG_MIN;
    return static_cast<long long>(number);
}

JsonValue::operator int() const
{
    if (m_pImpl == nullptr)
        return 0;
    double const number = m_pImpl->m_number;
    if (!(number > -2147483649.0 && number < 2147483648.0))
        return INT_MIN;
    return static_cast<int>(number);
}

JsonValue::operator QdxString() const
{
    return m_pImpl != nullptr ? QdxString(m_pImpl->m_text.c_str()) : QdxString();
}

int JsonValue::GetCount() const
{
    return m_pImpl != nullptr ? m_pImpl->GetCount() : 0;
}

bool JsonValue::IsArray() const
{
    return m_pImpl != nullptr && m_pImpl->IsArray();
}

bool JsonValue::HasKey(QdxString const& key) const
{
    return m_pImpl != nullptr && m_pImpl->HasKey(KeyText(key));
}

JsonValue const& JsonValue::operator[](QdxString const& key) const
{
    if (m_pImpl == nullptr)
        return sNullValue;
    return static_cast<JsonValueImpl const&>(*m_pImpl)[KeyText(key)];
}

JsonValue& JsonValue::operator[](QdxString const& key)
{
    if (m_pImpl == nullptr)
        m_pImpl = new JsonValueImpl();
    return (*m_pImpl)[KeyText(key)];
}

JsonValue const& JsonValue::operator[](int index) const
{
    if (m_pImpl == nullptr)
        return sNullValue;
    return static_cast<JsonValueImpl const&>(*m_pImpl)[index];
}

JsonValue& JsonValue::operator[](int index)
{
    if (m_pImpl == nullptr)
        m_pImpl = new JsonValueImpl();
    return (*m_pImpl)[index];
}

JsonValue JsonValue::GetKeyList() const
{
    JsonValue keys;
    if (m_pImpl == nullptr)
        return keys;
    for (auto const& member : m_pImpl->m_members)
        keys[-1].SetString(member.first.c_str());
    return keys;
}

bool JsonValue::RemoveKey(QdxString const& key)
{
    if (m_pImpl == nullptr)
        return false;
    bool const removed = m_pImpl->RemoveKey(KeyText(key));
    if (m_pImpl->GetCount() == 0)
        Clear();
    return removed;
}

int JsonValue::Remove(int start, int count)
{
    if (m_pImpl == nullptr)
        return 0;
    int const removed = m_pImpl->Remove(start, count);
    if (m_pImpl->GetCount() == 0)
        Clear();
    return removed;
}

int JsonValue::Insert(JsonValue const& value, int index, bool unique)
{
    if (m_pImpl == nullptr) {
        (*this)[0] = value;
        return 0;
    }
    return m_pImpl->Insert(value, index, unique);
}

JsonValue JsonValue::Find(JsonValue const& value) const
{
    return m_pImpl != nullptr ? m_pImpl->Find(value) : JsonValue();
}

int JsonValue::Compare(JsonValue const& other) const
{
    if (this == &other || m_pImpl == other.m_pImpl)
        return 0;
    if (m_pImpl == nullptr)
        return -1;
    if (other.m_pImpl == nullptr)
        return 1;
    return m_pImpl->Compare(*other.m_pImpl);
}

bool JsonValue::Merge(JsonValue const& other, bool overwrite)
{
    if (other.m_pImpl == nullptr)
        return true;
    if (m_pImpl == nullptr) {
        *this = other;
        return true;
    }
    bool mergedAll = true;
    for (auto const& member : other.m_pImpl->m_members) {
        if (!overwrite && m_pImpl->HasKey(member.first)) {
            mergedAll = false;
            continue;
        }
        // Copied before assigning, so that merging a value into itself keeps it intact.
        (*m_pImpl)[member.first] = JsonValue(member.second);
    }
    return mergedAll;
}

QdxString JsonValue::GetJsonString() const
{
    return m_pImpl != nullptr ? QdxStringAccess::Adopt(WriteJsonText(*m_pImpl)) : QdxString();
}

bool JsonValue::FromJsonString(QdxString const& text)
{
    Clear();
    if (text.size() == 0)
        return false;
    m_pImpl = new JsonValueImpl();
    return ReadJsonText(text.c_str(), text.size(), *m_pImpl);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
