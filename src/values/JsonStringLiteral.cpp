#include "values/JsonStringLiteral.h"

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

bool IsContinuation(unsigned char byte)
{
    return (byte & 0xC0u) == 0x80u;
}

void AppendUnicodeEscape(std::string& out, unsigned unit)
{
    static char const hexDigits[] = "0123456789ABCDEF";
    char const escape[] = {'\\', 'u', hexDigits[(unit >> 12) & 15], hexDigits[(unit >> 8) & 15],
                           hexDigits[(unit >> 4) & 15], hexDigits[unit & 15]};
    out.append(escape, sizeof escape);
}

}  // namespace

std::size_t Utf8SequenceLength(unsigned char const* data, std::size_t size, unsigned& codepoint)
{
    unsigned char const lead = data[0];
    std::size_t length;
    unsigned minimum;
    if (lead < 0x80u) {
        codepoint = lead;
        return 1;
    } else if ((lead & 0xE0u) == 0xC0u) {
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
        if (!IsContinuation(data[i]))
            return 0;
        codepoint = (codepoint << 6) | (data[i] & 0x3Fu);
    }
    if (codepoint < minimum || codepoint > 0x10FFFFu || (codepoint >= 0xD800u && codepoint <= 0xDFFFu))
        return 0;
    return length;
}

bool IsValidUtf8(char const* data, std::size_t size)
{
    auto const* bytes = reinterpret_cast<unsigned char const*>(data);
    std::size_t i = 0;
    while (i < size) {
        if (bytes[i] < 0x80u) {
            ++i;
            continue;
        }
        unsigned codepoint;
        std::size_t const length = Utf8SequenceLength(bytes + i, size - i, codepoint);
        if (length == 0)
            return false;
        i += length;
    }
    return true;
}

void AppendJsonStringLiteral(std::string& out, char const* data, std::size_t size)
{
    auto const* bytes = reinterpret_cast<unsigned char const*>(data);
    out += '"';
    std::size_t i = 0;
    while (i < size) {
        unsigned char const byte = bytes[i];
        if (byte >= 0x80u) {
            unsigned codepoint;
            std::size_t const length = Utf8SequenceLength(bytes + i, size - i, codepoint);
            if (length == 0) {
                out += static_cast<char>(byte);
                ++i;
            } else if (codepoint <= 0xFFFFu) {
                AppendUnicodeEscape(out, codepoint);
                i += length;
            } else {
                unsigned const offset = codepoint - 0x10000u;
                AppendUnicodeEscape(out, 0xD800u + (offset >> 10));
                AppendUnicodeEscape(out, 0xDC00u + (offset & 0x3FFu));
                i += length;
            }
            continue;
        }
        ++i;
        switch (byte) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\b': out += "\\b"; break;
        case '\t': out += "\\t"; break;
        case '\n': out += "\\n"; break;
        case '\f': out += "\\f"; break;
        case '\r': out += "\\r"; break;
        default:
            if (byte < 0x20u)
                AppendUnicodeEscape(out, byte);
            else
                out += static_cast<char>(byte);
        }
    }
    out += '"';
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
