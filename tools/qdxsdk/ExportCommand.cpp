// qdxsdk export: the chosen records, as `events --json` prints them, into a
// file that only its owner can read (usage data may be personal).
#include "Commands.h"
#include "ExitCode.h"
#include "PrivateFile.h"
#include "RecordFormat.h"
#include "RecordSelection.h"
#include "StoreAccess.h"

#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

struct ExportOptions {
    RecordSelection selection;
    std::string out;
};

int RunExport(ExportOptions const& options, ToolContext const& context)
{
    int exitCode = kExitOk;
    std::unique_ptr<LocalCore::Store> const store = OpenForReading(context, exitCode);
    if (!store)
        return exitCode;
    PrivateFile file(options.out);
    long long count = 0;
    auto const write = [&file, &count](LocalCore::StoredRecord const& record) {
        file.Write(RecordJsonLine(record) + '\n');
        ++count;
    };
    std::string error;
    if (file.Ok() && !options.selection.ForEach(*store, write, error)) {
        ReportError("reading the records of " + context.DatabasePath() + " failed: " + error);
        return kExitFailure;
    }
    if (!file.Commit()) {
        ReportError(file.Error());
        return kExitFailure;
    }
    std::cout << "Exported " << count << (count == 1 ? " record" : " records") << " to " << options.out << '\n';
    return FinishOutput();
}

}  // namespace

void AddExportCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<ExportOptions>();
    CLI::App* const command =
        app.add_subcommand("export", "Write the records, as events --json prints them, to a file (mode 0600)");
    command->add_option("--out", options->out, "The file to write; replaced as a whole once complete")
        ->type_name("FILE")
        ->required();
    options->selection.AddOptions(*command);
    command->callback([options, &context, &exitCode] { exitCode = RunExport(*options, context); });
}

}  // namespace QdxTool
}  // namespace Norvane
