#include "DatabaseStatus.h"

#include "CoreSettings.h"
#include "DropCounters.h"
#include "RecordJson.h"
#include "SinceTime.h"

#include <iomanip>

namespace Norvane {
namespace QdxTool {

namespace {

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

}  // namespace

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
    for (char const* const name : LocalCore::LimitCounter::kAll)
        status.counters.emplace(name, 0);
    for (char const* const name : LocalCore::UploadCounter::kAll)
        status.counters.emplace(name, 0);
    return error.empty();
}

void PrintStatusText(std::ostream& out, Status const& status)
{
    LocalCore::StoreFigures const& figures = status.figures;
    std::string const consent = status.Setting(LocalCore::Setting::kConsent);
    auto line = [&out](char const* title) -> std::ostream& { return out << std::left << std::setw(18) << title; };
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
    out << "Counters:\n";
    for (auto const& [name, value] : status.counters)
        out << "  " << std::left << std::setw(28) << name << value << '\n';
}

void WriteStatusJson(QdxRapidJson::Writer<QdxRapidJson::StringBuffer>& writer, Status const& status)
{
    LocalCore::StoreFigures const& figures = status.figures;
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
}

std::string StatusJson(Status const& status)
{
    QdxRapidJson::StringBuffer buffer;
    QdxRapidJson::Writer<QdxRapidJson::StringBuffer> writer(buffer);
    WriteStatusJson(writer, status);
    return buffer.GetString();
}

}  // namespace QdxTool
}  // namespace Norvane
