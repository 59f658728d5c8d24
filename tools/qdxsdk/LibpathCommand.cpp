// qdxsdk libpath: the companion folder configured for a host in "slp.json",
// shown, set and cleared with the library's own configuration code.
#include "Commands.h"
#include "ExitCode.h"
#include "HostLayout.h"
#include "JsonOut.h"
#include "QdxString.h"
#include "companion/LibraryPathManager.h"

#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

using QDXDesktopSDK::JsonValue;
using QDXDesktopSDK::LibraryPathManager;
using QDXDesktopSDK::QdxString;

struct LibpathOptions {
    std::string executable;
    std::string folder;
    bool json = false;
};

// Every host entry of the file, for showing; the entry that applies comes
// from the library's own lookup.
JsonValue HostEntries(Path const& file)
{
    JsonValue config;
    if (file.Exists())
        config.FromJsonString(QdxString(file.ReadFileAsString(-1).c_str()));
    JsonValue const& constConfig = config;
    return constConfig["ProductLibraryPath"];
}

int Show(LibpathOptions const& options, ToolContext const& context)
{
    Path const sdkFolder(context.SdkFolder().c_str());
    Path const host = HostExecutable(options.executable);
    Configuration const configuration = ReadConfiguration(sdkFolder, host.IsEmpty() ? Path() : host.Parent());
    JsonValue const entries = HostEntries(configuration.file);
    JsonValue const names = entries.GetKeyList();
    if (options.json) {
        QdxRapidJson::StringBuffer buffer;
        JsonWriter writer(buffer);
        writer.StartObject();
        writer.Key("file");
        WriteText(writer, configuration.file.GetString());
        writer.Key("exists");
        writer.Bool(configuration.exists);
        writer.Key("usable");
        writer.Bool(configuration.usable);
        writer.Key("entries");
        writer.StartObject();
        for (int i = 0; i < names.GetCount(); ++i) {
            QdxString const name = names[i];
            QdxString const folder = entries[name]["QDX"];
            WriteText(writer, name.c_str());
            WriteText(writer, folder.c_str() != nullptr ? folder.c_str() : "");
        }
        writer.EndObject();
        writer.Key("host_folder");
        WriteTextOrNull(writer, host.IsEmpty() ? std::string() : host.Parent().GetString());
        writer.Key("library_path");
        WriteTextOrNull(writer, configuration.libraryPath.GetString());
        writer.Key("key");
        WriteTextOrNull(writer, configuration.key.GetString());
        writer.EndObject();
        std::cout << buffer.GetString() << '\n';
        return FinishOutput();
    }
    std::cout << "File: " << configuration.file.GetString()
              << (!configuration.exists  ? " (missing)"
                  : configuration.usable ? ""
                                         : " (not usable: no \"ProductLibraryPath\", or no JSON)")
              << '\n';
    for (int i = 0; i < names.GetCount(); ++i) {
        QdxString const name = names[i];
        QdxString const folder = entries[name]["QDX"];
        std::cout << "  " << name.c_str() << " -> " << (folder.c_str() != nullptr ? folder.c_str() : "") << '\n';
    }
    if (!host.IsEmpty()) {
        std::cout << "For hosts in " << host.Parent().GetString() << ": ";
        if (configuration.libraryPath.IsEmpty())
            std::cout << "(none)\n";
        else
            std::cout << configuration.libraryPath.GetString() << " (recorded for " << configuration.key.GetString()
                      << ")\n";
    }
    return FinishOutput();
}

int Change(LibpathOptions const& options, ToolContext const& context, bool set)
{
    if (options.executable.empty()) {
        ReportError(std::string("libpath ") + (set ? "set" : "clear") +
                    " needs --exe PATH: the entry is recorded for the folder of a host's executable");
        return kExitUsage;
    }
    Path const sdkFolder(context.SdkFolder().c_str());
    Path const hostFolder = HostExecutable(options.executable).Parent();
    LibraryPathManager::SSetWorkingPath(sdkFolder);
    LibraryPathManager& manager = LibraryPathManager::Instance();
    Path const folder(options.folder.c_str());
    if (set) {
        // As SetLibraryPath records it: the text as given, for the host's folder.
        manager.UpdateLibraryPathConfig(hostFolder, folder);
        Configuration const now = ReadConfiguration(sdkFolder, hostFolder);
        if (now.libraryPath.GetString() != folder.GetString() || !(now.key == hostFolder)) {
            ReportError("could not record the folder in " + now.file.GetString());
            return kExitFailure;
        }
        if (!folder.IsRelativePath() && !folder.IsDir())
            std::cerr << "qdxsdk: note: " << folder.GetString() << " is not a folder (yet)\n";
        std::cout << "Companion folder for hosts in " << hostFolder.GetString() << ": " << folder.GetString() << '\n';
        return FinishOutput();
    }
    bool const removed = manager.RemoveLibraryPathConfig(hostFolder);
    Configuration const now = ReadConfiguration(sdkFolder, hostFolder);
    std::cout << (removed ? "Removed the entry for " : "No entry was recorded for ") << hostFolder.GetString()
              << "; now applies: "
              << (now.libraryPath.IsEmpty()
                      ? std::string("(none)")
                      : now.libraryPath.GetString() + " (recorded for " + now.key.GetString() + ")")
              << '\n';
    return FinishOutput();
}

}  // namespace

void AddLibpathCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<LibpathOptions>();
    CLI::App* const command =
        app.add_subcommand("libpath", "Show, set or clear the companion folder configured for a host (slp.json)");
    command->require_subcommand(1);
    command->fallthrough();
    AddExecutableOption(*command, options->executable);
    command->add_flag("--json", options->json, "show: one JSON object (members listed in docs/qdxsdk.md)");
    command->add_subcommand("show", "Show every entry, and the one that applies to the host of --exe")
        ->callback([options, &context, &exitCode] { exitCode = Show(*options, context); });
    CLI::App* const set = command->add_subcommand(
        "set", "Record DIR as the companion folder for the host of --exe, as SetLibraryPath does");
    set->add_option("DIR", options->folder, "The folder (a relative one is taken from the host's folder)")->required();
    set->callback([options, &context, &exitCode] { exitCode = Change(*options, context, true); });
    command->add_subcommand("clear", "Remove the entry recorded for the host of --exe")
        ->callback([options, &context, &exitCode] { exitCode = Change(*options, context, false); });
}

}  // namespace QdxTool
}  // namespace Norvane
