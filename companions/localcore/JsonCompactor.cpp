// The compactor parses only its own padded copy of each text, so it may use
// the parser's SSE2 paths (see LocalCoreJson.h): they skip the pretty text's
// indentation and scan strings sixteen bytes at a time.
#define QDX_LOCAL_CORE_JSON_SIMD
#include "JsonCompactor.h"

#include "LocalCoreJson.h"

#include <cstring>

namespace Norvane {
namespace LocalCore {

namespace {

namespace Json = QdxLocalCoreSimdJson;

// The parser's SIMD paths read whole aligned blocks of this many bytes.
constexpr std::size_t kPadding = 16;

// The parser's writer, with one shortcut that writes the very same text. The
// parser decodes each string in place, where its text began, so the received
// text at the same offset is its source. A source without a backslash is the
// decoded string itself, and holds nothing the writer would escape (the
// parser refuses quotes and control characters there): the writer would
// write it between quotes character by character; it is copied at once.
class CompactWriter : public Json::Writer<Json::StringBuffer> {
public:
    explicit CompactWriter(Json::StringBuffer& output) : Writer(output) {}

    void Start(Json::StringBuffer& output, char const* received, char const* parsed)
    {
        Reset(output);
        m_received = received;
        m_parsed = parsed;
    }

    bool String(Ch const* text, Json::SizeType length, bool copy)
    {
        char const* const source = m_received + (text - m_parsed);
        if (std::memchr(source, '\\', length) != nullptr)
            return Writer::String(text, length, copy);
        Prefix(Json::kStringType);
        std::memcpy(os_->Push(length + 2), source - 1, length + 2);  // with its quotes
        return EndValue(true);
    }
    bool Key(Ch const* text, Json::SizeType length, bool copy) { return String(text, length, copy); }

private:
    char const* m_received = nullptr;
    char const* m_parsed = nullptr;
};

}  // namespace

struct JsonCompactor::Buffers {
    std::string parsed;  // the text, decoded in place by the parser, and padding
    Json::StringBuffer compact;
    CompactWriter writer{compact};
    Json::Reader reader;
};

JsonCompactor::JsonCompactor() : m_buffers(new Buffers) {}

JsonCompactor::~JsonCompactor() = default;

bool JsonCompactor::Compact(std::string& text)
{
    Buffers& buffers = *m_buffers;
    buffers.parsed.assign(text);
    buffers.parsed.append(kPadding, '\0');
    buffers.compact.Clear();
    buffers.writer.Start(buffers.compact, text.data(), buffers.parsed.data());
    Json::InsituStringStream stream(buffers.parsed.data());
    if (!buffers.reader.Parse<Json::kParseInsituFlag>(stream, buffers.writer))
        return false;
    text.assign(buffers.compact.GetString(), buffers.compact.GetSize());
    return true;
}

}  // namespace LocalCore
}  // namespace Norvane
