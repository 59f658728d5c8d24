#ifndef QDX_STD_STRING_UTIL_H
#define QDX_STD_STRING_UTIL_H

#include <string>
#include <vector>

namespace Norvane {
namespace QDXDesktopSDK {

class StdStringUtil {
public:
    /// `text` without the characters of `set` at the chosen ends; a null or
    /// empty `set` means space, tab, carriage return and line feed.
    static std::string Trim(std::string const& text, char const* set, bool left, bool right);

    /// Splits `text` at every character of `separators`. Empty tokens are
    /// kept only with `keepEmpty`. A negative `maxSplits` splits everything;
    /// otherwise splitting stops after max(maxSplits, 1) tokens and the text
    /// after the separator that ended the last one, if not empty, becomes one
    /// further token as it is.
    static std::vector<std::string> SplitString(std::string const& text, std::string const& separators, bool keepEmpty,
                                                int maxSplits);
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
