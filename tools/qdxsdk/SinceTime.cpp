#include "SinceTime.h"

#include <chrono>
#include <cstdlib>
#include <ctime>

namespace Norvane {
namespace QdxTool {

namespace {

constexpr char kExpected[] = "expected an RFC 3339 time such as 2026-11-24T07:00:00Z or an age such as 10m, 2h, 3d";

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// "<digits><unit>", unit s, m, h or d; at most nine digits, so that the
// product never overflows.
bool ParseAge(std::string const& text, long long& ageMs)
{
    std::size_t digits = 0;
    while (digits < text.size() && IsDigit(text[digits]))
        ++digits;
    if (digits == 0 || digits > 9 || text.size() != digits + 1)
        return false;
    long long unitMs = 0;
    switch (text.back()) {
    case 's':
        unitMs = 1000;
        break;
    case 'm':
        unitMs = 60 * 1000;
        break;
    case 'h':
        unitMs = 3600 * 1000;
        break;
    case 'd':
        unitMs = 24 * 3600 * 1000;
        break;
    default:
        return false;
    }
    ageMs = std::atoll(text.substr(0, digits).c_str()) * unitMs;
    return true;
}

// The fraction after the seconds ("." and 1 to 9 digits), as milliseconds.
char const* ParseFraction(char const* rest, long long& fractionMs)
{
    fractionMs = 0;
    if (*rest != '.')
        return rest;
    ++rest;
    int digits = 0;
    long long scale = 100;
    for (; IsDigit(*rest) && digits < 9; ++rest, ++digits, scale /= 10)
        fractionMs += (*rest - '0') * scale;
    return digits == 0 ? nullptr : rest;
}

// "Z", or "+HH:MM" / "-HH:MM" as the seconds to subtract to reach UTC.
bool ParseOffset(char const* rest, long long& offsetSeconds)
{
    offsetSeconds = 0;
    if ((rest[0] == 'Z' || rest[0] == 'z') && rest[1] == '\0')
        return true;
    if (rest[0] != '+' && rest[0] != '-')
        return false;
    if (!IsDigit(rest[1]) || !IsDigit(rest[2]) || rest[3] != ':' || !IsDigit(rest[4]) || !IsDigit(rest[5]) ||
        rest[6] != '\0')
        return false;
    int const hours = (rest[1] - '0') * 10 + (rest[2] - '0');
    int const minutes = (rest[4] - '0') * 10 + (rest[5] - '0');
    if (hours > 23 || minutes > 59)
        return false;
    offsetSeconds = (rest[0] == '+' ? 1 : -1) * (hours * 3600LL + minutes * 60LL);
    return true;
}

bool ParseRfc3339(std::string const& text, long long& timeMs)
{
    // strptime takes unpadded numbers and spaces too; RFC 3339 does not.
    static constexpr char kShape[] = "dddd-dd-ddTdd:dd:dd";
    if (text.size() < sizeof kShape - 1)
        return false;
    for (std::size_t i = 0; i + 1 < sizeof kShape; ++i) {
        bool const fits = kShape[i] == 'd' ? IsDigit(text[i]) : (text[i] == kShape[i] || (i == 10 && text[i] == 't'));
        if (!fits)
            return false;
    }
    std::string const upper = text.substr(0, 10) + 'T' + text.substr(11, 8);
    tm parts{};
    char const* const end = strptime(upper.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
    if (end == nullptr || *end != '\0')
        return false;
    long long fractionMs = 0;
    long long offsetSeconds = 0;
    char const* const rest = ParseFraction(text.c_str() + upper.size(), fractionMs);
    if (rest == nullptr || !ParseOffset(rest, offsetSeconds))
        return false;
    timeMs = (static_cast<long long>(timegm(&parts)) - offsetSeconds) * 1000 + fractionMs;
    return true;
}

}  // namespace

bool ParseSinceTime(std::string const& text, long long nowMs, long long& timeMs, std::string& error)
{
    long long ageMs = 0;
    if (ParseAge(text, ageMs)) {
        timeMs = nowMs - ageMs;
        return true;
    }
    if (ParseRfc3339(text, timeMs))
        return true;
    error = "'" + text + "': " + kExpected;
    return false;
}

long long NowMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace QdxTool
}  // namespace Norvane
