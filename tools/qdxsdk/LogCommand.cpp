// qdxsdk log: the marker files in /tmp that switch the library's logging, and
// the log files it writes while a level marker exists.
#include "Commands.h"
#include "ExitCode.h"
#include "JsonOut.h"
#include "api/LogFile.h"
#include "support/LogMarkers.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <vector>

namespace Norvane {
namespace QdxTool {

namespace {

namespace fs = std::filesystem;
namespace Markers = QDXDesktopSDK::LogMarkers;
using QDXDesktopSDK::Path;

char const* const kLevelNames[] = {"", "FATAL", "ERROR", "WARN", "INFO", "DEBUG", "DEV"};

struct LogOptions {
    std::string executable;
    bool json = false;
};

bool CreateMarker(char const* name)
{
    int const file = open(Markers::PathOf(name).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
    if (file < 0) {
        ReportError("cannot create " + Markers::PathOf(name).GetString() + ": " + std::strerror(errno));
        return false;
    }
    close(file);
    return true;
}

bool RemoveMarker(char const* name)
{
    if (unlink(Markers::PathOf(name).c_str()) == 0 || errno == ENOENT)
        return true;
    ReportError("cannot remove " + Markers::PathOf(name).GetString() + ": " + std::strerror(errno));
    return false;
}

// The level a process started now gets (4 without a level marker), as its logger decides.
int NewProcessLevel()
{
    int const marked = Markers::MarkedLevel();
    return marked != 0 ? marked : 4;
}

struct LogFileEntry {
    fs::path path;
    fs::file_time_type written;
    std::uintmax_t bytes;
};

// "name" or "name_<pid>"; any stem when `name` is empty.
bool OfExecutable(std::string const& stem, std::string const& name)
{
    if (name.empty() || stem == name)
        return true;
    if (stem.size() <= name.size() + 1 || stem.compare(0, name.size() + 1, name + "_") != 0)
        return false;
    return stem.find_first_not_of("0123456789", name.size() + 1) == std::string::npos;
}

// The log files in the SDK folder, of executables named `name` (any when empty):
// "<name>.log" and "<name>_<pid>.log".
std::vector<LogFileEntry> LogFiles(ToolContext const& context, std::string const& name)
{
    std::vector<LogFileEntry> files;
    fs::path const folder = QDXDesktopSDK::LogFolderIn(Path(context.SdkFolder().c_str())).GetString();
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (entry->is_regular_file() && entry->path().extension() == ".log" &&
            OfExecutable(entry->path().stem().string(), name))
            files.push_back({entry->path(), entry->last_write_time(), entry->file_size()});
    }
    return files;
}

int Status(LogOptions const& options, ToolContext const& context)
{
    int const level = NewProcessLevel();
    bool const writesFile = Markers::MarkedLevel() != 0;
    Path const folder = QDXDesktopSDK::LogFolderIn(Path(context.SdkFolder().c_str()));
    std::vector<LogFileEntry> const files = LogFiles(context, std::string());
    if (options.json) {
        QdxRapidJson::StringBuffer buffer;
        JsonWriter writer(buffer);
        writer.StartObject();
        writer.Key("markers");
        writer.StartObject();
        for (char const* marker : Markers::kAll) {
            writer.Key(marker);
            writer.Bool(Markers::Exists(marker));
        }
        writer.EndObject();
        writer.Key("level");
        writer.Int(level);
        writer.Key("log_file");
        writer.Bool(writesFile);
        writer.Key("log_folder");
        WriteText(writer, folder.GetString());
        writer.Key("files");
        writer.StartArray();
        for (LogFileEntry const& file : files)
            WriteText(writer, file.path.string());
        writer.EndArray();
        writer.EndObject();
        std::cout << buffer.GetString() << '\n';
        return FinishOutput();
    }
    for (char const* marker : Markers::kAll)
        std::cout << std::left << Markers::PathOf(marker).GetString()
                  << (Markers::Exists(marker) ? "  present\n" : "  -\n");
    std::cout << "A process started now logs at level " << level << " (" << kLevelNames[level] << ")";
    if (writesFile)
        std::cout << " into " << folder.GetString() << "/<executable name>"
                  << (Markers::Exists(Markers::kPid) ? "_<pid>" : "") << ".log\n";
    else
        std::cout << " and writes no log file (qdxsdk log debug or qdxsdk log dev starts one)\n";
    for (LogFileEntry const& file : files)
        std::cout << "  " << file.path.string() << " (" << file.bytes << " bytes)\n";
    return FinishOutput();
}

int Show(LogOptions const& options, ToolContext const& context)
{
    std::string const name =
        options.executable.empty() ? std::string() : fs::path(options.executable).filename().stem().string();
    std::vector<LogFileEntry> const files = LogFiles(context, name);
    LogFileEntry const* newest = nullptr;
    for (LogFileEntry const& file : files) {
        if (newest == nullptr || file.written > newest->written)
            newest = &file;
    }
    if (newest == nullptr) {
        ReportError("no log file" + (name.empty() ? std::string() : " of " + name) + " in " +
                    QDXDesktopSDK::LogFolderIn(Path(context.SdkFolder().c_str())).GetString());
        return kExitNotFound;
    }
    std::ifstream in(newest->path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!in.good() && !in.eof()) {
        ReportError("cannot read " + newest->path.string());
        return kExitFailure;
    }
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0)
        text.erase(0, 3);
    std::cerr << "qdxsdk: " << newest->path.string() << '\n';
    std::cout << text;
    return FinishOutput();
}

int Switch(std::string const& to)
{
    bool done = true;
    if (to == "off") {
        for (char const* marker : Markers::kAll)
            done = RemoveMarker(marker) && done;
    } else if (to == "dev") {
        done = CreateMarker(Markers::kDev);
    } else if (to == "debug") {
        done = RemoveMarker(Markers::kDev) && CreateMarker(Markers::kDebug);
    } else {
        done = CreateMarker(to == "pid" ? Markers::kPid : Markers::kVerbose);
    }
    if (!done)
        return kExitFailure;
    int const level = NewProcessLevel();
    std::cout << "Processes started from now on log at level " << level << " (" << kLevelNames[level] << ")"
              << (Markers::MarkedLevel() != 0 ? ", into a log file" : ", without a log file") << '\n';
    return FinishOutput();
}

}  // namespace

void AddLogCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<LogOptions>();
    CLI::App* const command =
        app.add_subcommand("log", "Switch the library's logging with the marker files in /tmp, and show its log files");
    command->require_subcommand(1);
    command->fallthrough();
    command->add_subcommand("status", "Show the marker files, the level a new process gets and the log files")
        ->callback([options, &context, &exitCode] { exitCode = Status(*options, context); })
        ->add_flag("--json", options->json, "One JSON object (members listed in docs/qdxsdk.md)");
    struct {
        char const* name;
        char const* help;
    } const switches[] = {
        {"dev", "Create /tmp/qdxdev: level 6 (every message and answer) and a log file"},
        {"debug", "Create /tmp/qdxdebug (removing /tmp/qdxdev): level 5 and a log file"},
        {"pid", "Create /tmp/qdxpid: log file names carry the process id"},
        {"verbose", "Create /tmp/qdxverbose: at level 6, lines are also copied to standard output"},
        {"off", "Remove all four marker files: level 4, no log file"},
    };
    for (auto const& entry : switches) {
        std::string const to = entry.name;
        command->add_subcommand(entry.name, entry.help)->callback([to, &exitCode] { exitCode = Switch(to); });
    }
    CLI::App* const show = command->add_subcommand("show", "Print the newest log file");
    show->add_option("--exe", options->executable, "Only log files of executables of this name (or path)")
        ->type_name("NAME");
    show->callback([options, &context, &exitCode] { exitCode = Show(*options, context); });
}

}  // namespace QdxTool
}  // namespace Norvane
