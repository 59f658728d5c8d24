#include "QdxString.h"

#include "support/StdStringUtil.h"
#include "support/StdWideConversion.h"
#include "values/QdxStringImpl.h"

#include <locale>
#include <sstream>
#include <utility>

namespace Norvane {
namespace QDXDesktopSDK {

QdxString::QdxString() noexcept : m_pImpl(nullptr) {}

QdxString::QdxString(char const* text) : m_pImpl(nullptr)
{
    SetString(text);
}

QdxString::QdxString(double number) : m_pImpl(nullptr)
{
    std::ostringstream stream;
    stream.imbue(std::locale::classic());  // the same text whatever locale the host application chose
    stream << number;
    std::string token;
    std::istringstream(stream.str()) >> token;
    SetString(token.c_str());
}

QdxString::QdxString(QdxString const& other) : m_pImpl(nullptr)
{
    SetString(other.c_str());
}

QdxString::QdxString(QdxString&& other) noexcept : m_pImpl(std::exchange(other.m_pImpl, nullptr)) {}

QdxString::~QdxString()
{
    delete m_pImpl;
}

QdxString& QdxString::operator=(QdxString const& other)
{
    if (this != &other)
        SetString(other.c_str());
    return *this;
}

QdxString& QdxString::operator=(QdxString&& other) noexcept
{
    if (this != &other) {
        delete m_pImpl;
        m_pImpl = std::exchange(other.m_pImpl, nullptr);
    }
    return *this;
}

void QdxString::SetString(char const* text)
{
    if (text == nullptr) {
        delete m_pImpl;
        m_pImpl = nullptr;
    } else if (m_pImpl != nullptr) {
        m_pImpl->SetString(text);
    } else {
        m_pImpl = new QdxStringImpl(text);
    }
}

void QdxString::SetStringW(wchar_t const* text)
{
    if (text == nullptr) {
        SetString(nullptr);
        return;
    }
    std::string utf8;
    StdWideConversion::ToUtf8(text, utf8);
    SetString(utf8.c_str());
}

char const* QdxString::c_str() const
{
    return m_pImpl != nullptr ? m_pImpl->GetString() : nullptr;
}

wchar_t const* QdxString::c_strw() const
{
    return m_pImpl != nullptr ? m_pImpl->GetStringW().c_str() : nullptr;
}

std::size_t QdxString::size() const
{
    return m_pImpl != nullptr ? m_pImpl->size() : 0;
}

unsigned char QdxString::operator[](int index) const
{
    // Only the upper bound is checked, as the contract says; a negative index is the caller's fault.
    if (m_pImpl == nullptr || static_cast<long long>(index) >= static_cast<long long>(m_pImpl->size()))
        return 0;
    return static_cast<unsigned char>(m_pImpl->GetString()[index]);
}

int QdxString::compare(QdxString const& other) const
{
    if (this == &other || (size() == 0 && other.size() == 0))
        return 0;
    if (m_pImpl == nullptr)
        return -1;
    if (other.m_pImpl == nullptr)
        return 1;
    return m_pImpl->compare(*other.m_pImpl);
}

QdxString QdxString::Trim(QdxString const& set, bool left, bool right) const
{
    char const* const text = c_str();
    std::string const trimmed = StdStringUtil::Trim(text != nullptr ? text : "", set.c_str(), left, right);
    return QdxString(trimmed.c_str());
}

void QdxString::append(QdxString const& other)
{
    QdxString sum = *this + other;
    std::swap(m_pImpl, sum.m_pImpl);
}

bool operator<(QdxString const& left, QdxString const& right)
{
    return left.compare(right) < 0;
}

bool operator==(QdxString const& left, QdxString const& right)
{
    return left.compare(right) == 0;
}

bool operator!=(QdxString const& left, QdxString const& right)
{
    return left.compare(right) != 0;
}

QdxString operator+(QdxString const& left, QdxString const& right)
{
    std::string sum;
    sum.reserve(left.size() + right.size());
    if (left.size() != 0)
        sum.append(left.c_str(), left.size());
    if (right.size() != 0)
        sum.append(right.c_str(), right.size());
    return QdxString(sum.c_str());
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
