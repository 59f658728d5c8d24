#include "CompanionChecks.h"

#include "ChildProcess.h"
#include "CompanionCheckBodies.h"

#include "support/Path.h"
#include "support/QdxUtilResource.h"
#include "support/QdxUtilVersion.h"

#include <csignal>
#include <algorithm>
#include <cstring>
#include <sstream>

namespace Norvane {
namespace QdxTool {

namespace {

std::string FileNameOf(std::string const& path)
{
    return QDXDesktopSDK::Path(path.c_str()).FileName().GetString();
}

std::string LoadedFileNames()
{
    std::string names;
    for (CompanionKind const& kind : CompanionKinds())
        names += (names.empty() ? "" : ", ") + std::string(kind.fileName);
    return names;
}

CheckRow CheckFileName(CheckTarget const& target, CheckRow row)
{
    std::string const name = FileNameOf(target.file);
    if (target.kind == nullptr) {
        row.result = CheckResult::Failed;
        row.detail = "the suffix " + target.suffix + " is none of the library's: it loads only " + LoadedFileNames();
    } else if (name != target.kind->fileName) {
        row.result = CheckResult::Failed;
        row.detail = "the library loads the " + std::string(target.kind->title) + " as " + target.kind->fileName +
                     ", not " + name + " (checked as if it had that name)";
    } else {
        row.result = CheckResult::Passed;
        row.detail = name + ", the " + target.kind->title;
    }
    return row;
}

// Read as the library reads it when it chooses among copies: from the file,
// without loading it.
CheckRow CheckVersionStamp(CheckTarget const& target, CheckRow row)
{
    QDXDesktopSDK::Path const file(target.file.c_str());
    unsigned long long const version = file.GetVersion();
    std::vector<unsigned char> stamp;
    QDXDesktopSDK::QdxUtil::LoadResourceFromBinary(stamp, target.file, "_ZL7version", false);
    std::string const text(stamp.begin(), std::find(stamp.begin(), stamp.end(), '\0'));
    if (version == 0) {
        row.result = CheckResult::Failed;
        row.detail = text.empty() ? "no _ZL7version in the full symbol table (stripped, not a 64-bit ELF file, "
                                    "or no stamp): version 0 loses to every stamped copy"
                                  : "the stamp \"" + text + "\" holds no version after its comma: version 0";
        return row;
    }
    row.result = CheckResult::Passed;
    row.detail = QDXDesktopSDK::QdxUtil::GetVersionStringFromVersion(version) + " (\"" + text + "\")";
    return row;
}

using ChildCheck = int (*)(CheckTarget const&, int);

using LocalCheck = CheckRow (*)(CheckTarget const&, CheckRow);

struct CheckStep {
    char const* id;
    char const* title;
    LocalCheck local;          ///< checked in this process, without running the companion's code
    ChildCheck run;            ///< or run in a child process
    bool needsInitialisation;  ///< skipped unless the initialisation check passed
    bool needsMessages;        ///< skipped for a suffix the library sends no messages to
};

constexpr CheckStep kSteps[] = {
    {"file_name", "file name", CheckFileName, nullptr, false, false},
    {"version_stamp", "version stamp", CheckVersionStamp, nullptr, false, false},
    {"entry_points", "entry points", nullptr, CheckEntryPoints, false, false},
    {"initialisation", "initialisation", nullptr, CheckInitialisation, false, false},
    {"messages", "every message answered", nullptr, CheckMessages, true, true},
    {"free_message", "FreeMessage", nullptr, CheckFreeMessage, true, true},
    {"concurrency", "concurrent calls", nullptr, CheckConcurrency, true, true},
    {"finalize", "Finalize", nullptr, CheckFinalize, true, false},
};

std::string SignalText(int signal)
{
    char const* const name = sigabbrev_np(signal);
    return "signal " + std::to_string(signal) + (name != nullptr ? std::string(", SIG") + name : "");
}

std::string SecondsText(double seconds)
{
    std::ostringstream text;
    text << seconds;
    return text.str();
}

// The row from what the child reported and how it ended.
CheckRow Interpret(ChildOutcome const& outcome, double timeoutSeconds, CheckRow row)
{
    std::string verdict;
    std::string lastStep;
    std::istringstream lines(outcome.report);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, 3, "at ") == 0)
            lastStep = line.substr(3);
        else if (line.compare(0, 5, "pass ") == 0 || line.compare(0, 5, "fail ") == 0)
            verdict = line;
    }
    std::string const where = lastStep.empty() ? std::string() : " at " + lastStep;
    row.result = CheckResult::Failed;
    switch (outcome.end) {
    case ChildOutcome::End::NotStarted:
        row.detail = "not run: " + outcome.error;
        break;
    case ChildOutcome::End::Crashed:
        row.detail = "crashed (" + SignalText(outcome.signal) + ")" + where;
        break;
    case ChildOutcome::End::TimedOut:
        row.detail = "timed out after " + SecondsText(timeoutSeconds) + " s" + where;
        break;
    case ChildOutcome::End::Exited:
        if (outcome.exitStatus != 0 || verdict.empty()) {
            row.detail = "ended the process (exit status " + std::to_string(outcome.exitStatus) + ")" + where;
        } else {
            row.result = verdict[0] == 'p' ? CheckResult::Passed : CheckResult::Failed;
            row.detail = verdict.substr(5);
        }
        break;
    }
    return row;
}

}  // namespace

std::vector<CheckRow> CheckCompanion(CheckTarget const& target, double timeoutSeconds)
{
    std::vector<CheckRow> rows;
    bool loads = false;
    bool initialises = false;
    for (CheckStep const& step : kSteps) {
        CheckRow row;
        row.id = step.id;
        row.title = step.title;
        if (step.local != nullptr) {
            rows.push_back(step.local(target, row));
            continue;
        }
        if (step.run != CheckEntryPoints && !loads) {
            row.detail = "the library cannot load it (see entry points)";
        } else if (step.needsInitialisation && !initialises) {
            row.detail = "the library does not use it (see initialisation)";
        } else if (step.needsMessages && target.kind == nullptr) {
            row.detail = "the library sends no messages to entry points with the suffix " + target.suffix;
        } else {
            ChildCheck const run = step.run;
            ChildOutcome const outcome =
                RunInChild([&target, run](int channel) { return run(target, channel); }, timeoutSeconds);
            row = Interpret(outcome, timeoutSeconds, row);
        }
        if (step.run == CheckEntryPoints)
            loads = row.result == CheckResult::Passed;
        if (step.run == CheckInitialisation)
            initialises = row.result == CheckResult::Passed;
        rows.push_back(row);
    }
    return rows;
}

char const* CheckResultText(CheckResult result)
{
    switch (result) {
    case CheckResult::Passed:
        return "passed";
    case CheckResult::Failed:
        return "failed";
    case CheckResult::Skipped:
        break;
    }
    return "skipped";
}

}  // namespace QdxTool
}  // namespace Norvane
