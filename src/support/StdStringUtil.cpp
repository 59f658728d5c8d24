#include "support/StdStringUtil.h"

#include <algorithm>

namespace Norvane {
namespace QDXDesktopSDK {

std::string StdStringUtil::Trim(std::string const& text, char const* set, bool left, bool right)
{
    std::string const members = (set != nullptr && *set != '\0') ? set : " \t\r\n";
    std::size_t begin = 0;
    std::size_t end = text.size();
    if (left) {
        begin = text.find_first_not_of(members);
        if (begin == std::string::npos)
            return std::string();
    }
    if (right) {
        std::size_t const last = text.find_last_not_of(members);
        if (last == std::string::npos)
            return std::string();
        end = last + 1;
    }
    return text.substr(begin, end - begin);
}

std::vector<std::string> StdStringUtil::SplitString(std::string const& text, std::string const& separators,
                                                    bool keepEmpty, int maxSplits)
{
    std::size_t const limit = maxSplits < 0 ? std::string::npos : static_cast<std::size_t>(std::max(maxSplits, 1));
    std::vector<std::string> tokens;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        if (tokens.size() == limit) {
            if (begin < text.size())
                tokens.push_back(text.substr(begin));
            break;
        }
        std::size_t end = text.find_first_of(separators, begin);
        if (end == std::string::npos)
            end = text.size();
        if (end > begin || keepEmpty)
            tokens.emplace_back(text, begin, end - begin);
        begin = end + 1;
    }
    return tokens;
}

}  // namespace QDXDesktopSDK
}  // namespace Norvane
