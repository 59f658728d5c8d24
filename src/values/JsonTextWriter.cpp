// Message text format, as the parser library's pretty writer (UTF-8 in, ASCII
// out, default flags) gives it: members in key order, one per line, indented
// by 4 spaces a level, ": " between key and value, "{}" and "[]" when empty,
// integers for integral numbers, every character past ASCII escaped. Written
// here straight from the tree, at a fraction of the writer's cost per
// character; the fuzz target checks that the two texts stay identical.
// Values that writer would refuse still give valid JSON: a non-finite number
// is written as null, and bytes that are not UTF-8 pass unchanged.
#include "values/JsonTextWriter.h"

#include "values/JsonStringLiteral.h"
#include "values/JsonValueAccess.h"
#include "values/RapidJson.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

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

// Characters a number may take: dtoa writes at most 25, i64toa 20.
constexpr std::size_t kNumberRoom = 32;

char* WriteNumber(char* out, double number)
{
    if (!std::isfinite(number))
        return static_cast<char*>(std::memcpy(out, "null", 4)) + 4;
    long long integer;
    return JsonIntegerOf(number, integer)
               ? QdxRapidJson::internal::i64toa(integer, out)
               : QdxRapidJson::internal::dtoa(number, out, JsonPrettyWriter::kDefaultMaxDecimalPlaces);
}

// A growing character buffer written through raw pointers: room is reserved
// once for each piece, which then writes without further checks. Typical
// messages fit the inline part, so that writing one allocates only the
// final text.
class TextBuffer {
public:
    TextBuffer() : m_data(m_inline), m_size(0), m_capacity(sizeof m_inline) {}
    TextBuffer(TextBuffer const&) = delete;
    TextBuffer& operator=(TextBuffer const&) = delete;

    char* Reserve(std::size_t room)
    {
        if (m_capacity - m_size < room) {
            std::size_t const capacity = std::max(2 * m_capacity, m_size + room);
            std::unique_ptr<char[]> heap(new char[capacity]);
            std::memcpy(heap.get(), m_data, m_size);
            m_heap = std::move(heap);
            m_data = m_heap.get();
            m_capacity = capacity;
        }
        return m_data + m_size;
    }

    void Commit(char const* end) { m_size = static_cast<std::size_t>(end - m_data); }

    void Append(char const* text, std::size_t length)
    {
        Commit(static_cast<char*>(std::memcpy(Reserve(length), text, length)) + length);
    }

    std::string Text() const { return std::string(m_data, m_size); }

private:
    char m_inline[4096];
    std::unique_ptr<char[]> m_heap;
    char* m_data;
    std::size_t m_size;
    std::size_t m_capacity;
};

class TreeWriter {
public:
    void Write(JsonValueImpl const* value, int depth)
    {
        if (value == nullptr) {
            m_text.Append("null", 4);
        } else if (!value->m_members.empty()) {
            char separator = '{';
            for (auto const& member : value->m_members) {
                NewLine(separator, depth + 1);
                separator = ',';
                WriteString(member.first);
                m_text.Append(": ", 2);
                Write(JsonValueAccess::Impl(member.second), depth + 1);
            }
            NewLine(0, depth);
            m_text.Append("}", 1);
        } else if (!value->m_elements.empty()) {
            char separator = '[';
            for (auto const& element : value->m_elements) {
                NewLine(separator, depth + 1);
                separator = ',';
                Write(JsonValueAccess::Impl(element), depth + 1);
            }
            NewLine(0, depth);
            m_text.Append("]", 1);
        } else {
            WriteScalar(*value);
        }
    }

    std::string Text() const { return m_text.Text(); }

private:
    void WriteScalar(JsonValueImpl const& value)
    {
        switch (value.m_type) {
        case JsonValueImpl::TypeContainer:
            m_text.Append("{}", 2);
            break;
        case JsonValueImpl::TypeString:
            WriteString(value.m_text);
            break;
        case JsonValueImpl::TypeNumber:
            m_text.Commit(WriteNumber(m_text.Reserve(kNumberRoom), value.m_number));
            break;
        case JsonValueImpl::TypeBoolean:
            static_cast<bool>(value) ? m_text.Append("true", 4) : m_text.Append("false", 5);
            break;
        default:
            m_text.Append("null", 4);
        }
    }

    void WriteString(std::string const& text)
    {
        char* const out = m_text.Reserve(JsonStringLiteralRoom(text.size()));
        m_text.Commit(WriteJsonStringLiteral(out, text.data(), text.size()));
    }

    // An optional separator, then a new line indented to `depth`.
    void NewLine(char separator, int depth)
    {
        std::size_t const indent = static_cast<std::size_t>(depth) * 4;
        char* out = m_text.Reserve(indent + 2);
        if (separator != 0)
            *out++ = separator;
        *out++ = '\n';
        std::memset(out, ' ', indent);
        m_text.Commit(out + indent);
    }

    TextBuffer m_text;
};

}  // namespace

std::string WriteJsonText(JsonValueImpl const& root)
{
    TreeWriter writer;
    writer.Write(&root, 0);
    return writer.Text();
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
