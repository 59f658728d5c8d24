// qdxsdk check-companion: whether a companion library meets what the library
// requires of it, check by check, for companion authors.
#include "Commands.h"
#include "CompanionChecks.h"
#include "ExitCode.h"

#include "companion/EntryPointNames.h"
#include "values/RapidJson.h"

#include <unistd.h>

#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

struct CheckOptions {
    std::string file;
    std::string suffix;
    double timeoutSeconds = 30;
    int threads = 8;
    int messagesPerThread = 100;
    bool json = false;
};

// A folder where the file can be loaded under the name the library loads it
// by, when it has another: a symbolic link in a fresh temporary folder.
class LoadFolder {
public:
    ~LoadFolder()
    {
        std::error_code ignored;
        if (!m_folder.empty())
            std::filesystem::remove_all(m_folder, ignored);
    }

    bool Prepare(CheckTarget& target, std::string& error)
    {
        std::filesystem::path const file(target.file);
        target.loadName = target.kind != nullptr ? target.kind->fileName : file.filename().string();
        if (file.filename() == target.loadName) {
            target.loadFolder = file.parent_path().string();
            return true;
        }
        std::error_code failure;
        std::string pattern = (std::filesystem::temp_directory_path(failure) / "qdxsdk-check-XXXXXX").string();
        if (failure || mkdtemp(pattern.data()) == nullptr) {
            error = "cannot make a temporary folder for " + target.loadName;
            return false;
        }
        m_folder = pattern;
        std::filesystem::create_symlink(file, m_folder / target.loadName, failure);
        if (failure) {
            error = "cannot link " + target.loadName + " to " + target.file + ": " + failure.message();
            return false;
        }
        target.loadFolder = m_folder.string();
        return true;
    }

private:
    std::filesystem::path m_folder;
};

void PrintTable(CheckTarget const& target, std::vector<CheckRow> const& rows)
{
    std::cout << "Checking " << target.file << " as "
              << (target.kind != nullptr ? std::string("the ") + target.kind->title : std::string("a companion"))
              << " (entry points *" << target.suffix << ")\n";
    int failed = 0;
    int skipped = 0;
    for (CheckRow const& row : rows) {
        std::cout << "  " << std::left << std::setw(8) << CheckResultText(row.result) << std::setw(24) << row.title
                  << row.detail << '\n';
        failed += row.result == CheckResult::Failed ? 1 : 0;
        skipped += row.result == CheckResult::Skipped ? 1 : 0;
    }
    if (failed == 0 && skipped == 0)
        std::cout << "All " << rows.size() << " checks passed.\n";
    else
        std::cout << failed << " of " << rows.size() << " checks failed, " << skipped << " skipped.\n";
}

void PrintJson(CheckTarget const& target, std::vector<CheckRow> const& rows, bool passed)
{
    QdxRapidJson::StringBuffer buffer;
    QdxRapidJson::Writer<QdxRapidJson::StringBuffer> writer(buffer);
    auto text = [&writer](std::string const& value) {
        writer.String(value.c_str(), static_cast<QdxRapidJson::SizeType>(value.size()));
    };
    writer.StartObject();
    writer.Key("file");
    text(target.file);
    writer.Key("suffix");
    text(target.suffix);
    writer.Key("companion");
    if (target.kind != nullptr)
        text(target.kind->id);
    else
        writer.Null();
    writer.Key("passed");
    writer.Bool(passed);
    writer.Key("checks");
    writer.StartArray();
    for (CheckRow const& row : rows) {
        writer.StartObject();
        writer.Key("check");
        text(row.id);
        writer.Key("result");
        text(CheckResultText(row.result));
        writer.Key("detail");
        text(row.detail);
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    std::cout << buffer.GetString() << '\n';
}

int RunCheck(CheckOptions const& options)
{
    CheckTarget target;
    target.file = std::filesystem::absolute(options.file).lexically_normal().string();
    target.suffix = options.suffix.empty() ? QDXDesktopSDK::EntryPointNames::SuffixFor(target.file.c_str(), nullptr)
                                           : options.suffix;
    target.kind = CompanionKindForSuffix(target.suffix);
    target.threads = options.threads;
    target.messagesPerThread = options.messagesPerThread;
    LoadFolder folder;
    std::string error;
    if (!folder.Prepare(target, error)) {
        ReportError(error);
        return kExitFailure;
    }
    // The children write nothing of ours: what is buffered is printed once.
    std::cout.flush();
    std::vector<CheckRow> const rows = CheckCompanion(target, options.timeoutSeconds);
    bool passed = true;
    for (CheckRow const& row : rows)
        passed = passed && row.result == CheckResult::Passed;
    if (options.json)
        PrintJson(target, rows, passed);
    else
        PrintTable(target, rows);
    int const written = FinishOutput();
    return written != kExitOk ? written : passed ? kExitOk : kExitNotPassed;
}

}  // namespace

void AddCheckCompanionCommand(CLI::App& app, ToolContext const&, int& exitCode)
{
    auto options = std::make_shared<CheckOptions>();
    CLI::App* const command = app.add_subcommand(
        "check-companion",
        "Check a companion library against what the library requires: file name, version stamp, entry points, "
        "initialisation, an answer to every message, FreeMessage, concurrent calls and Finalize. Each check that "
        "runs the companion runs in a child process: a crash or hang fails that check only. The companion does "
        "what the messages ask (a core stores records, sets consent, disables collection): check where that does "
        "no harm");
    command->add_option("FILE", options->file, "The companion library file")->required()->check(CLI::ExistingFile);
    command
        ->add_option("--suffix", options->suffix,
                     "Entry-point suffix, when not derived from the file name as the library derives it "
                     "(\"_\" and the name without extension and leading \"lib\")")
        ->type_name("S");
    command->add_option("--timeout", options->timeoutSeconds, "Seconds each check may take (default 30)")
        ->type_name("SECONDS")
        ->check(CLI::PositiveNumber);
    command->add_option("--threads", options->threads, "Threads sending at once in the concurrency check (default 8)")
        ->type_name("N")
        ->check(CLI::Range(1, 256));
    command
        ->add_option("--messages", options->messagesPerThread,
                     "Messages each thread sends in the concurrency check (default 100)")
        ->type_name("M")
        ->check(CLI::Range(1, 100000));
    command->add_flag("--json", options->json, "One JSON object: file, suffix, companion, passed, checks");
    command->callback([options, &exitCode] { exitCode = RunCheck(*options); });
}

}  // namespace QdxTool
}  // namespace Norvane
