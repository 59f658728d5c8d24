// The candidate tables of a host's companions, as `qdxsdk locate` prints them
// and `qdxsdk doctor` includes them.
#ifndef QDX_TOOL_CANDIDATE_REPORT_H
#define QDX_TOOL_CANDIDATE_REPORT_H

#include "HostLayout.h"
#include "JsonOut.h"

#include <ostream>

namespace Norvane {
namespace QdxTool {

/// The host, the wrapper library, the configured folder, and per companion
/// the copy that would be loaded and the table of candidates.
void PrintLayoutText(std::ostream& out, HostLayout const& layout);
/// The same as the members "host", "host_folder", "library", "configured"
/// and "companions" of an open object.
void WriteLayoutJson(JsonWriter& writer, HostLayout const& layout);
/// A verdict as a JSON token: "chosen", "not_found", "same_file",
/// "older_version", "lower_priority" or "path_sorts_before".
std::string VerdictToken(QDXDesktopSDK::CompanionSearch::Verdict verdict);

}  // namespace QdxTool
}  // namespace Norvane

#endif
