#include "JsonKeyPath.h"

#include "support/StdStringUtil.h"

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

std::vector<std::string> SplitKeyPath(std::string const& keyPath, int maxSplits, char const* separators)
{
    std::string const separatorSet = (separators != nullptr && *separators != '\0') ? separators : ".";
    return StdStringUtil::SplitString(keyPath, separatorSet, false, maxSplits);
}

}  // namespace

JsonValue const& JsonValue_GetValueFromKeys(JsonValue const& value, std::string const& keyPath, int maxSplits,
                                            char const* separators)
{
    std::vector<std::string> const keys = SplitKeyPath(keyPath, maxSplits, separators);
    if (keys.size() == 1)
        return value[keys[0].c_str()];
    if (keys.size() == 2)
        return value[keys[0].c_str()][keys[1].c_str()];
    return JsonValue::sNullValue;
}

JsonValue& JsonValue_GetValueFromKeys(JsonValue& value, std::string const& keyPath, int maxSplits,
                                      char const* separators)
{
    std::vector<std::string> const keys = SplitKeyPath(keyPath, maxSplits, separators);
    if (keys.size() == 1)
        return value[keys[0].c_str()];
    if (keys.size() == 2)
        return value[keys[0].c_str()][keys[1].c_str()];
    return value;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
