#include "values/JsonValueImpl.h"

#include "values/JsonValueConversion.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {

JsonValueImpl::JsonValueImpl() : m_type(TypeNull), m_number(0.0) {}

JsonValueImpl::JsonValueImpl(double number) : m_type(TypeNumber), m_number(number) {}

JsonValueImpl::JsonValueImpl(char const* text) : m_type(TypeString), m_number(0.0), m_text(text != nullptr ? text : "")
{
}

JsonValueImpl::JsonValueImpl(bool flag) : m_type(TypeBoolean), m_number(flag ? 1.0 : 0.0) {}

JsonValueImpl::JsonValueImpl(JsonValueImpl const& other) = default;

JsonValueImpl::operator bool() const
{
    if (m_type != TypeBoolean && (!m_members.empty() || !m_elements.empty() || !m_text.empty()))
        return true;
    return m_number != 0.0;
}

JsonValue const& JsonValueImpl::operator[](int index) const
{
    if (index < 0 || index >= GetCount() || static_cast<std::size_t>(index) >= m_elements.size())
        return JsonValue::sNullValue;
    return m_elements[static_cast<std::size_t>(index)];
}

JsonValue& JsonValueImpl::operator[](int index)
{
    if (index >= 0 && static_cast<std::size_t>(index) < m_elements.size())
        return m_elements[static_cast<std::size_t>(index)];
    m_type = TypeContainer;
    return m_elements.emplace_back();
}

JsonValue const& JsonValueImpl::operator[](std::string const& key) const
{
    auto const member = m_members.find(key);
    return member != m_members.end() ? member->second : JsonValue::sNullValue;
}

JsonValue& JsonValueImpl::operator[](std::string const& key)
{
    m_type = TypeContainer;
    return m_members[key];
}

int JsonValueImpl::GetCount() const
{
    return static_cast<int>(!m_members.empty() ? m_members.size() : m_elements.size());
}

bool JsonValueImpl::IsArray() const
{
    return !m_elements.empty();
}

bool JsonValueImpl::HasKey(std::string const& key) const
{
    return m_members.count(key) != 0;
}

bool JsonValueImpl::RemoveKey(std::string const& key)
{
    return m_members.erase(key) != 0;
}

int JsonValueImpl::Remove(int start, int count)
{
    std::size_t const size = m_elements.size();
    std::size_t const first = static_cast<std::size_t>(std::max(start, 0));
    if (size < first)
        return 0;
    // Compared as unsigned 32-bit numbers, so a negative count reaches the end.
    unsigned const removed = std::min(static_cast<unsigned>(size - first), static_cast<unsigned>(count));
    auto const begin = m_elements.begin() + static_cast<std::ptrdiff_t>(first);
    m_elements.erase(begin, begin + static_cast<std::ptrdiff_t>(removed));
    return static_cast<int>(removed);
}

int JsonValueImpl::Insert(JsonValue const& value, int index, bool unique)
{
    if (unique && !m_elements.empty() && static_cast<int>(Find(value)) >= 0)
        return -1;
    if (index < 0 || static_cast<std::size_t>(index) >= m_elements.size()) {
        m_elements.push_back(value);
        return static_cast<int>(m_elements.size() - 1);
    }
    m_elements.insert(m_elements.begin() + index, value);
    return index;
}

JsonValue JsonValueImpl::Find(JsonValue const& value) const
{
    if (!m_elements.empty()) {
        for (std::size_t i = 0; i < m_elements.size(); ++i) {
            if (m_elements[i].Compare(value) == 0)
                return JsonValue(static_cast<int>(i));
        }
        return JsonValue(-1);
    }
    for (auto const& member : m_members) {
        if (member.second.Compare(value) == 0)
            return JsonValue(member.first.c_str());
    }
    QdxString const text = value;
    if (HasKey(text.c_str() != nullptr ? text.c_str() : ""))
        return value;
    return JsonValue();
}

namespace {

int CompareTexts(std::string const& left, std::string const& right)
{
    int const lengths = static_cast<int>(left.size()) - static_cast<int>(right.size());
    return lengths != 0 ? lengths : std::strcmp(left.c_str(), right.c_str());
}

int CompareNumbers(double left, double right)
{
    double const difference = left - right;
    if (difference >= 1.0 || difference <= -1.0) {
        // Clamped rather than converted, which would be undefined beyond the 32-bit range.
        if (difference >= static_cast<double>(INT_MAX))
            return INT_MAX;
        if (difference <= static_cast<double>(INT_MIN))
            return INT_MIN;
        return static_cast<int>(difference);
    }
    return difference < 0 ? -1 : (difference > 0 ? 1 : 0);
}

}  // namespace

int JsonValueImpl::Compare(JsonValueImpl const& other) const
{
    if (this == &other)
        return 0;
    if (!m_members.empty() || !other.m_members.empty()) {
        if (m_members.size() != other.m_members.size())
            return static_cast<int>(m_members.size()) - static_cast<int>(other.m_members.size());
        for (auto left = m_members.begin(), right = other.m_members.begin(); left != m_members.end(); ++left, ++right) {
            int result = std::strcmp(left->first.c_str(), right->first.c_str());
            if (result == 0)
                result = left->second.Compare(right->second);
            if (result != 0)
                return result;
        }
        return 0;
    }
    if (!m_elements.empty()) {
        if (m_elements.size() != other.m_elements.size())
            return static_cast<int>(m_elements.size()) - static_cast<int>(other.m_elements.size());
        for (std::size_t i = 0; i < m_elements.size(); ++i) {
            int const result = m_elements[i].Compare(other.m_elements[i]);
            if (result != 0)
                return result;
        }
        return 0;
    }
    if (!other.m_elements.empty())
        return -static_cast<int>(other.m_elements.size());
    if ((m_type == TypeString && other.m_type == TypeString) || (!m_text.empty() && !other.m_text.empty()))
        return CompareTexts(m_text, other.m_text);
    if (m_type != other.m_type)
        return m_type - other.m_type;
    return CompareNumbers(m_number, other.m_number);
}

std::set<QdxString> JsonValueImpl::GetKeys() const
{
    std::set<QdxString> keys;
    for (auto const& member : m_members)
        keys.emplace_hint(keys.end(), member.first.c_str());
    return keys;
}

std::string JsonValueImpl::GetJsonString() const
{
    return JsonValueConversion::GetJsonString(this);
}

bool JsonValueImpl::FromString(std::string const& text)
{
    return JsonValueConversion::FromString(text, *this);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
