// qdxsdk messages: every message the library sends to a companion, and the
// exported call that sends it; the list check-companion walks.
#include "Commands.h"
#include "ExitCode.h"
#include "MessageCatalogue.h"

#include "values/RapidJson.h"

#include <iomanip>
#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

int RunMessages(bool json)
{
    if (!json)
        std::cout << std::left << std::setw(16) << "COMPANION" << std::setw(32) << "MESSAGE"
                  << "SENT BY\n";
    for (CatalogueMessage const& message : MessageCatalogue()) {
        if (!json) {
            std::cout << std::setw(16) << message.companion->fileName << std::setw(32) << message.message
                      << message.call << '\n';
            continue;
        }
        QdxRapidJson::StringBuffer buffer;
        QdxRapidJson::Writer<QdxRapidJson::StringBuffer> writer(buffer);
        writer.StartObject();
        writer.Key("companion");
        writer.String(message.companion->id);
        writer.Key("file");
        writer.String(message.companion->fileName);
        writer.Key("message");
        writer.String(message.message);
        writer.Key("call");
        writer.String(message.call);
        writer.EndObject();
        std::cout << buffer.GetString() << '\n';
    }
    return FinishOutput();
}

}  // namespace

void AddMessagesCommand(CLI::App& app, ToolContext const&, int& exitCode)
{
    auto json = std::make_shared<bool>(false);
    CLI::App* const command = app.add_subcommand(
        "messages", "List every message the library sends to a companion, and the exported call that sends it");
    command->add_flag("--json", *json, "One JSON object a line: companion, file, message, call");
    command->callback([json, &exitCode] { exitCode = RunMessages(*json); });
}

}  // namespace QdxTool
}  // namespace Norvane
