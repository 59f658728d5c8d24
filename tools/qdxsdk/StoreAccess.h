// Opening the local core's database for a subcommand, with the message and
// exit code that every way of failing gets.
#ifndef QDX_TOOL_STORE_ACCESS_H
#define QDX_TOOL_STORE_ACCESS_H

#include "ToolContext.h"

#include "Store.h"

#include <memory>

namespace Norvane {
namespace QdxTool {

/// Opens the database for reading. On failure reports why on standard error
/// and sets exitCode (kExitNotFound for no database, kExitUnreadable for one
/// that cannot be read); returns null then.
std::unique_ptr<LocalCore::Store> OpenForReading(ToolContext const& context, int& exitCode);

/// Opens a database that OpenForReading has just read for writing. Never
/// creates, migrates or moves aside a database: the caller has checked that a
/// readable one of the current version is there.
std::unique_ptr<LocalCore::Store> OpenForWriting(ToolContext const& context, int& exitCode);

}  // namespace QdxTool
}  // namespace Norvane

#endif
