// The moments that --since accepts: an RFC 3339 time, or an age before now.
#ifndef QDX_TOOL_SINCE_TIME_H
#define QDX_TOOL_SINCE_TIME_H

#include <string>

namespace Norvane {
namespace QdxTool {

/// Milliseconds since the epoch for "2026-11-24T07:00:00Z" (fractions of a
/// second and offsets like "+01:00" allowed) or for an age before nowMs such
/// as "90s", "10m", "2h", "3d". False, with a reason in error, for anything
/// else.
bool ParseSinceTime(std::string const& text, long long nowMs, long long& timeMs, std::string& error);

/// Milliseconds since the epoch now.
long long NowMs();

}  // namespace QdxTool
}  // namespace Norvane

#endif
