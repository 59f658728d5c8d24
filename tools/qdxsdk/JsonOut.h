// The one-line JSON writer of the diagnostic subcommands, with the two
// shapes their members take: text, and text or null.
#ifndef QDX_TOOL_JSON_OUT_H
#define QDX_TOOL_JSON_OUT_H

#include "values/RapidJson.h"

#include <string>

namespace Norvane {
namespace QdxTool {

using JsonWriter = QdxRapidJson::Writer<QdxRapidJson::StringBuffer>;

inline void WriteText(JsonWriter& writer, std::string const& text)
{
    writer.String(text.c_str(), static_cast<QdxRapidJson::SizeType>(text.size()));
}

/// Null for an empty text.
inline void WriteTextOrNull(JsonWriter& writer, std::string const& text)
{
    if (text.empty())
        writer.Null();
    else
        WriteText(writer, text);
}

}  // namespace QdxTool
}  // namespace Norvane

#endif
