#ifndef QDX_UTIL_VERSION_H
#define QDX_UTIL_VERSION_H

#include <string>

namespace Norvane {
namespace QDXDesktopSDK {

/// Packed versions: four 16-bit fields in one unsigned 64-bit number, major
/// in the top bits, so that versions compare as plain integers.
namespace QdxUtil {

/// `major << 48 | minor << 32 | patch << 16 | build`, each of the lower
/// three cut to 16 bits; bits of `major` past 16 fall off the top.
unsigned long long GetVersionFromParts(unsigned long long major, unsigned long long minor, unsigned long long patch,
                                       unsigned long long build);

/// The version in a text such as "5.5.34.5 Mar  1 2025": from the first
/// digit, up to four runs of digits, each followed by any one separator
/// character. Fields are not cut to 16 bits, so an oversized one spills into
/// the field above. 0 when the text has no digit.
unsigned long long GetVersionFromString(std::string const& text);

/// The four fields in decimal, joined by "." ("1.2.0.0").
std::string GetVersionStringFromVersion(unsigned long long version);

}  // namespace QdxUtil
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
