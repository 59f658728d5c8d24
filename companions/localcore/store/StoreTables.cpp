// The small tables: sessions, settings and counters, and the figures.
#include "JsonObjectText.h"
#include "StoreImpl.h"

namespace Norvane {
namespace LocalCore {

bool Store::Impl::OpenSession(std::string const& id, std::string const& productJson, long long startedMs, long long pid)
{
    if (id.empty())
        return Fail("a session needs an id");
    if (!IsJsonObjectText(productJson))
        return Fail("the product description is not a JSON object");
    WriteScope scope(*this);
    return scope.Ok() &&
           Query(*m_connection, "INSERT INTO sessions(uuid, product, start_ms, pid) VALUES(?, ?, ?, ?) "
                                "ON CONFLICT(uuid) DO NOTHING")
               .Bind(id)
               .Bind(productJson)
               .Bind(startedMs)
               .Bind(pid)
               .Run() &&
           scope.Commit();
}

bool Store::Impl::CloseSession(std::string const& id, long long endedMs)
{
    WriteScope scope(*this);
    if (!scope.Ok() ||
        !Query(*m_connection, "UPDATE sessions SET end_ms = ? WHERE uuid = ?").Bind(endedMs).Bind(id).Run())
        return false;
    if (sqlite3_changes64(m_connection->Handle()) == 0)
        return Fail("there is no session " + id);
    return scope.Commit();
}

std::map<std::string, std::string> Store::Impl::Settings()
{
    std::map<std::string, std::string> settings;
    Query query(*m_connection, "SELECT name, value FROM settings");
    while (query.Next())
        settings[query.Text(0)] = query.Text(1);
    return query.Ok() ? settings : std::map<std::string, std::string>();
}

bool Store::Impl::SetSetting(std::string const& name, std::string const& value)
{
    WriteScope scope(*this);
    return scope.Ok() &&
           Query(*m_connection, "INSERT INTO settings(name, value) VALUES(?, ?) "
                                "ON CONFLICT(name) DO UPDATE SET value = excluded.value")
               .Bind(name)
               .Bind(value)
               .Run() &&
           scope.Commit();
}

bool Store::Impl::RemoveSetting(std::string const& name)
{
    WriteScope scope(*this);
    return scope.Ok() && Query(*m_connection, "DELETE FROM settings WHERE name = ?").Bind(name).Run() && scope.Commit();
}

bool Store::Impl::AddToCountersInScope(std::map<std::string, long long> const& deltas)
{
    for (auto const& [name, delta] : deltas) {
        if (!Query(*m_connection, "INSERT INTO counters(name, value) VALUES(?, ?) "
                                  "ON CONFLICT(name) DO UPDATE SET value = value + excluded.value")
                 .Bind(name)
                 .Bind(delta)
                 .Run())
            return false;
    }
    return true;
}

bool Store::Impl::AddToCounters(std::map<std::string, long long> const& deltas)
{
    WriteScope scope(*this);
    return scope.Ok() && AddToCountersInScope(deltas) && scope.Commit();
}

std::map<std::string, long long> Store::Impl::Counters()
{
    std::map<std::string, long long> counters;
    Query query(*m_connection, "SELECT name, value FROM counters");
    while (query.Next())
        counters[query.Text(0)] = query.Int(1);
    return query.Ok() ? counters : std::map<std::string, long long>();
}

StoreFigures Store::Impl::Figures()
{
    StoreFigures figures;
    // One read transaction, so that the figures agree with each other.
    bool const own = !m_connection->InTransaction();
    if (own && !m_connection->Exec("BEGIN"))
        return figures;
    {
        Query records(*m_connection, "SELECT count(*), min(time_ms), max(time_ms) FROM records");
        if (records.Next()) {
            figures.records = records.Int(0);
            figures.oldestMs = records.Int(1);
            figures.newestMs = records.Int(2);
        }
        Query sessions(*m_connection, "SELECT count(*), count(*) - count(end_ms) FROM sessions");
        if (sessions.Next()) {
            figures.sessions = sessions.Int(0);
            figures.openSessions = sessions.Int(1);
        }
    }
    figures.newestSeq = m_connection->QueryInt("SELECT seq FROM sqlite_sequence WHERE name = 'records'", 0);
    figures.dictionaries = m_connection->QueryInt("SELECT count(*) FROM dictionaries");
    figures.schemaVersion = static_cast<int>(m_connection->QueryInt("PRAGMA user_version"));
    figures.liveBytes = LiveBytes();
    figures.databaseBytes = DatabaseFiles::SizeOf(m_path) + DatabaseFiles::SizeOf(m_path + "-wal");
    std::string const error = m_connection->Error();
    if (own)
        m_connection->Exec("COMMIT");
    if (!error.empty()) {
        Fail(error);
        return StoreFigures();
    }
    return figures;
}

long long Store::Impl::DataVersion()
{
    return m_connection->QueryInt("PRAGMA data_version");
}

long long Store::Impl::NewestSeq()
{
    long long const seq = m_connection->QueryInt("SELECT seq FROM sqlite_sequence WHERE name = 'records'", 0);
    return m_connection->Error().empty() ? seq : -1;
}

}  // namespace LocalCore
}  // namespace Norvane
