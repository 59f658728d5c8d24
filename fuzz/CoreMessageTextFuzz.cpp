// Arbitrary bytes as the argument text of a usage record. The host's thread
// finds the session id by a scan that only follows nesting and strings; it
// must never read past the text, and whenever it answers it must agree with
// the JSON parser's own lookup of the member.
#include "CoreJson.h"
#include "TopLevelMember.h"

#include <cstdint>
#include <string>

using namespace Norvane::LocalCore;

namespace {

void Require(bool condition)
{
    if (!condition)
        __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const text(reinterpret_cast<char const*>(data), size);  // ends at the first NUL, as the channel's text
    std::string scanned;
    MemberLookup const lookup = FindTopLevelString(text.c_str(), "session_id", scanned);

    JsonDocument document;
    bool const valid = !document.Parse(text.c_str()).HasParseError() && document.IsObject();
    if (valid && lookup != MemberLookup::NeedsParse) {
        auto const member = document.FindMember("session_id");
        bool const isString = member != document.MemberEnd() && member->value.IsString();
        Require((lookup == MemberLookup::Found) == isString);
        if (isString)
            Require(scanned == std::string(member->value.GetString(), member->value.GetStringLength()));
    }
    std::string value;
    bool found = false;
    bool const answered = TopLevelString(text.c_str(), "session_id", value, found);
    Require(!valid || answered);
    return 0;
}
