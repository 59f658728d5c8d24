// The store keeps argument objects and product descriptions as the text it
// was given; this check keeps anything that is not a JSON object out, so that
// whoever reads the records later can always parse them.
#ifndef QDX_LOCAL_CORE_JSON_OBJECT_TEXT_H
#define QDX_LOCAL_CORE_JSON_OBJECT_TEXT_H

#include <string>

namespace Norvane {
namespace LocalCore {

/// True when text is exactly one JSON object in valid UTF-8, with nothing
/// but white space after it.
bool IsJsonObjectText(std::string const& text);

}  // namespace LocalCore
}  // namespace Norvane

#endif
