// qdxsdk purge: deletes every record the local core keeps. Sessions, settings
// and counters stay; the seq numbers go on from where they were.
#include "Commands.h"
#include "ExitCode.h"
#include "StoreAccess.h"

#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

struct PurgeOptions {
    bool yes = false;
};

std::string Records(long long count)
{
    return std::to_string(count) + (count == 1 ? " record" : " records");
}

int DeleteAll(ToolContext const& context)
{
    int exitCode = kExitOk;
    std::unique_ptr<LocalCore::Store> const store = OpenForWriting(context, exitCode);
    if (!store)
        return exitCode;
    // One transaction: the records go all together or not at all, even when
    // a core writes meanwhile.
    if (!store->Begin()) {
        ReportError("cannot lock " + context.DatabasePath() + ": " + store->LastError());
        return kExitFailure;
    }
    long long const deleted = store->DeleteAllRecords();
    if (deleted < 0 || !store->Commit(true)) {
        std::string const error = store->LastError();
        store->Rollback();
        ReportError("deleting the records of " + context.DatabasePath() + " failed: " + error);
        return kExitFailure;
    }
    std::cout << "Deleted " << Records(deleted) << " from " << context.DatabasePath() << '\n';
    return FinishOutput();
}

int RunPurge(PurgeOptions const& options, ToolContext const& context)
{
    int exitCode = kExitOk;
    // Read first, so that a missing, corrupt or newer database is reported
    // as such and never created, repaired or moved aside by a purge.
    std::unique_ptr<LocalCore::Store> store = OpenForReading(context, exitCode);
    if (!store)
        return exitCode;
    LocalCore::StoreFigures const figures = store->Figures();
    if (!store->LastError().empty()) {
        ReportError("reading the figures of " + context.DatabasePath() + " failed: " + store->LastError());
        return kExitFailure;
    }
    store.reset();
    if (!options.yes) {
        ReportError("purge would delete " + Records(figures.records) + " from " + context.DatabasePath() +
                    "; nothing was deleted. Run it again with --yes to delete them.");
        return kExitUsage;
    }
    return DeleteAll(context);
}

}  // namespace

void AddPurgeCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<PurgeOptions>();
    CLI::App* const command =
        app.add_subcommand("purge", "Delete every record the local core keeps (sessions, settings and counters stay)");
    command->add_flag("--yes", options->yes, "Really delete; without it purge only says how many records would go");
    command->callback([options, &context, &exitCode] { exitCode = RunPurge(*options, context); });
}

}  // namespace QdxTool
}  // namespace Norvane
