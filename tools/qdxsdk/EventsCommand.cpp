// qdxsdk events: the records the local core keeps, as a table or as JSON lines.
#include "Commands.h"
#include "EventsFollow.h"
#include "ExitCode.h"
#include "RecordSelection.h"
#include "RecordFormat.h"
#include "SinceTime.h"
#include "StoreAccess.h"

#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

struct EventsOptions {
    RecordSelection selection;
    bool json = false;
    bool follow = false;
};

int FollowNewEvents(EventsOptions const& options, ToolContext const& context)
{
    if (!options.json)
        std::cout << RecordTableHeader() << '\n';
    auto const print = [&options](LocalCore::StoredRecord const& record) {
        std::cout << (options.json ? RecordJsonLine(record) : RecordTableRow(record)) << '\n';
    };
    return FollowEvents(context, options.selection.Filter(NowMs()), options.selection.Limit(), print);
}

int RunEvents(EventsOptions const& options, ToolContext const& context)
{
    if (options.follow)
        return FollowNewEvents(options, context);
    int exitCode = kExitOk;
    std::unique_ptr<LocalCore::Store> const store = OpenForReading(context, exitCode);
    if (!store)
        return exitCode;
    if (!options.json)
        std::cout << RecordTableHeader() << '\n';
    long long count = 0;
    auto const print = [&options, &count](LocalCore::StoredRecord const& record) {
        std::cout << (options.json ? RecordJsonLine(record) : RecordTableRow(record)) << '\n';
        ++count;
    };
    std::string error;
    bool const read = options.selection.ForEach(*store, print, error);
    if (!read) {
        std::cout.flush();  // what was printed comes before the message
        ReportError("reading the records of " + context.DatabasePath() + " failed: " + error);
        return kExitFailure;
    }
    if (!options.json && count == 0)
        std::cout << "(no records)\n";
    return FinishOutput();
}

}  // namespace

void AddEventsCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<EventsOptions>();
    CLI::App* const command = app.add_subcommand("events", "List the records the local core keeps, oldest first");
    options->selection.AddOptions(*command);
    command->add_flag("--json", options->json,
                      "One JSON object a line, with exactly the members seq, time, session_id, name and args");
    command->add_flag("--follow,-f", options->follow,
                      "Keep running: print new records as the core stores them, until interrupted (Ctrl-C); waits "
                      "for a database that does not exist yet. With --limit, ends after N records");
    command->callback([options, &context, &exitCode] { exitCode = RunEvents(*options, context); });
}

}  // namespace QdxTool
}  // namespace Norvane
