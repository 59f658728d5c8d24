// qdxsdk status: the figures of the local core's database, its counters and
// the settings that decide whether it keeps anything.
#include "Commands.h"
#include "DatabaseStatus.h"
#include "ExitCode.h"
#include "StoreAccess.h"

#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

struct StatusOptions {
    bool json = false;
};

int RunStatus(StatusOptions const& options, ToolContext const& context)
{
    int exitCode = kExitOk;
    std::unique_ptr<LocalCore::Store> const store = OpenForReading(context, exitCode);
    if (!store)
        return exitCode;
    Status status;
    status.database = context.DatabasePath();
    std::string error;
    if (!ReadStatus(*store, status, error)) {
        ReportError("reading the figures of " + status.database + " failed: " + error);
        return kExitFailure;
    }
    if (options.json)
        std::cout << StatusJson(status) << '\n';
    else
        PrintStatusText(std::cout, status);
    return FinishOutput();
}

}  // namespace

void AddStatusCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<StatusOptions>();
    CLI::App* const command =
        app.add_subcommand("status", "Show the database's figures, counters, consent and whether collection is on");
    command->add_flag("--json", options->json, "One JSON object (members listed in docs/qdxsdk.md)");
    command->callback([options, &context, &exitCode] { exitCode = RunStatus(*options, context); });
}

}  // namespace QdxTool
}  // namespace Norvane
