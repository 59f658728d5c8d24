// qdxsdk locate: which copy of each companion a host would load, and why,
// with the library's own search and without loading anything.
#include "CandidateReport.h"
#include "Commands.h"
#include "ExitCode.h"

#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

struct LocateOptions {
    std::string executable;
    bool json = false;
};

int RunLocate(LocateOptions const& options, ToolContext const& context)
{
    HostLayout const layout = ExamineHost(Path(context.SdkFolder().c_str()), HostExecutable(options.executable));
    if (options.json) {
        QdxRapidJson::StringBuffer buffer;
        JsonWriter writer(buffer);
        writer.StartObject();
        WriteLayoutJson(writer, layout);
        writer.EndObject();
        std::cout << buffer.GetString() << '\n';
    } else {
        PrintLayoutText(std::cout, layout);
    }
    return FinishOutput();
}

}  // namespace

void AddLocateCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<LocateOptions>();
    CLI::App* const command = app.add_subcommand(
        "locate", "Show every candidate copy of each companion and which one a host would load, loading nothing");
    AddExecutableOption(*command, options->executable);
    command->add_flag("--json", options->json, "One JSON object (members listed in docs/qdxsdk.md)");
    command->callback([options, &context, &exitCode] { exitCode = RunLocate(*options, context); });
}

}  // namespace QdxTool
}  // namespace Norvane
