#ifndef QDX_STRING_H
#define QDX_STRING_H

#include "QdxExport.h"

#include <cstddef>

namespace Norvane {
namespace QDXDesktopSDK {

class QdxStringImpl;

/// The string type of every exported call: UTF-8 text behind a single owning
/// pointer, so that the application and the library need not share a
/// standard-library layout.
///
/// A string is either null (no string at all: what the default constructor
/// and SetString(nullptr) leave) or holds text, possibly empty. A null string
/// and "" compare equal, but only the null one has a null c_str().
/// Not safe for use from two threads at once (even c_strw() fills a cache).
class QDX_EXPORT QdxString {
public:
    /// A null string.
    QdxString() noexcept;
    /// A null string for nullptr, otherwise a copy of the UTF-8 text.
    QdxString(char const* text);
    /// The number as a standard text stream writes it by default
    /// (6 significant digits: 1.0/3 gives "0.333333", 1e7 gives "1e+07").
    explicit QdxString(double number);
    /// A copy: null stays null, empty stays empty (non-null).
    QdxString(QdxString const& other);
    /// Takes the other string's text; the other string becomes null.
    QdxString(QdxString&& other) noexcept;
    ~QdxString();

    QdxString& operator=(QdxString const& other);
    QdxString& operator=(QdxString&& other) noexcept;

    /// nullptr makes the string null; anything else replaces the text.
    void SetString(char const* text);
    /// Converts wide text to UTF-8; nullptr makes the string null. Text that
    /// cannot be converted leaves a non-null empty string.
    void SetStringW(wchar_t const* text);

    /// The UTF-8 text, or nullptr for a null string. Valid until the string
    /// changes or is destroyed.
    char const* c_str() const;
    /// The text as wide characters (empty if the UTF-8 is invalid), or
    /// nullptr for a null string. Computed once and cached.
    wchar_t const* c_strw() const;
    /// The length in bytes; 0 for a null string.
    std::size_t size() const;
    /// The byte at `index`, or 0 when `index` is at or past size().
    unsigned char operator[](int index) const;

    /// Three-way comparison: bytewise, a shorter prefix first; null and ""
    /// are equal, and a null string orders before any non-empty one.
    int compare(QdxString const& other) const;
    /// A new, non-null string without the characters of `set` at the chosen
    /// ends. A null or empty `set` means space, tab, carriage return and
    /// line feed.
    QdxString Trim(QdxString const& set, bool left, bool right) const;
    /// Appends the other string's text (a null one counts as "").
    void append(QdxString const& other);

private:
    friend struct QdxStringAccess;  // lets the library hand over text it built without copying
    QdxStringImpl* m_pImpl;
};

QDX_EXPORT bool operator<(QdxString const& left, QdxString const& right);
QDX_EXPORT bool operator==(QdxString const& left, QdxString const& right);
QDX_EXPORT bool operator!=(QdxString const& left, QdxString const& right);
/// The bytes of `left` followed by those of `right`; never null.
QDX_EXPORT QdxString operator+(QdxString const& left, QdxString const& right);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
