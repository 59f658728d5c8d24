// qdxsdk: shows and manages the usage data that the local core keeps.
#include "Commands.h"
#include "ExitCode.h"
#include "ToolContext.h"

#include <exception>
#include <iostream>

using namespace Norvane::QdxTool;

namespace {

// Every subcommand, in the order --help lists them.
constexpr AddCommand kCommands[] = {AddEventsCommand, AddStatusCommand, AddExportCommand, AddPurgeCommand,
                                    // Field diagnosis.
                                    AddDoctorCommand, AddLocateCommand, AddVersionCommand, AddLibpathCommand,
                                    AddLogCommand,
                                    // Talking to companions.
                                    AddSendCommand, AddMessagesCommand, AddCheckCompanionCommand};

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app("Shows and manages the usage data that the local core keeps in <SDK folder>/localcore/usage.db,\n"
                 "and diagnoses how the library finds, loads and logs its companions.",
                 "qdxsdk");
    app.footer(std::string("\n") + kExitCodeHelp + "\nSee docs/qdxsdk.md for the output formats.");
    app.require_subcommand(1);
    // Global options may also follow the subcommand: "qdxsdk events --sdk-folder DIR".
    app.fallthrough();
    ToolContext context;
    context.AddGlobalOptions(app);
    int exitCode = kExitOk;
    for (AddCommand const add : kCommands)
        add(app, context, exitCode);

    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        // Help and version are "errors" that exit with 0; CLI11's own codes
        // for real ones are many, and scripts get the one usage code.
        int const code = app.exit(error);
        return code == static_cast<int>(CLI::ExitCodes::Success) ? kExitOk : kExitUsage;
    } catch (std::exception const& error) {
        ReportError(error.what());
        return kExitFailure;
    }
    return exitCode;
}
