// Message text format: members in key order, 4-space indent, ": " between key
// and value, integers for integral numbers, every character past ASCII escaped.
// Values that the writer would refuse are written so that the text stays valid
// JSON: a non-finite number as null, and bytes that are not UTF-8 unchanged.
#include "values/JsonTextWriter.h"

#include "values/JsonStringLiteral.h"
#include "values/JsonValueAccess.h"
#include "values/RapidJson.h"

#include <cmath>

namespace Norvane {
namespace QDXDesktopSDK {

bool JsonIntegerOf(double number, long long& integer)
{
    if (!(number >= -9223372036854775808.0 && number < 9223372036854775808.0))
        return false;
    integer = static_cast<long long>(number);
    return static_cast<double>(integer) == number;
}

namespace {

class TreeWriter {
public:
    explicit TreeWriter(JsonPrettyWriter& writer) : m_writer(writer) {}

    void Write(JsonValueImpl const* value)
    {
        if (value == nullptr) {
            m_writer.Null();
        } else if (!value->m_members.empty()) {
            m_writer.StartObject();
            for (auto const& member : value->m_members) {
                WriteText(member.first);
                Write(JsonValueAccess::Impl(member.second));
            }
            m_writer.EndObject();
        } else if (!value->m_elements.empty()) {
            m_writer.StartArray();
            for (auto const& element : value->m_elements)
                Write(JsonValueAccess::Impl(element));
            m_writer.EndArray();
        } else {
            WriteScalar(*value);
        }
    }

private:
    void WriteScalar(JsonValueImpl const& value)
    {
        switch (value.m_type) {
        case JsonValueImpl::TypeContainer:
            m_writer.StartObject();
            m_writer.EndObject();
            break;
        case JsonValueImpl::TypeString:
            WriteText(value.m_text);
            break;
        case JsonValueImpl::TypeNumber:
            WriteNumber(value.m_number);
            break;
        case JsonValueImpl::TypeBoolean:
            m_writer.Bool(static_cast<bool>(value));
            break;
        default:
            m_writer.Null();
        }
    }

    void WriteNumber(double number)
    {
        long long integer;
        if (JsonIntegerOf(number, integer))
            m_writer.Int64(integer);
        else if (std::isfinite(number))
            m_writer.Double(number);
        else
            m_writer.Null();
    }

    // Keys and string values alike.
    void WriteText(std::string const& text)
    {
        if (IsValidUtf8(text.data(), text.size())) {
            m_writer.String(text.data(), static_cast<QdxRapidJson::SizeType>(text.size()));
            return;
        }
        m_literal.clear();
        AppendJsonStringLiteral(m_literal, text.data(), text.size());
        m_writer.RawValue(m_literal.data(), m_literal.size(), QdxRapidJson::kStringType);
    }

    JsonPrettyWriter& m_writer;
    std::string m_literal;
};

}  // namespace

std::string WriteJsonText(JsonValueImpl const& root)
{
    JsonTextBuffer buffer;
    JsonPrettyWriter writer(buffer);
    TreeWriter(writer).Write(&root);
    return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
