#include "values/JsonNumberText.h"

#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <locale.h>
#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

namespace {

bool IntegerFromText(char const* text, std::size_t length, double& number)
{
    bool const negative = length != 0 && text[0] == '-';
    std::size_t i = negative ? 1 : 0;
    std::uint64_t magnitude = 0;
    for (; i < length; ++i) {
        unsigned const digit = static_cast<unsigned>(text[i] - '0');
        if (digit > 9)
            return false;  // a fraction or an exponent follows
        if (magnitude > (UINT64_MAX - digit) / 10)
            return false;
        magnitude = magnitude * 10 + digit;
    }
    if (!negative) {
        number = static_cast<double>(magnitude);
        return true;
    }
    if (magnitude > static_cast<std::uint64_t>(INT64_MAX) + 1)
        return false;
    number = magnitude == 0 ? 0.0 : -static_cast<double>(magnitude);  // "-0" is the integer 0
    return true;
}

// Only for numbers outside what from_chars answers: strtod in the C locale.
double NumberThroughStrtod(char const* text, std::size_t length)
{
    static locale_t const cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    std::string const terminated(text, length);
    return strtod_l(terminated.c_str(), nullptr, cLocale);
}

}  // namespace

bool JsonNumberFromText(char const* text, std::size_t length, double& number)
{
    if (IntegerFromText(text, length, number))
        return true;
    auto const result = std::from_chars(text, text + length, number);
    if (result.ec == std::errc::result_out_of_range)
        number = NumberThroughStrtod(text, length);
    else if (result.ec != std::errc())
        return false;
    return std::isfinite(number);
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
