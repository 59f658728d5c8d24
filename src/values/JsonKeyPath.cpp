#include "JsonKeyPath.h"

#include "support/StdStringUtil.h"

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

// Const and non-const lookups alike; only what a path of no key or of more
// than two keys gives differs between them.
template <typename Value>
Value& ValueFromKeys(Value& value, std::string const& keyPath, int maxSplits, char const* separators, Value& otherwise)
{
    std::string const separatorSet = (separators != nullptr && *separators != '\0') ? separators : ".";
    std::vector<std::string> const keys = StdStringUtil::SplitString(keyPath, separatorSet, false, maxSplits);
    if (keys.size() == 1)
        return value[keys[0].c_str()];
    if (keys.size() == 2)
        return value[keys[0].c_str()][keys[1].c_str()];
    return otherwise;
}

}  // namespace

JsonValue const& JsonValue_GetValueFromKeys(JsonValue const& value, std::string const& keyPath, int maxSplits,
                                            char const* separators)
{
    return ValueFromKeys(value, keyPath, maxSplits, separators, JsonValue::sNullValue);
}

JsonValue& JsonValue_GetValueFromKeys(JsonValue& value, std::string const& keyPath, int maxSplits,
                                      char const* separators)
{
    return ValueFromKeys(value, keyPath, maxSplits, separators, value);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
