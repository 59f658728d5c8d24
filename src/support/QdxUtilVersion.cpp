#include "support/QdxUtilVersion.h"

#include <cctype>

namespace Norvane {
namespace QDXDesktopSDK {
namespace QdxUtil {

unsigned long long GetVersionFromParts(unsigned long long major, unsigned long long minor, unsigned long long patch,
                                       unsigned long long build)
{
    return major << 48 | (minor & 0xFFFFu) << 32 | (patch & 0xFFFFu) << 16 | (build & 0xFFFFu);
}

unsigned long long GetVersionFromString(std::string const& text)
{
    auto const isDigit = [](char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; };
    std::size_t position = 0;
    while (position < text.size() && !isDigit(text[position]))
        ++position;
    unsigned long long version = 0;
    for (int shift = 48; shift >= 0 && position < text.size() && isDigit(text[position]); shift -= 16) {
        unsigned long long field = 0;
        while (position < text.size() && isDigit(text[position]))
            field = field * 10 + static_cast<unsigned long long>(text[position++] - '0');
        version |= field << shift;
        if (position < text.size())
            ++position;  // any one separator
    }
    return version;
}

std::string GetVersionStringFromVersion(unsigned long long version)
{
    std::string text;
    for (int shift = 48; shift >= 0; shift -= 16) {
        if (!text.empty())
            text += '.';
        text += std::to_string((version >> shift) & 0xFFFFu);
    }
    return text;
}

}  // namespace QdxUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane
