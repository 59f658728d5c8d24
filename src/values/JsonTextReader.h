#ifndef QDX_JSON_TEXT_READER_H
#define QDX_JSON_TEXT_READER_H

#include "values/JsonValueImpl.h"

#include <cstddef>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Containers nested deeper than this fail to parse, so that hostile text
/// cannot exhaust the stack of the parser or of the tree's own recursion.
constexpr int kMaxJsonNesting = 512;

/// Rebuilds `root` from one JSON value in `text` (strict JSON, surrounding
/// white space allowed; a zero byte ends the text), straight from the
/// parser's events. On failure `root` is left as JSON null and false is
/// returned.
bool ReadJsonText(char const* text, std::size_t length, JsonValueImpl& root);
/// As ReadJsonText, decoding strings in the zero-terminated `text` itself,
/// which is left changed.
bool ReadJsonTextInPlace(char* text, JsonValueImpl& root);
/// JsonValue::FromJsonString for a text that the caller no longer needs:
/// parsed in its own buffer, without a copy.
bool ReadJsonTextInPlace(std::string& text, JsonValue& value);

/// Empties `value` to a container without contents, the state every value
/// is rebuilt from.
void ResetJsonValue(JsonValueImpl& value);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
