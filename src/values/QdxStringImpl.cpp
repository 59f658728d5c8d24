#include "values/QdxStringImpl.h"

#include "support/StdWideConversion.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace Norvane {
namespace QDXDesktopSDK {

QdxStringImpl::QdxStringImpl(char const* text)
{
    SetString(text);
}

void QdxStringImpl::SetString(char const* text)
{
    m_text.assign(text != nullptr ? text : "");
    m_wideText.clear();
}

char const* QdxStringImpl::GetString() const
{
    return m_text.c_str();
}

std::wstring const& QdxStringImpl::GetStringW()
{
    if (m_wideText.empty() && !m_text.empty())
        StdWideConversion::ToWide(m_text, m_wideText);
    return m_wideText;
}

std::size_t QdxStringImpl::size() const
{
    return m_text.size();
}

int QdxStringImpl::compare(QdxStringImpl const& other) const
{
    std::size_t const shorter = std::min(m_text.size(), other.m_text.size());
    if (shorter != 0) {
        int const bytes = std::memcmp(m_text.data(), other.m_text.data(), shorter);
        if (bytes != 0)
            return bytes;
    }
    long long const difference = static_cast<long long>(m_text.size()) - static_cast<long long>(other.m_text.size());
    return static_cast<int>(std::clamp<long long>(difference, INT_MIN, INT_MAX));
}

QdxStringImpl::operator std::string() const
{
    return m_text;
}

QdxStringImpl::operator std::string&()
{
    return m_text;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
