#ifndef QDX_JSON_KEY_PATH_H
#define QDX_JSON_KEY_PATH_H

#include "JsonValue.h"
#include "QdxExport.h"

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Looks up a member by a path of one or two keys, such as "a.b".
/// Any character of `separators` (nullptr or "" means ".") separates keys;
/// empty keys are dropped. A `maxSplits` of 0 or more stops splitting after
/// that many keys (at least one); the rest of the path becomes one last key.
/// One key gives that member, two keys the member of the member; with no key
/// or more than two keys the result is sNullValue.
QDX_EXPORT JsonValue const& JsonValue_GetValueFromKeys(JsonValue const& value, std::string const& keyPath,
                                                       int maxSplits, char const* separators);
/// As above, but missing members are created, and with no key or more than
/// two keys `value` itself is returned.
QDX_EXPORT JsonValue& JsonValue_GetValueFromKeys(JsonValue& value, std::string const& keyPath, int maxSplits,
                                                 char const* separators);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
