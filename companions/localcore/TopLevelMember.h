#ifndef QDX_LOCALCORE_TOP_LEVEL_MEMBER_H
#define QDX_LOCALCORE_TOP_LEVEL_MEMBER_H

#include <string>

namespace Norvane {
namespace LocalCore {

enum class MemberLookup {
    Found,      ///< a plain string (no escapes): `value` holds it
    Absent,     ///< the object has no such member, or it is not a string
    NeedsParse  ///< escapes, or text that is not a well-formed object: ask the parser
};

/// The string member `name` of the JSON object in `text`, found by a scan
/// that only tracks nesting and strings. Usage records are stored by the
/// writer thread, which parses them; the host's thread needs only the session
/// id to answer, and a parse of a whole event on the host's thread would cost
/// as much as everything else the library does for the call.
MemberLookup FindTopLevelString(char const* text, char const* name, std::string& value);

/// The same, falling back to the parser when the scan cannot decide. False
/// when `text` is not a JSON object.
bool TopLevelString(char const* text, char const* name, std::string& value, bool& found);

}  // namespace LocalCore
}  // namespace Norvane

#endif
