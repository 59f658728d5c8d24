#include "values/JsonStringLiteral.h"

#include <array>
#include <cstring>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// For each byte: 0 when it stands for itself, 'u' for a \u escape, 'x' for a
// byte past ASCII, else the letter of its short escape.
constexpr std::array<char, 256> MakeEscapeTable()
{
    std::array<char, 256> table{};
    for (int byte = 0; byte < 0x20; ++byte)
        table[byte] = 'u';
    table['\b'] = 'b';
    table['\t'] = 't';
    table['\n'] = 'n';
    table['\f'] = 'f';
    table['\r'] = 'r';
    table['"'] = '"';
    table['\\'] = '\\';
    for (int byte = 0x80; byte < 0x100; ++byte)
        table[byte] = 'x';
    return table;
}

constexpr std::array<char, 256> kEscape = MakeEscapeTable();

// Length of the well-formed UTF-8 sequence at `data` (no overlong forms,
// surrogates or code points past U+10FFFF), or 0.
std::size_t Utf8SequenceLength(unsigned char const* data, std::size_t size, unsigned& codepoint)
{
    unsigned char const lead = data[0];
    std::size_t length;
    unsigned minimum;
    if ((lead & 0xE0u) == 0xC0u) {
        length = 2;
        minimum = 0x80u;
        codepoint = lead & 0x1Fu;
    } else if ((lead & 0xF0u) == 0xE0u) {
        length = 3;
        minimum = 0x800u;
        codepoint = lead & 0x0Fu;
    } else if ((lead & 0xF8u) == 0xF0u) {
        length = 4;
        minimum = 0x10000u;
        codepoint = lead & 0x07u;
    } else {
        return 0;
    }
    if (size < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((data[i] & 0xC0u) != 0x80u)
            return 0;
        codepoint = (codepoint << 6) | (data[i] & 0x3Fu);
    }
    if (codepoint < minimum || codepoint > 0x10FFFFu || (codepoint >= 0xD800u && codepoint <= 0xDFFFu))
        return 0;
    return length;
}

char* WriteUnicodeEscape(char* out, unsigned unit)
{
    static char const hexDigits[] = "0123456789ABCDEF";
    *out++ = '\\';
    *out++ = 'u';
    *out++ = hexDigits[(unit >> 12) & 15];
    *out++ = hexDigits[(unit >> 8) & 15];
    *out++ = hexDigits[(unit >> 4) & 15];
    *out++ = hexDigits[unit & 15];
    return out;
}

}  // namespace

char* WriteJsonStringLiteral(char* out, char const* data, std::size_t size)
{
    auto const* bytes = reinterpret_cast<unsigned char const*>(data);
    *out++ = '"';
    std::size_t i = 0;
    while (i < size) {
        std::size_t const runStart = i;
        while (i < size && kEscape[bytes[i]] == 0)
            ++i;
        std::memcpy(out, data + runStart, i - runStart);
        out += i - runStart;
        if (i == size)
            break;
        char const escape = kEscape[bytes[i]];
        if (escape == 'x') {
            unsigned codepoint;
            std::size_t const length = Utf8SequenceLength(bytes + i, size - i, codepoint);
            if (length == 0) {
                *out++ = data[i++];
                continue;
            }
            if (codepoint <= 0xFFFFu) {
                out = WriteUnicodeEscape(out, codepoint);
            } else {
                unsigned const offset = codepoint - 0x10000u;
                out = WriteUnicodeEscape(out, 0xD800u + (offset >> 10));
                out = WriteUnicodeEscape(out, 0xDC00u + (offset & 0x3FFu));
            }
            i += length;
        } else if (escape == 'u') {
            out = WriteUnicodeEscape(out, bytes[i++]);
        } else {
            *out++ = '\\';
            *out++ = escape;
            ++i;
        }
    }
    *out++ = '"';
    return out;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
