// The core's helpers around the JSON parser (which LocalCoreJson.h puts in a
// namespace of the core's own).
#ifndef QDX_LOCALCORE_CORE_JSON_H
#define QDX_LOCALCORE_CORE_JSON_H

#include "LocalCoreJson.h"

#include <string>

namespace Norvane {
namespace LocalCore {

using JsonDocument = QdxLocalCoreJson::Document;
using JsonNode = QdxLocalCoreJson::Value;

/// The compact text of a JSON value.
inline std::string CompactText(JsonNode const& value)
{
    QdxLocalCoreJson::StringBuffer buffer;
    QdxLocalCoreJson::Writer<QdxLocalCoreJson::StringBuffer> writer(buffer);
    value.Accept(writer);
    return std::string(buffer.GetString(), buffer.GetSize());
}

/// The string member `name` of an object, or `fallback`.
inline std::string StringMember(JsonNode const& object, char const* name, std::string const& fallback = std::string())
{
    if (!object.IsObject())
        return fallback;
    auto const member = object.FindMember(name);
    if (member == object.MemberEnd() || !member->value.IsString())
        return fallback;
    return std::string(member->value.GetString(), member->value.GetStringLength());
}

}  // namespace LocalCore
}  // namespace Norvane

#endif
