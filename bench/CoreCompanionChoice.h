// Which core companion the exported calls reach, chosen while the program
// runs: the instant companion (InstantCompanion.cpp) or the local core. The
// program lives in a folder with no companion beside it, so the folder handed
// to SetLibraryPath alone decides; switching unloads the other through
// OnShutdown, as an application that stops reporting would.
#ifndef QDX_BENCH_CORE_COMPANION_CHOICE_H
#define QDX_BENCH_CORE_COMPANION_CHOICE_H

#include "JsonValue.h"
#include "QdxString.h"

#include <string>

namespace QdxBench {

enum class CoreCompanion { Instant, LocalCore };

/// The session id to report with once `companion` answers the next message.
/// For the local core: with the user opted in and a session opened, and
/// after the first call the store that a previous use left behind; when
/// `emptyStore`, the store starts empty (the core is unloaded and its
/// database files removed first). Once `companion` is in use, any thread may
/// call this (it only reads); switching belongs to one thread, between
/// benchmarks.
Norvane::QDXDesktopSDK::QdxString const& UseCoreCompanion(CoreCompanion companion, bool emptyStore = false);
/// Unloads the core companion (OnShutdown); the next UseCoreCompanion loads it again.
void UnloadCoreCompanion();

/// Writes the local core's configuration file (KEY=VALUE lines; empty
/// removes it), which a core reads when it starts: the next UseCoreCompanion
/// with an empty store starts one.
void ConfigureLocalCore(std::string const& lines);

/// The local core's answer to "GetStoreStatus" (see ControlMessages.cpp).
Norvane::QDXDesktopSDK::JsonValue LocalCoreStoreStatus();
/// The records that the local core's counters say it dropped, for any reason.
long long DroppedRecords(Norvane::QDXDesktopSDK::JsonValue const& status);
/// The size of the local core's database file plus its write-ahead log.
long long DatabaseFileBytes();
/// The records on disk, read apart from any core: those the database holds
/// (committed) and those waiting in spill files for the next core to import.
/// removedByLimits, when given, receives how many the store's size and age
/// limits removed (its counters), which are not lost but let go by design.
long long RecordsOnDisk(long long* removedByLimits = nullptr);

/// Refuses to run (message and exit) outside the private home folder, /tmp
/// and /opt of tests/isolate.sh, since the local core writes under them.
void RequireIsolation(char const* program);

}  // namespace QdxBench

#endif
