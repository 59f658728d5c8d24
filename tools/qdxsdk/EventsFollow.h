// events --follow: the chosen records as they arrive, until interrupted.
#ifndef QDX_TOOL_EVENTS_FOLLOW_H
#define QDX_TOOL_EVENTS_FOLLOW_H

#include "ToolContext.h"

#include "Store.h"

#include <functional>

namespace Norvane {
namespace QdxTool {

/// Prints, with `print`, every record that passes `filter`: those stored
/// already, then new ones as the core adds them, found by polling the
/// database's newest seq. A database that does not exist yet is waited for;
/// one that is replaced (moved aside, deleted and made afresh) is followed
/// from its first record. Ends with kExitOk at SIGINT or SIGTERM, or once
/// `limit` records (when not negative) were printed; with kExitUnreadable for
/// a database of a newer schema.
int FollowEvents(ToolContext const& context, LocalCore::RecordFilter const& filter, long long limit,
                 std::function<void(LocalCore::StoredRecord const&)> const& print);

}  // namespace QdxTool
}  // namespace Norvane

#endif
