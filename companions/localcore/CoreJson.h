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

/// Rewrites JSON text without whitespace, in one pass with no tree, reusing
/// its buffers from one text to the next: once they have grown, a text costs
/// no allocation.
class JsonCompactor {
public:
    /// Replaces `text` by its compact form; false, leaving it as it was, when
    /// it is not valid JSON.
    bool Compact(std::string& text)
    {
        // The parser decodes strings where they lie in a copy of its own,
        // rather than gathering each one character by character.
        m_parsed.assign(text);
        m_compact.Clear();
        QdxLocalCoreJson::Writer<QdxLocalCoreJson::StringBuffer> writer(m_compact);
        QdxLocalCoreJson::Reader reader;
        QdxLocalCoreJson::InsituStringStream stream(m_parsed.data());
        if (!reader.Parse<QdxLocalCoreJson::kParseInsituFlag>(stream, writer))
            return false;
        text.assign(m_compact.GetString(), m_compact.GetSize());
        return true;
    }

private:
    std::string m_parsed;
    QdxLocalCoreJson::StringBuffer m_compact;
};

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
