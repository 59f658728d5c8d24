#ifndef QDX_LOCALCORE_CORE_LOG_H
#define QDX_LOCALCORE_CORE_LOG_H

#include <string>

namespace Norvane {
namespace LocalCore {

/// The core's own log, "core.log" beside its database: one line per event
/// that a support engineer needs (storage lost or recovered, drops by a
/// failed write, a configuration key ignored), never one per message.
/// Readable by its owner only; kept under 1 MiB by moving it to "core.log.1".
void SetCoreLogFolder(std::string const& folder);
void CoreLog(char const* format, ...) __attribute__((format(printf, 1, 2)));
/// The line for a corrupt database that opening the store moved aside to
/// `movedAsideTo`; nothing when it is empty (nothing was moved).
void CoreLogMovedAside(std::string const& movedAsideTo);
void LockCoreLogForFork();
void UnlockCoreLogAfterFork();

}  // namespace LocalCore
}  // namespace Norvane

#endif
