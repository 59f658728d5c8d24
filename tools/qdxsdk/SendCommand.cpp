// qdxsdk send: one message to a companion through the library's own routing
// (InternalProcessMessage), with the answer and the code it gives.
#include "Commands.h"
#include "ExitCode.h"

#include "QdxInternalMessages.h"
#include "values/RapidJson.h"

#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

using QDXDesktopSDK::JsonValue;

namespace {

struct SendOptions {
    std::string name;
    std::string arguments = "{}";
    bool json = false;
};

// The library's pretty text of the answer as one compact line.
void WriteCompact(JsonValue const& answer, QdxRapidJson::Writer<QdxRapidJson::StringBuffer>& writer)
{
    QDXDesktopSDK::QdxString const text = answer.GetJsonString();
    QDXDesktopSDK::JsonDocument document;
    if (text.c_str() == nullptr || document.Parse(text.c_str()).HasParseError())
        writer.Null();
    else
        document.Accept(writer);
}

int RunSend(SendOptions const& options)
{
    JsonValue arguments;
    // An empty text is the null value, which the library sends as "".
    if (!options.arguments.empty() && !arguments.FromJsonString(options.arguments.c_str())) {
        ReportError("the arguments are not valid JSON: " + options.arguments);
        return kExitUsage;
    }
    unsigned int const code = QDXDesktopSDK::InternalProcessMessage(options.name.c_str(), arguments);
    if (options.json) {
        QdxRapidJson::StringBuffer buffer;
        QdxRapidJson::Writer<QdxRapidJson::StringBuffer> writer(buffer);
        writer.StartObject();
        writer.Key("name");
        writer.String(options.name.c_str(), static_cast<QdxRapidJson::SizeType>(options.name.size()));
        writer.Key("code");
        writer.Uint(code);
        writer.Key("answer");
        WriteCompact(arguments, writer);
        writer.EndObject();
        std::cout << buffer.GetString() << '\n';
    } else {
        QDXDesktopSDK::QdxString const answer = arguments.GetJsonString();
        std::cout << "Code: " << code << "\nAnswer:\n" << (answer.c_str() != nullptr ? answer.c_str() : "null") << '\n';
    }
    int const written = FinishOutput();
    return written != kExitOk ? written : code == 0 ? kExitOk : kExitNotPassed;
}

}  // namespace

void AddSendCommand(CLI::App& app, ToolContext const&, int& exitCode)
{
    auto options = std::make_shared<SendOptions>();
    CLI::App* const command = app.add_subcommand(
        "send", "Send one message through the library's routing, as InternalProcessMessage does, and print the "
                "answer and its code. The companion is found as for an application in qdxsdk's own folder");
    command
        ->add_option("NAME", options->name,
                     "The message: \"Foo\" or \"QdxSDKCore.Foo\" to the core library, \"QdxSDKUI.Foo\" to the "
                     "dialog library, \"GlintCore.Foo\" to the companion-feature library")
        ->required();
    command->add_option("JSON", options->arguments, "The argument value as JSON text (default {}; \"\" sends null)");
    command->add_flag("--json", options->json, "One JSON object: name, code and answer");
    command->callback([options, &exitCode] { exitCode = RunSend(*options); });
}

}  // namespace QdxTool
}  // namespace Norvane
