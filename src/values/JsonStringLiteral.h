#ifndef QDX_JSON_STRING_LITERAL_H
#define QDX_JSON_STRING_LITERAL_H

#include <cstddef>

namespace Norvane {
namespace QDXDesktopSDK {

/// Room a literal of `size` bytes may take: 6 characters a byte at the most
/// (\u00XX for a control byte) and the quotes.
constexpr std::size_t JsonStringLiteralRoom(std::size_t size)
{
    return 6 * size + 2;
}

/// Writes `data` at `out` as a quoted JSON string in the pretty writer's ASCII form:
/// short escapes for quote, backslash, backspace, form feed, line feed,
/// carriage return and tab, \u00XX for other control characters, \uXXXX
/// (uppercase, surrogate pairs past U+FFFF) for every character past ASCII.
/// Bytes that are not part of well-formed UTF-8 are copied unchanged, so that
/// the text reads back to the very same bytes. `out` must have room for
/// JsonStringLiteralRoom(size) characters; returns the end of what was written.
char* WriteJsonStringLiteral(char* out, char const* data, std::size_t size);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
