// qdxsdk doctor: one screen for a support ticket. Which wrapper library a
// host uses, the SDK folder, the configured companion folder, the candidate
// table of every companion, the environment file, the logging markers and
// the local core's database, then the problems found, each with what to do.
// Everything comes from the library's own code; nothing is loaded.
#include "CandidateReport.h"
#include "Commands.h"
#include "DatabaseStatus.h"
#include "ExitCode.h"
#include "StoreAccess.h"
#include "api/EnvironmentFile.h"
#include "api/LogFile.h"
#include "support/LogMarkers.h"

#include <iomanip>
#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

namespace Search = QDXDesktopSDK::CompanionSearch;
namespace Markers = QDXDesktopSDK::LogMarkers;

using QDXDesktopSDK::kEnvironmentFile;

struct DoctorOptions {
    std::string executable;
    bool json = false;
};

struct Problem {
    std::string what;
    std::string fix;
};

struct Findings {
    HostLayout layout;
    Path sdkFolder;
    bool sdkFolderWritable = false;
    Path environmentSource;  ///< empty: none found
    Path environmentMirror;
    bool mirrorExists = false;
    bool inSync = false;
    int level = 4;
    Path logFile;  ///< empty: none is written
    bool database = false;
    Status status;
    std::vector<Problem> problems;
};

void FindEnvironmentFile(Findings& findings)
{
    // The library mirrors the newest copy found where it searches for companions.
    Configuration const& configuration = findings.layout.configuration;
    Path const own = findings.layout.library.file.IsEmpty() ? Path() : findings.layout.library.file.Parent();
    Search::Table const table = Search::Search({Path(kEnvironmentFile), configuration.libraryPath, configuration.key,
                                                Path(), own, findings.layout.hostFolder});
    if (table.chosen >= 0)
        findings.environmentSource = table.candidates[static_cast<std::size_t>(table.chosen)].file;
    findings.environmentMirror = findings.sdkFolder.Append(kEnvironmentFile);
    findings.mirrorExists = findings.environmentMirror.Exists();
    findings.inSync = findings.environmentSource.IsEmpty()
                          ? !findings.mirrorExists
                          : findings.mirrorExists && findings.environmentSource.ReadFileAsString(-1) ==
                                                         findings.environmentMirror.ReadFileAsString(-1);
}

void FindProblems(Findings& findings)
{
    HostLayout const& layout = findings.layout;
    auto problem = [&findings](std::string what, std::string fix) {
        findings.problems.push_back({std::move(what), std::move(fix)});
    };
    if (layout.executable.IsEmpty())
        problem("no host given: the host's folder and its slp.json entry are not part of the search shown",
                "run qdxsdk doctor --exe /path/to/the/application");
    if (layout.library.file.IsEmpty())
        problem("no libQdxSDKWrapper.so found (" + layout.library.foundBy + ")",
                "install the library where the application's loader finds it (beside it, or in its RUNPATH)");
    else if (layout.library.version == 0)
        problem("libQdxSDKWrapper.so has no version stamp (stripped?)", "install an unstripped build of the library");
    if (!findings.sdkFolderWritable)
        problem("the SDK folder " + findings.sdkFolder.GetString() + " is not writable",
                "make it writable for the user (mkdir -p and chown), or the library falls back to /opt/Norvane/QDXSDK");
    Configuration const& configuration = layout.configuration;
    if (configuration.exists && !configuration.usable)
        problem(configuration.file.GetString() + " is not usable (not JSON, or no \"ProductLibraryPath\")",
                "fix it, or delete it and record the folder again with qdxsdk libpath set DIR --exe PATH");
    if (!configuration.libraryPath.IsEmpty() && !configuration.libraryPath.IsRelativePath() &&
        !configuration.libraryPath.IsDir())
        problem("the configured companion folder " + configuration.libraryPath.GetString() + " does not exist",
                "qdxsdk libpath set DIR --exe PATH with the right folder, or qdxsdk libpath clear --exe PATH");
    for (CompanionCandidates const& companion : layout.companions) {
        Search::Table const& table = companion.table;
        bool const core = companion.file == kCompanionFiles[0];
        if (table.chosen < 0 && core)
            problem("no copy of QdxSDKCore.so in any searched folder: every call returns 1",
                    "install QdxSDKCore.so in one of the folders qdxsdk locate lists, or qdxsdk libpath set DIR");
        else if (table.chosen >= 0 && table.candidates[static_cast<std::size_t>(table.chosen)].version == 0)
            problem("the chosen " + companion.file + " has no version stamp: any stamped copy would win",
                    "install a stamped (unstripped) build of " + companion.file);
    }
    if (!findings.inSync)
        problem("the environment file's mirror " + findings.environmentMirror.GetString() + " differs from its source",
                "nothing, if no application ran since the change: the next one mirrors it");
    if (Markers::Exists(Markers::kVerbose) && findings.level != 6)
        problem("/tmp/qdxverbose has no effect below level 6", "qdxsdk log dev, or qdxsdk log off");
    if (findings.database && findings.status.Setting("disabled") == "1")
        problem("collection is turned off (an application called DisableQDX)",
                "the application turns it on again; nothing is recorded until then");
    if (findings.database && findings.status.upload.failedAttempts > 0)
        problem("the collector did not take the last " + std::to_string(findings.status.upload.failedAttempts) +
                    " upload attempts; records wait in the database and are tried again",
                "check upload_endpoint and upload_headers in qdxdesktopsdk.env and that the collector answers");
    auto const dropped = findings.status.counters.find(LocalCore::UploadCounter::kRecordsDropped);
    if (findings.database && dropped != findings.status.counters.end() && dropped->second > 0)
        problem("the collector refused " + std::to_string(dropped->second) + " records for good (4xx answers)",
                "read the collector's log for why it refused them (authentication, size limits)");
}

void PrintText(Findings const& findings)
{
    auto line = [](char const* title) -> std::ostream& { return std::cout << std::left << std::setw(19) << title; };
    PrintLayoutText(std::cout, findings.layout);
    std::cout << '\n';
    line("SDK folder:") << findings.sdkFolder.GetString()
                        << (findings.sdkFolderWritable ? " (writable)" : " (NOT writable)") << '\n';
    Configuration const& configuration = findings.layout.configuration;
    line("slp.json:") << configuration.file.GetString()
                      << (!configuration.exists  ? " (missing)"
                          : configuration.usable ? ""
                                                 : " (not usable)")
                      << '\n';
    line("Environment file:") << (findings.environmentSource.IsEmpty() ? std::string("(none)")
                                                                       : findings.environmentSource.GetString())
                              << "; mirror " << findings.environmentMirror.GetString()
                              << (findings.mirrorExists ? "" : " (missing)")
                              << (findings.inSync ? ", in step" : ", NOT in step") << '\n';
    line("Log markers:");
    for (char const* marker : Markers::kAll)
        std::cout << marker << (Markers::Exists(marker) ? " yes  " : " no  ");
    std::cout << '\n';
    line("New processes:") << "level " << findings.level << ", log file "
                           << (findings.logFile.IsEmpty() ? std::string("none") : findings.logFile.GetString()) << '\n';
    std::cout << '\n';
    if (findings.database)
        PrintStatusText(std::cout, findings.status);
    else
        line("Database:") << "(none readable; see above)\n";
    std::cout << "\nProblems:\n";
    if (findings.problems.empty())
        std::cout << "  (none found)\n";
    for (Problem const& problem : findings.problems)
        std::cout << "  - " << problem.what << "\n    what to do: " << problem.fix << '\n';
}

void PrintJson(Findings const& findings)
{
    QdxRapidJson::StringBuffer buffer;
    JsonWriter writer(buffer);
    writer.StartObject();
    WriteLayoutJson(writer, findings.layout);
    writer.Key("sdk_folder");
    WriteText(writer, findings.sdkFolder.GetString());
    writer.Key("sdk_folder_writable");
    writer.Bool(findings.sdkFolderWritable);
    writer.Key("slp_json");
    writer.StartObject();
    writer.Key("file");
    WriteText(writer, findings.layout.configuration.file.GetString());
    writer.Key("exists");
    writer.Bool(findings.layout.configuration.exists);
    writer.Key("usable");
    writer.Bool(findings.layout.configuration.usable);
    writer.EndObject();
    writer.Key("environment_file");
    writer.StartObject();
    writer.Key("source");
    WriteTextOrNull(writer, findings.environmentSource.GetString());
    writer.Key("mirror");
    WriteText(writer, findings.environmentMirror.GetString());
    writer.Key("mirror_exists");
    writer.Bool(findings.mirrorExists);
    writer.Key("in_step");
    writer.Bool(findings.inSync);
    writer.EndObject();
    writer.Key("logging");
    writer.StartObject();
    writer.Key("markers");
    writer.StartObject();
    for (char const* marker : Markers::kAll) {
        writer.Key(marker);
        writer.Bool(Markers::Exists(marker));
    }
    writer.EndObject();
    writer.Key("level");
    writer.Int(findings.level);
    writer.Key("log_file");
    WriteTextOrNull(writer, findings.logFile.GetString());
    writer.EndObject();
    writer.Key("database");
    if (findings.database)
        WriteStatusJson(writer, findings.status);
    else
        writer.Null();
    writer.Key("problems");
    writer.StartArray();
    for (Problem const& problem : findings.problems) {
        writer.StartObject();
        writer.Key("problem");
        WriteText(writer, problem.what);
        writer.Key("fix");
        WriteText(writer, problem.fix);
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    std::cout << buffer.GetString() << '\n';
}

int RunDoctor(DoctorOptions const& options, ToolContext const& context)
{
    Findings findings;
    findings.sdkFolder = Path(context.SdkFolder().c_str());
    findings.layout = ExamineHost(findings.sdkFolder, HostExecutable(options.executable));
    findings.sdkFolderWritable = findings.sdkFolder.IsWritable();
    FindEnvironmentFile(findings);
    int const marked = Markers::MarkedLevel();
    findings.level = marked != 0 ? marked : 4;
    if (marked != 0) {
        std::string const host = findings.layout.executable.IsEmpty()
                                     ? "<executable name>"
                                     : findings.layout.executable.FileNameWithoutExt().GetString();
        findings.logFile = QDXDesktopSDK::LogFileIn(findings.sdkFolder, host);
    }
    int openCode = kExitOk;
    std::unique_ptr<LocalCore::Store> const store = OpenForReading(context, openCode);
    std::string error;
    findings.status.database = context.DatabasePath();
    findings.database = store != nullptr && ReadStatus(*store, findings.status, error);
    if (store == nullptr || !error.empty())
        findings.problems.push_back(
            {"the local core's database " + context.DatabasePath() +
                 (openCode == kExitNotFound ? " does not exist (no record stored yet)" : " cannot be read " + error),
             openCode == kExitNotFound ? "nothing, unless records are expected: then see the companion tables above"
                                       : "see qdxsdk status; the core moves a corrupt database aside by itself"});
    FindProblems(findings);
    if (options.json)
        PrintJson(findings);
    else
        PrintText(findings);
    return FinishOutput();
}

}  // namespace

void AddDoctorCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<DoctorOptions>();
    CLI::App* const command = app.add_subcommand(
        "doctor", "One screen for a support ticket: library, folders, companions, logging, database, problems");
    AddExecutableOption(*command, options->executable);
    command->add_flag("--json", options->json, "One JSON object (members listed in docs/qdxsdk.md)");
    command->callback([options, &context, &exitCode] { exitCode = RunDoctor(*options, context); });
}

}  // namespace QdxTool
}  // namespace Norvane
