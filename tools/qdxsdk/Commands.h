// The subcommands of qdxsdk. Each lives in a file of its own and adds itself
// to the top-level command through one function of this shape; main.cpp lists
// them. A subcommand's options live as long as the top-level command, and its
// callback, run once parsing has chosen it, leaves the exit code in exitCode.
#ifndef QDX_TOOL_COMMANDS_H
#define QDX_TOOL_COMMANDS_H

#include "ToolContext.h"

#include <CLI/CLI.hpp>

namespace Norvane {
namespace QdxTool {

using AddCommand = void (*)(CLI::App& app, ToolContext const& context, int& exitCode);

void AddEventsCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddStatusCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddExportCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddPurgeCommand(CLI::App& app, ToolContext const& context, int& exitCode);
// Field diagnosis: what the library finds, loads and logs.
void AddDoctorCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddLocateCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddVersionCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddLibpathCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddLogCommand(CLI::App& app, ToolContext const& context, int& exitCode);
// Talking to companions.
void AddSendCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddMessagesCommand(CLI::App& app, ToolContext const& context, int& exitCode);
void AddCheckCompanionCommand(CLI::App& app, ToolContext const& context, int& exitCode);

}  // namespace QdxTool
}  // namespace Norvane

#endif
