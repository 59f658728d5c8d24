#ifndef QDX_LOCAL_CORE_RECORD_JSON_H
#define QDX_LOCAL_CORE_RECORD_JSON_H

#include <string>

namespace Norvane {
namespace LocalCore {

/// A stored record as one line of JSON, the form that `qdxsdk events --json`
/// prints, that export files hold and that the host's testing callback gets:
/// exactly the members "seq" (integer), "time" (RFC 3339 UTC with
/// milliseconds), "session_id" (text, or null for none), "name" and "args"
/// (the argument object; `args` is its compact JSON text). No line break.
std::string RecordJsonLine(long long seq, long long timeMs, std::string const& sessionId, std::string const& name,
                           std::string const& args);

/// "2026-11-24T07:30:00.123Z" for milliseconds since the epoch.
std::string Rfc3339Utc(long long timeMs);

}  // namespace LocalCore
}  // namespace Norvane

#endif
