// The JSON parser, in a namespace of the core's own so that it never meets
// the copy inside the library or a host's, with assertions that cannot abort
// the host: every caller checks results instead.
#ifndef QDX_LOCALCORE_CORE_JSON_H
#define QDX_LOCALCORE_CORE_JSON_H

#define RAPIDJSON_NAMESPACE QdxLocalCoreJson
#define RAPIDJSON_NAMESPACE_BEGIN namespace QdxLocalCoreJson {
#define RAPIDJSON_NAMESPACE_END }
#define RAPIDJSON_ASSERT(condition) static_cast<void>(false && (condition))

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

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

/// `text` rewritten without whitespace, in one pass with no tree; false when
/// it is not valid JSON.
inline bool Compact(char const* text, std::string& compact)
{
    QdxLocalCoreJson::StringBuffer buffer;
    QdxLocalCoreJson::Writer<QdxLocalCoreJson::StringBuffer> writer(buffer);
    QdxLocalCoreJson::Reader reader;
    QdxLocalCoreJson::StringStream stream(text);
    if (!reader.Parse(stream, writer))
        return false;
    compact.assign(buffer.GetString(), buffer.GetSize());
    return true;
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
