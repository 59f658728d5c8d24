#ifndef QDX_LOG_MARKERS_H
#define QDX_LOG_MARKERS_H

#include "support/Path.h"

namespace Norvane {
namespace QDXDesktopSDK {

/// The empty marker files in "/tmp" that switch logging in the field, without
/// any setting of the host: "qdxdev" (level 6) and "qdxdebug" (level 5) raise
/// the level and start a log file in the SDK folder, "qdxpid" puts the process
/// id into log file names, "qdxverbose" copies level-6 lines to standard
/// output. Only their existence counts; nothing reads them.
namespace LogMarkers {

constexpr char kDev[] = "qdxdev";
constexpr char kDebug[] = "qdxdebug";
constexpr char kPid[] = "qdxpid";
constexpr char kVerbose[] = "qdxverbose";
constexpr char const* kAll[] = {kDev, kDebug, kPid, kVerbose};

/// "/tmp/<name>".
Path PathOf(char const* name);
bool Exists(char const* name);
/// The level the markers give a new logger: 6 with "qdxdev", else 5 with
/// "qdxdebug", else 0 (no level marker).
int MarkedLevel();

}  // namespace LogMarkers
}  // namespace QDXDesktopSDK
}  // namespace Norvane

#endif
