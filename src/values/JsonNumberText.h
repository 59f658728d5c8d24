#ifndef QDX_JSON_NUMBER_TEXT_H
#define QDX_JSON_NUMBER_TEXT_H

#include <cstddef>

namespace Norvane {
namespace QDXDesktopSDK {

/// The double nearest to a JSON number's text (already checked against the
/// JSON grammar), whatever the process locale. Integers that fit 64 bits are
/// converted from the integer, as the parser's integer events would be.
/// False when the number lies beyond the range of a double.
bool JsonNumberFromText(char const* text, std::size_t length, double& number);

}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
