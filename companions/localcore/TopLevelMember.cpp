#include "TopLevelMember.h"

#include "CoreJson.h"

#include <cstring>

namespace Norvane {
namespace LocalCore {

namespace {

bool IsSpace(char c)
{
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

char const* SkipSpace(char const* p)
{
    while (IsSpace(*p))
        ++p;
    return p;
}

// Past the closing quote of the string whose opening quote is at `p`; null
// when the text ends first. `escaped` tells whether a backslash was seen.
// strpbrk jumps from one quote or backslash to the next in wide steps, where
// a loop would test every character: the scan runs on the host's thread.
char const* SkipString(char const* p, bool& escaped)
{
    escaped = false;
    for (++p;; p += 2) {
        p = std::strpbrk(p, "\"\\");
        if (p == nullptr)
            return nullptr;
        if (*p == '"')
            return p + 1;
        escaped = true;
        if (p[1] == '\0')
            return nullptr;
    }
}

// Past a value of any kind starting at `p`; null when the text ends first.
char const* SkipValue(char const* p)
{
    bool escaped;
    if (*p == '"')
        return SkipString(p, escaped);
    if (*p != '{' && *p != '[') {
        while (*p != '\0' && *p != ',' && *p != '}' && *p != ']' && !IsSpace(*p))
            ++p;
        return p;
    }
    // Only quotes and brackets matter inside: the search skips the rest.
    int depth = 0;
    do {
        p = std::strpbrk(p, "\"{}[]");
        if (p == nullptr)
            return nullptr;
        if (*p == '"') {
            p = SkipString(p, escaped);
            if (p == nullptr)
                return nullptr;
            continue;
        }
        depth += *p == '{' || *p == '[' ? 1 : -1;
        ++p;
    } while (depth > 0);
    return p;
}

}  // namespace

MemberLookup FindTopLevelString(char const* text, char const* name, std::string& value)
{
    std::size_t const nameLength = std::strlen(name);
    char const* p = SkipSpace(text);
    if (*p++ != '{')
        return MemberLookup::NeedsParse;
    p = SkipSpace(p);
    if (*p == '}')
        return MemberLookup::Absent;
    for (;;) {
        if (*p != '"')
            return MemberLookup::NeedsParse;
        bool escaped;
        char const* const keyEnd = SkipString(p, escaped);
        if (keyEnd == nullptr || escaped)
            return MemberLookup::NeedsParse;
        bool const wanted =
            static_cast<std::size_t>(keyEnd - p - 2) == nameLength && std::memcmp(p + 1, name, nameLength) == 0;
        p = SkipSpace(keyEnd);
        if (*p++ != ':')
            return MemberLookup::NeedsParse;
        p = SkipSpace(p);
        char const* const valueStart = p;
        p = SkipValue(p);
        if (p == nullptr || p == valueStart)
            return MemberLookup::NeedsParse;
        if (wanted) {
            // The first of duplicate members counts, as in the parser's lookup.
            if (*valueStart != '"')
                return MemberLookup::Absent;
            SkipString(valueStart, escaped);
            if (escaped)
                return MemberLookup::NeedsParse;
            value.assign(valueStart + 1, p - 1);
            return MemberLookup::Found;
        }
        p = SkipSpace(p);
        if (*p == '}')
            return MemberLookup::Absent;
        if (*p++ != ',')
            return MemberLookup::NeedsParse;
        p = SkipSpace(p);
    }
}

bool TopLevelString(char const* text, char const* name, std::string& value, bool& found)
{
    switch (FindTopLevelString(text, name, value)) {
    case MemberLookup::Found:
        found = true;
        return true;
    case MemberLookup::Absent:
        found = false;
        return true;
    case MemberLookup::NeedsParse:
        break;
    }
    JsonDocument document;
    if (document.Parse(text).HasParseError() || !document.IsObject())
        return false;
    auto const member = document.FindMember(name);
    found = member != document.MemberEnd() && member->value.IsString();
    if (found)
        value.assign(member->value.GetString(), member->value.GetStringLength());
    return true;
}

}  // namespace LocalCore
}  // namespace Norvane
