#ifndef QDX_STD_WIDE_CONVERSION_H
#define QDX_STD_WIDE_CONVERSION_H

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Conversion between UTF-8 and the platform's wide characters through iconv.
class StdWideConversion {
public:
    /// `utf8` as wide text; false (and `wide` empty) when it is not valid
    /// UTF-8 or no converter is available. Stops at an embedded zero byte.
    static bool ToWide(std::string const& utf8, std::wstring& wide);
    /// `wide` as UTF-8; false (and `utf8` empty) when a character cannot be
    /// encoded or no converter is available. Stops at an embedded zero.
    static bool ToUtf8(std::wstring const& wide, std::string& utf8);
};

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
