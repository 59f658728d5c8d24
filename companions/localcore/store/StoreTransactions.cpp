// Transactions: the owner's (Begin, Commit, Rollback) and each writing
// operation's own (WriteScope).
#include "StoreImpl.h"

namespace Norvane {
namespace LocalCore {

bool Store::Impl::StartWriting()
{
    if (m_mode == OpenMode::ReadOnly)
        return Fail("the database was opened read-only");
    // One stat per transaction notices a database that another process moved
    // aside (found corrupt) or replaced: writing on would lose the records.
    if (DatabaseFiles::IdentityOf(m_path) != m_identity) {
        m_replaced = true;
        return Fail("the database file was moved away or replaced by another process: reopen the store");
    }
    m_sessionKeys.clear();
    // IMMEDIATE takes the write lock now, where the busy handler can wait for
    // it, rather than at the first write, where a reader's snapshot could
    // make the upgrade fail at once.
    return m_connection->Run("BEGIN IMMEDIATE");
}

void Store::Impl::ForgetCachedIds()
{
    m_nameIds.clear();
    m_sessionKeys.clear();
    m_codec.Forget();
}

bool Store::Impl::Begin()
{
    if (m_connection->InTransaction())
        return Fail("a transaction is open already");
    return StartWriting();
}

bool Store::Impl::Commit(bool durable)
{
    if (!m_connection->InTransaction()) {
        ForgetCachedIds();
        return Fail("no transaction is open (an error may have ended it)");
    }
    if (!m_connection->Run("COMMIT")) {
        std::string const error = m_connection->Error();
        Rollback();
        return Fail(error);
    }
    return !durable || SyncLog();
}

// SQLite refuses to change the synchronous setting inside a transaction, so
// a durable commit is an ordinary one followed by the sync of the log that
// synchronous=FULL would have made: through SQLite's own file, which also
// syncs the folder when the log file is new. A log that another connection
// has checkpointed and restarted meanwhile was synced by that checkpoint.
bool Store::Impl::SyncLog()
{
    sqlite3_file* log = nullptr;
    int code = sqlite3_file_control(m_connection->Handle(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    if (code == SQLITE_OK && log != nullptr && log->pMethods != nullptr)
        code = log->pMethods->xSync(log, SQLITE_SYNC_NORMAL);
    return m_connection->Check(code, "committed, but cannot sync the write-ahead log");
}

void Store::Impl::Rollback()
{
    ForgetCachedIds();
    if (m_connection->InTransaction())
        m_connection->Run("ROLLBACK");
}

WriteScope::WriteScope(Store::Impl& impl, Savepoint savepoint) : m_impl(impl)
{
    Connection& connection = *impl.m_connection;
    m_ownTransaction = !connection.InTransaction();
    m_savepoint = !m_ownTransaction && savepoint == Savepoint::Needed;
    if (m_ownTransaction)
        m_ok = impl.StartWriting();
    else
        m_ok = !m_savepoint || connection.Run("SAVEPOINT store_operation");
    m_finished = !m_ok;
}

WriteScope::~WriteScope()
{
    if (!m_finished)
        Undo();
}

bool WriteScope::Commit()
{
    if (m_finished)
        return false;
    Connection& connection = *m_impl.m_connection;
    m_finished = true;
    if (m_ownTransaction ? connection.Run("COMMIT") : !m_savepoint || connection.Run("RELEASE store_operation"))
        return true;
    std::string const error = connection.Error();
    Undo();
    return m_impl.Fail(error);
}

void WriteScope::Undo()
{
    m_finished = true;
    m_impl.ForgetCachedIds();
    Connection& connection = *m_impl.m_connection;
    // The error that brought us here stays the one reported.
    std::string const error = connection.Error();
    if (m_ownTransaction) {
        if (connection.InTransaction())
            connection.Run("ROLLBACK");
    } else if (m_savepoint && connection.InTransaction()) {
        connection.Run("ROLLBACK TO store_operation");
        connection.Run("RELEASE store_operation");
    }
    if (!error.empty())
        connection.Fail(error);
}

}  // namespace LocalCore
}  // namespace Norvane
