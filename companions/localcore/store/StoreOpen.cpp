// Opening the database: the folder, the file, the checks that decide whether
// it can be used as it is, moving a corrupt one aside, and the connection's
// settings.
#include "Schema.h"
#include "StoreImpl.h"

namespace Norvane {
namespace LocalCore {

namespace {

char const* const kDatabaseName = "usage.db";
// The write-ahead log is checkpointed at about 4 MiB (1000 pages); a burst
// may grow it further, and this is what it is cut back to afterwards.
char const* const kJournalSizeLimit = "PRAGMA journal_size_limit = 4194304";

std::string VersionError(long long version)
{
    return "the database has schema version " + std::to_string(version) + ", newer than this code's " +
           std::to_string(Schema::CurrentVersion()) + "; it is left untouched";
}

}  // namespace

Store::Impl::Impl(std::string const& folder, OpenOptions const& options)
    : m_folder(folder), m_path(folder + "/" + kDatabaseName), m_mode(options.mode)
{
    m_wait.SetLimit(options.busyWaitLimitMs);
    m_wait.SetInterrupt(options.interrupt);
}

OpenOptions Store::Impl::CurrentOptions() const
{
    OpenOptions options;
    options.mode = m_mode;
    options.busyWaitLimitMs = m_wait.Limit();
    options.interrupt = m_wait.InterruptCheck();
    return options;
}

FileIdentity Store::Impl::CorruptFile() const
{
    return m_connection && m_connection->Corrupt() ? m_identity : FileIdentity();
}

bool Store::Impl::NeedsReopen() const
{
    return m_replaced || (m_connection && m_connection->Corrupt());
}

bool Store::Impl::Fail(std::string const& message)
{
    if (m_connection)
        return m_connection->Fail(message);
    m_openError = message;
    return false;
}

std::string Store::Impl::LastError() const
{
    return m_connection ? m_connection->Error() : m_openError;
}

void Store::Impl::ClearError()
{
    m_openError.clear();
    if (m_connection)
        m_connection->ClearError();
}

Store::Impl::Outcome Store::Impl::Failing(Outcome outcome, std::string const& message)
{
    Fail(message);
    return outcome;
}

bool Store::Impl::Open(OpenReport& report, FileIdentity const* corruptFile)
{
    if (m_mode == OpenMode::ReadOnly)
        return OpenReadOnly(report);

    std::string error;
    FolderLock lock;
    if (!DatabaseFiles::MakeFolder(m_folder, error) || !lock.Acquire(m_folder, m_wait, error))
        return Fail(error);
    // Another process may have moved the corrupt file aside already and
    // started afresh: only that very file is moved.
    if (corruptFile != nullptr && DatabaseFiles::IdentityOf(m_path) == *corruptFile && !MoveAside(report))
        return false;
    // A fresh database that is corrupt at once cannot come from its file:
    // the third round gives up.
    for (int round = 0; round < 3; ++round) {
        switch (OpenReadWrite(report)) {
        case Outcome::Opened:
            if (!report.movedAsideTo.empty())
                AddToCounters({{"corrupt_moved_aside", 1}});  // best effort: the database is usable anyway
            ClearError();
            return true;
        case Outcome::Corrupt:
            if (!MoveAside(report))
                return false;
            break;
        case Outcome::Newer:
            report.newerSchema = true;
            return false;
        case Outcome::Failed:
            return false;
        }
    }
    return Fail("the database is found corrupt even when made afresh");
}

Store::Impl::Outcome Store::Impl::OpenReadWrite(OpenReport& report)
{
    m_connection.reset();
    std::string error;
    DatabaseHeader const header = DatabaseFiles::ReadHeader(m_path);
    switch (header.state) {
    case DatabaseHeader::State::Missing:
        if (!DatabaseFiles::CreateEmptyFile(m_path, error))
            return Failing(Outcome::Failed, error);
        break;
    case DatabaseHeader::State::Unreadable:
        return Failing(Outcome::Failed, header.reason);
    case DatabaseHeader::State::Corrupt:
        return Failing(Outcome::Corrupt, m_path + " is corrupt: " + header.reason);
    case DatabaseHeader::State::Valid:
        // Without even a connection, so that nothing touches a newer database.
        if (header.userVersion > Schema::CurrentVersion())
            return Failing(Outcome::Newer, VersionError(header.userVersion));
        break;
    case DatabaseHeader::State::Empty:
        break;
    }

    m_connection = Connection::Open(m_path, false, m_wait, error);
    if (!m_connection)
        return Failing(Outcome::Failed, error);
    // Until the schema is known, closing must not checkpoint: a newer
    // database's log stays as its writer left it.
    sqlite3* const db = m_connection->Handle();
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    // The header's version predates whatever the log holds; this one is current.
    long long const version = m_connection->QueryInt("PRAGMA user_version");
    if (version < 0)
        return m_connection->Corrupt() ? Outcome::Corrupt : Outcome::Failed;
    if (version > Schema::CurrentVersion())
        return Failing(Outcome::Newer, VersionError(version));
    bool const fresh = version == 0;
    if (!fresh) {
        Outcome const integrity = CheckIntegrity();
        if (integrity != Outcome::Opened)
            return integrity;
    }
    DatabaseFiles::RestrictToOwner(m_path);
    if (!Configure(fresh) || !Schema::Migrate(*m_connection, Schema::Migrations()))
        return m_connection->Corrupt() ? Outcome::Corrupt : Outcome::Failed;
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    m_identity = DatabaseFiles::IdentityOf(m_path);
    report.createdFresh = fresh;
    return Outcome::Opened;
}

// quick_check reads every page and checks its structure, without the slower
// comparison of each index with its table; a statement that meets damage it
// missed reports it later (NeedsReopen).
Store::Impl::Outcome Store::Impl::CheckIntegrity()
{
    m_connection->AbortLongStatementsOnInterrupt(true);
    std::string const verdict = m_connection->QueryText("PRAGMA quick_check(1)");
    m_connection->AbortLongStatementsOnInterrupt(false);
    if (verdict == "ok")
        return Outcome::Opened;
    if (verdict.empty() && !m_connection->Corrupt())
        return Outcome::Failed;  // interrupted, locked, out of memory: not the file's fault
    return Failing(Outcome::Corrupt, m_path + " is corrupt: " + (verdict.empty() ? m_connection->Error() : verdict));
}

bool Store::Impl::Configure(bool fresh)
{
    sqlite3* const db = m_connection->Handle();
    // No statement may write to the file other than through the schema.
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    // Only before the first table exists: later it would need a VACUUM.
    // Incremental, so that the size limit can give pages back to the file
    // system at a moment of the store's choosing.
    if (fresh && !m_connection->Exec("PRAGMA auto_vacuum = INCREMENTAL"))
        return false;
    if (m_connection->QueryText("PRAGMA journal_mode = WAL") != "wal")
        return m_connection->Error().empty() ? Fail("the database cannot use a write-ahead log") : false;
    // NORMAL: a commit survives a crash of the process; Commit(true) adds the
    // sync that makes one survive a power loss too. The references of records
    // to names and dictionaries hold by the store's own logic: it takes their
    // ids from those tables within the transaction that writes the record
    // (forgetting them when one is rolled back), and never deletes a name or
    // a dictionary. SQLite's check of them on every insert would cost a tenth
    // of the record's writing.
    return m_connection->Exec("PRAGMA synchronous = NORMAL") && m_connection->Exec("PRAGMA foreign_keys = OFF") &&
           m_connection->Exec("PRAGMA temp_store = MEMORY") && m_connection->Exec(kJournalSizeLimit);
}

bool Store::Impl::MoveAside(OpenReport& report)
{
    m_connection.reset();  // the file must be closed before it moves
    std::string error;
    std::string const aside = DatabaseFiles::MoveAside(m_path, error);
    if (aside.empty())
        return Fail(error);
    report.movedAsideTo = aside;
    return true;
}

bool Store::Impl::OpenReadOnly(OpenReport& report)
{
    DatabaseHeader const header = DatabaseFiles::ReadHeader(m_path);
    switch (header.state) {
    case DatabaseHeader::State::Missing:
    case DatabaseHeader::State::Empty:
        return Fail("there is no database in " + m_folder);
    case DatabaseHeader::State::Unreadable:
        return Fail(header.reason);
    case DatabaseHeader::State::Corrupt:
        return Fail(m_path + " is corrupt: " + header.reason);
    case DatabaseHeader::State::Valid:
        if (header.userVersion > Schema::CurrentVersion()) {
            report.newerSchema = true;
            return Fail(VersionError(header.userVersion));
        }
        break;
    }
    std::string error;
    m_connection = Connection::Open(m_path, true, m_wait, error);
    if (!m_connection)
        return Fail(error);
    sqlite3* const db = m_connection->Handle();
    sqlite3_db_config(db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_db_config(db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    if (!m_connection->Exec("PRAGMA query_only = ON") || !m_connection->Exec("PRAGMA temp_store = MEMORY"))
        return false;
    long long const version = m_connection->QueryInt("PRAGMA user_version");
    if (version < 0)
        return false;
    if (version > Schema::CurrentVersion()) {
        report.newerSchema = true;
        return Fail(VersionError(version));
    }
    if (version < Schema::CurrentVersion())
        return Fail("the database has schema version " + std::to_string(version) +
                    "; it can be read once the core has brought it up to date");
    if (CheckIntegrity() != Outcome::Opened)
        return false;
    m_identity = DatabaseFiles::IdentityOf(m_path);
    return true;
}

}  // namespace LocalCore
}  // namespace Norvane
