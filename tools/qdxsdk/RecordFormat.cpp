#include "RecordFormat.h"

#include "RecordJson.h"

namespace Norvane {
namespace QdxTool {

namespace {

constexpr std::size_t kSeqWidth = 8;
constexpr std::size_t kTimeWidth = 24;
constexpr std::size_t kSessionWidth = 8;
constexpr std::size_t kNameWidth = 24;
constexpr std::size_t kArgsWidth = 60;

bool IsContinuationByte(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Width as characters, not bytes, so that non-ASCII names keep the columns.
std::size_t CharacterCount(std::string const& text)
{
    std::size_t count = 0;
    for (char const c : text)
        count += IsContinuationByte(c) ? 0 : 1;
    return count;
}

// The first `count` characters, never cutting one in two.
std::string Prefix(std::string const& text, std::size_t count)
{
    std::size_t end = 0;
    for (std::size_t kept = 0; end < text.size() && kept < count; ++kept) {
        ++end;
        while (end < text.size() && IsContinuationByte(text[end]))
            ++end;
    }
    return text.substr(0, end);
}

// At most `width` characters; "…" marks a cut.
std::string Shortened(std::string const& text, std::size_t width)
{
    return CharacterCount(text) <= width ? text : Prefix(text, width - 1) + "\xE2\x80\xA6";
}

// Names and session ids come from applications: control characters in them
// must not reach the terminal.
std::string Printable(std::string text)
{
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = '?';
    }
    return text;
}

std::string PaddedLeft(std::string const& text, std::size_t width)
{
    std::size_t const count = CharacterCount(text);
    return count < width ? std::string(width - count, ' ') + text : text;
}

std::string PaddedRight(std::string const& text, std::size_t width)
{
    std::size_t const count = CharacterCount(text);
    return count < width ? text + std::string(width - count, ' ') : text;
}

std::string Row(std::string const& seq, std::string const& time, std::string const& session, std::string const& name,
                std::string const& args)
{
    return PaddedLeft(seq, kSeqWidth) + "  " + PaddedRight(time, kTimeWidth) + "  " +
           PaddedRight(session, kSessionWidth) + "  " + PaddedRight(name, kNameWidth) + "  " + args;
}

}  // namespace

std::string RecordTableHeader()
{
    return Row("SEQ", "TIME", "SESSION", "NAME", "ARGS");
}

std::string RecordTableRow(LocalCore::StoredRecord const& record)
{
    std::string const session = record.sessionId.empty() ? "-" : Prefix(record.sessionId, kSessionWidth);
    // The argument text is compact JSON, a single line already.
    return Row(std::to_string(record.seq), LocalCore::Rfc3339Utc(record.timeMs), Printable(session),
               Printable(record.name), Shortened(Printable(record.args), kArgsWidth));
}

std::string RecordJsonLine(LocalCore::StoredRecord const& record)
{
    return LocalCore::RecordJsonLine(record.seq, record.timeMs, record.sessionId, record.name, record.args);
}

}  // namespace QdxTool
}  // namespace Norvane
