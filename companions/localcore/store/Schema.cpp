#include "Schema.h"

#include "Connection.h"

namespace Norvane {
namespace LocalCore {

namespace Schema {

namespace {

// Version 1. Records are the bulk of the file, so they hold numbers where
// they can: message names and sessions are kept once in tables of their own,
// and the arguments as compressed bytes, with the dictionary they need (none:
// the text as it came). The seq numbers come from AUTOINCREMENT, so that they
// are never given twice, even after the newest records are deleted. The one
// index on records, by time, serves the age limit and the since filter.
// Sessions have none: it would add a tenth to every record's bytes and a
// sixth to its insertion, for a filter that only the command-line tool uses;
// for the same reason records.session is no foreign key (checking it when a
// session is deleted would scan the records each time), and the store
// removes a session only once no record refers to it.
char const* const kVersion1 = R"sql(
CREATE TABLE sessions(
    id INTEGER PRIMARY KEY,
    uuid TEXT NOT NULL UNIQUE,
    product TEXT NOT NULL,
    start_ms INTEGER NOT NULL,
    end_ms INTEGER,
    pid INTEGER NOT NULL);
CREATE TABLE names(
    id INTEGER PRIMARY KEY,
    name TEXT NOT NULL UNIQUE);
CREATE TABLE dictionaries(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    content BLOB NOT NULL,
    samples INTEGER NOT NULL,
    created_ms INTEGER NOT NULL);
CREATE TABLE records(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    time_ms INTEGER NOT NULL,
    session INTEGER,
    name INTEGER NOT NULL REFERENCES names(id),
    dictionary INTEGER REFERENCES dictionaries(id),
    body BLOB NOT NULL);
CREATE INDEX records_by_time ON records(time_ms);
CREATE TABLE settings(
    name TEXT PRIMARY KEY,
    value TEXT NOT NULL) WITHOUT ROWID;
CREATE TABLE counters(
    name TEXT PRIMARY KEY,
    value INTEGER NOT NULL) WITHOUT ROWID;
)sql";

// Version 2: what the upload to a collector shares between processes.
// Records stay in their table until a collector has taken them; a process
// that sends a run of them first leases it (its seq range, its owner, until
// when), so that no two processes send the same record at once, and a lease
// whose holder died runs out. The records table is left as it was, so that
// writing a record costs what it did. The back-off after failed attempts is
// kept here too, so that it survives a restart and holds for every process,
// with the database's own random id, which makes each record's id unique
// beyond this machine.
char const* const kVersion2 = R"sql(
CREATE TABLE upload_leases(
    id INTEGER PRIMARY KEY,
    first_seq INTEGER NOT NULL,
    last_seq INTEGER NOT NULL,
    owner TEXT NOT NULL,
    until_ms INTEGER NOT NULL);
CREATE TABLE upload_state(
    id INTEGER PRIMARY KEY CHECK (id = 1),
    database_id TEXT NOT NULL,
    next_attempt_ms INTEGER NOT NULL,
    failed_attempts INTEGER NOT NULL);
INSERT INTO upload_state(id, database_id, next_attempt_ms, failed_attempts)
    VALUES(1, lower(hex(randomblob(16))), 0, 0);
)sql";

}  // namespace

std::vector<Migration> const& Migrations()
{
    static std::vector<Migration> const steps = {{1, kVersion1}, {2, kVersion2}};
    return steps;
}

int CurrentVersion()
{
    return Migrations().back().toVersion;
}

bool Migrate(Connection& connection, std::vector<Migration> const& steps)
{
    for (Migration const& step : steps) {
        if (!connection.Exec("BEGIN IMMEDIATE"))
            return false;
        // Read inside the transaction: another process may have just upgraded.
        long long const version = connection.QueryInt("PRAGMA user_version");
        bool ok = version >= 0;
        if (ok && version < step.toVersion) {
            if (version == step.toVersion - 1)
                ok = connection.Exec(step.sql) &&
                     connection.Exec(("PRAGMA user_version = " + std::to_string(step.toVersion)).c_str());
            else
                ok = connection.Fail("the database has schema version " + std::to_string(version) +
                                     ", which cannot be upgraded to " + std::to_string(step.toVersion));
        }
        if (!ok || !connection.Exec("COMMIT")) {
            std::string const error = connection.Error();
            connection.Exec("ROLLBACK");
            connection.Fail(error);
            return false;
        }
    }
    return true;
}

}  // namespace Schema

}  // namespace LocalCore
}  // namespace Norvane
