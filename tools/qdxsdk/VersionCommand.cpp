// qdxsdk version: the version stamp of library files, read as the library
// reads it when it chooses among copies of a companion.
#include "Commands.h"
#include "ExitCode.h"
#include "JsonOut.h"
#include "companion/CompanionSearch.h"
#include "support/Path.h"
#include "support/QdxUtilResource.h"

#include <filesystem>
#include <iostream>
#include <memory>
#include <vector>

namespace Norvane {
namespace QdxTool {

namespace {

using QDXDesktopSDK::Path;

struct VersionOptions {
    std::vector<std::string> files;
    bool json = false;
};

// The stamp's text up to its terminating NUL; empty when there is none.
std::string StampText(std::string const& file)
{
    std::vector<unsigned char> bytes;
    if (!QDXDesktopSDK::QdxUtil::LoadResourceFromBinary(bytes, file, "_ZL7version", false))
        return std::string();
    std::string text(bytes.begin(), bytes.end());
    return text.substr(0, text.find('\0'));
}

int RunVersion(VersionOptions const& options)
{
    int exitCode = kExitOk;
    for (std::string const& given : options.files) {
        // The library takes a relative path from its own folder; here it means the current folder.
        std::string const file = std::filesystem::absolute(given).string();
        if (!Path(file.c_str()).Exists()) {
            std::cout.flush();
            ReportError(given + ": no such file");
            exitCode = kExitFailure;
            continue;
        }
        unsigned long long const version = Path(file.c_str()).GetVersion();
        std::string const stamp = StampText(file);
        if (options.json) {
            QdxRapidJson::StringBuffer buffer;
            JsonWriter writer(buffer);
            writer.StartObject();
            writer.Key("file");
            WriteText(writer, given);
            writer.Key("version");
            WriteTextOrNull(writer,
                            version == 0 ? std::string() : QDXDesktopSDK::CompanionSearch::VersionText(version));
            writer.Key("stamp");
            WriteTextOrNull(writer, stamp);
            writer.EndObject();
            std::cout << buffer.GetString() << '\n';
        } else {
            std::cout << given << "  " << QDXDesktopSDK::CompanionSearch::VersionText(version) << "  "
                      << (stamp.empty() ? std::string("(no version stamp)") : stamp) << '\n';
        }
    }
    int const output = FinishOutput();
    return exitCode != kExitOk ? exitCode : output;
}

}  // namespace

void AddVersionCommand(CLI::App& app, ToolContext const&, int& exitCode)
{
    auto options = std::make_shared<VersionOptions>();
    CLI::App* const command = app.add_subcommand(
        "version", "Show the version stamp of library files as the library reads it (\"-\" when none)");
    command->add_option("FILE", options->files, "Library files (companions, libQdxSDKWrapper.so)")->required();
    command->add_flag("--json", options->json, "One JSON object a file (members listed in docs/qdxsdk.md)");
    command->callback([options, &exitCode] { exitCode = RunVersion(*options); });
}

}  // namespace QdxTool
}  // namespace Norvane
