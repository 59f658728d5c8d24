// qdxsdk status: the figures of the local core's database, its counters and
// the settings that decide whether it keeps anything.
#include "Commands.h"
#include "CoreSettings.h"
#include "DropCounters.h"
#include "ExitCode.h"
#include "RecordJson.h"
#include "SinceTime.h"
#include "StoreAccess.h"
#include "values/RapidJson.h"

#include <iomanip>
#include <iostream>
#include <map>
#include <memory>

namespace Norvane {
namespace QdxTool {

namespace {

// The store's counts of the records its limits removed (full, too old).
constexpr char const* kRemovedCounters[] = {"removed_by_size", "removed_by_age"};

struct StatusOptions {
    bool json = false;
};

struct Status {
    std::string database;
    LocalCore::StoreFigures figures;
    LocalCore::UploadState upload;
    std::map<std::string, long long> counters;
    std::map<std::string, std::string> settings;

    std::string Setting(char const* name) const
    {
        auto const found = settings.find(name);
        return found != settings.end() ? found->second : std::string();
    }
};

// Each read is its own; a failed one ends the reading.
bool ReadStatus(LocalCore::Store& store, Status& status, std::string& error)
{
    status.figures = store.Figures();
    error = store.LastError();
    if (error.empty()) {
        status.counters = store.Counters();
        error = store.LastError();
    }
    if (error.empty()) {
        status.settings = store.Settings();
        error = store.LastError();
    }
    if (error.empty()) {
        status.upload = store.ReadUploadState(NowMs());
        error = store.LastError();
    }
    // Shown even before the first count, so that scripts find them all.
    for (int reason = 0; reason < static_cast<int>(LocalCore::DropReason::Count); ++reason)
        status.counters.emplace(LocalCore::DropCounters::CounterName(static_cast<LocalCore::DropReason>(reason)), 0);
    for (char const* const name : kRemovedCounters)
        status.counters.emplace(name, 0);
    for (char const* const name : LocalCore::UploadCounter::kAll)
        status.counters.emplace(name, 0);
    return error.empty();
}

std::string TimeOrNone(LocalCore::StoreFigures const& figures, long long timeMs)
{
    return figures.records > 0 ? LocalCore::Rfc3339Utc(timeMs) : std::string("-");
}

// Whether the upload backs off, and how many batches are on their way.
std::string UploadText(LocalCore::UploadState const& upload)
{
    std::string text = upload.failedAttempts == 0
                           ? std::string("no failed attempts")
                           : std::to_string(upload.failedAttempts) + " failed attempts in a row, next at " +
                                 LocalCore::Rfc3339Utc(upload.nextAttemptMs);
    return text + ", " + std::to_string(upload.activeLeases) + " batches in flight";
}

void PrintText(Status const& status)
{
    LocalCore::StoreFigures const& figures = status.figures;
    std::string const consent = status.Setting(LocalCore::Setting::kConsent);
    auto line = [](char const* title) -> std::ostream& { return std::cout << std::left << std::setw(18) << title; };
    line("Database:") << status.database << " (" << figures.databaseBytes << " bytes)\n";
    line("Schema version:") << figures.schemaVersion << '\n';
    line("Records:") << figures.records << '\n';
    line("Sessions:") << figures.openSessions << " open, " << figures.sessions << " in all\n";
    line("Oldest record:") << TimeOrNone(figures, figures.oldestMs) << '\n';
    line("Newest record:") << TimeOrNone(figures, figures.newestMs) << '\n';
    line("Newest seq:") << figures.newestSeq << '\n';
    line("Consent:") << (consent.empty() ? std::string("not answered") : consent) << '\n';
    line("Collection:") << (status.Setting(LocalCore::Setting::kDisabled) == "1" ? "disabled" : "enabled") << '\n';
    line("Upload:") << UploadText(status.upload) << '\n';
    std::cout << "Counters:\n";
    for (auto const& [name, value] : status.counters)
        std::cout << "  " << std::left << std::setw(28) << name << value << '\n';
}

void PrintJson(Status const& status)
{
    using Writer = QdxRapidJson::Writer<QdxRapidJson::StringBuffer>;
    LocalCore::StoreFigures const& figures = status.figures;
    QdxRapidJson::StringBuffer buffer;
    Writer writer(buffer);
    auto text = [&writer](std::string const& value) {
        writer.String(value.c_str(), static_cast<QdxRapidJson::SizeType>(value.size()));
    };
    auto textOrNull = [&](bool present, std::string const& value) {
        if (present)
            text(value);
        else
            writer.Null();
    };
    writer.StartObject();
    writer.Key("database");
    text(status.database);
    writer.Key("database_bytes");
    writer.Int64(figures.databaseBytes);
    writer.Key("schema_version");
    writer.Int(figures.schemaVersion);
    writer.Key("records");
    writer.Int64(figures.records);
    writer.Key("sessions");
    writer.Int64(figures.sessions);
    writer.Key("open_sessions");
    writer.Int64(figures.openSessions);
    writer.Key("oldest_time");
    textOrNull(figures.records > 0, LocalCore::Rfc3339Utc(figures.oldestMs));
    writer.Key("newest_time");
    textOrNull(figures.records > 0, LocalCore::Rfc3339Utc(figures.newestMs));
    writer.Key("newest_seq");
    writer.Int64(figures.newestSeq);
    writer.Key("consent");
    std::string const consent = status.Setting(LocalCore::Setting::kConsent);
    textOrNull(!consent.empty(), consent);
    writer.Key("disabled");
    writer.Bool(status.Setting(LocalCore::Setting::kDisabled) == "1");
    writer.Key("upload");
    writer.StartObject();
    writer.Key("failed_attempts");
    writer.Int64(status.upload.failedAttempts);
    writer.Key("next_attempt_time");
    textOrNull(status.upload.nextAttemptMs > 0, LocalCore::Rfc3339Utc(status.upload.nextAttemptMs));
    writer.Key("batches_in_flight");
    writer.Int64(status.upload.activeLeases);
    writer.EndObject();
    writer.Key("counters");
    writer.StartObject();
    for (auto const& [name, value] : status.counters) {
        text(name);
        writer.Int64(value);
    }
    writer.EndObject();
    writer.EndObject();
    std::cout << buffer.GetString() << '\n';
}

int RunStatus(StatusOptions const& options, ToolContext const& context)
{
    int exitCode = kExitOk;
    std::unique_ptr<LocalCore::Store> const store = OpenForReading(context, exitCode);
    if (!store)
        return exitCode;
    Status status;
    status.database = context.DatabasePath();
    std::string error;
    if (!ReadStatus(*store, status, error)) {
        ReportError("reading the figures of " + status.database + " failed: " + error);
        return kExitFailure;
    }
    if (options.json)
        PrintJson(status);
    else
        PrintText(status);
    return FinishOutput();
}

}  // namespace

void AddStatusCommand(CLI::App& app, ToolContext const& context, int& exitCode)
{
    auto options = std::make_shared<StatusOptions>();
    CLI::App* const command =
        app.add_subcommand("status", "Show the database's figures, counters, consent and whether collection is on");
    command->add_flag("--json", options->json, "One JSON object (members listed in docs/qdxsdk.md)");
    command->callback([options, &context, &exitCode] { exitCode = RunStatus(*options, context); });
}

}  // namespace QdxTool
}  // namespace Norvane
