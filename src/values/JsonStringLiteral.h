#ifndef QDX_JSON_STRING_LITERAL_H
#define QDX_JSON_STRING_LITERAL_H

#include <cstddef>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Length of the well-formed UTF-8 sequence at the start of `data`
/// (overlong forms, surrogates and code points past U+10FFFF are not), or 0.
std::size_t Utf8SequenceLength(unsigned char const* data, std::size_t size, unsigned& codepoint);

bool IsValidUtf8(char const* data, std::size_t size);

/// Appends `data` as a quoted JSON string in the pretty writer's ASCII form
/// (short escapes, \u00XX for other control characters, \uXXXX and surrogate
/// pairs past U+007F). Bytes that are not part of well-formed UTF-8 are
/// copied unchanged, so that the text reads back to the very same bytes.
void AppendJsonStringLiteral(std::string& out, char const* data, std::size_t size);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
