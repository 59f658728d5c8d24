// One SQLite connection with its prepared statements, the wait for other
// connections' locks, and the record of the last failure. Every statement of
// the store goes through here, so that a corrupt database is noticed wherever
// it shows.
#ifndef QDX_LOCAL_CORE_CONNECTION_H
#define QDX_LOCAL_CORE_CONNECTION_H

#include <sqlite3.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace Norvane {
namespace LocalCore {

/// When a lock held by another connection makes an operation wait.
class WaitPolicy {
public:
    void SetLimit(long long ms);
    void SetInterrupt(std::function<bool()> interrupt);
    long long Limit() const;
    /// The owner's check as set (empty when none).
    std::function<bool()> InterruptCheck() const;
    /// True when the owner's interrupt check says stop.
    bool Interrupted() const;

private:
    mutable std::mutex m_mutex;
    long long m_limitMs = 5000;                          // guarded by m_mutex
    std::shared_ptr<std::function<bool()>> m_interrupt;  // guarded by m_mutex
};

class Connection {
public:
    /// Opens an existing database file (never creates one). Null on failure,
    /// with the reason in error.
    static std::unique_ptr<Connection> Open(std::string const& path, bool readOnly, WaitPolicy const& wait,
                                            std::string& error);
    ~Connection();
    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;

    sqlite3* Handle() const { return m_db; }

    /// Runs SQL without results (several statements allowed).
    bool Exec(char const* sql);
    /// Runs one statement without results through the kept statements: for
    /// the ones a store runs often (transactions, savepoints). This and the
    /// two below take string literals only, since they keep statements by
    /// the text's address.
    bool Run(char const* literal);
    /// The first column of the first row as a number; fallback when there is none or on failure.
    long long QueryInt(char const* literal, long long fallback = -1);
    /// The first column of the first row as text; "" when none or on failure.
    std::string QueryText(char const* literal);

    /// The prepared statement for sql, kept for reuse; null on failure.
    sqlite3_stmt* Prepare(std::string const& sql);
    /// The same for SQL in a string literal, found by its address: the
    /// statements run once per record cost no copy or comparison of their text.
    sqlite3_stmt* Prepare(char const* literal);

    /// Records a failed result code: the message, and whether the database
    /// is corrupt. Returns false so that callers can `return Fail(...)`.
    bool Fail(int code, std::string const& context = std::string());
    bool Fail(std::string const& message);
    /// True for SQLITE_OK, SQLITE_ROW and SQLITE_DONE; otherwise records the failure.
    bool Check(int code, std::string const& context = std::string());

    std::string const& Error() const { return m_error; }
    void ClearError() { m_error.clear(); }
    bool Corrupt() const { return m_corrupt; }
    bool InTransaction() const { return sqlite3_get_autocommit(m_db) == 0; }

    /// While true, long statements give up when the owner's interrupt check says stop.
    void AbortLongStatementsOnInterrupt(bool on);

private:
    Connection(sqlite3* db, WaitPolicy const& wait);
    static int OnBusy(void* self, int count);
    static int OnProgress(void* self);

    sqlite3* m_db;
    WaitPolicy const& m_wait;
    std::map<std::string, sqlite3_stmt*> m_statements;          // owns every statement
    std::unordered_map<char const*, sqlite3_stmt*> m_literals;  // by address, into m_statements
    std::string m_error;
    bool m_corrupt = false;
    bool m_interrupted = false;  // the last wait ended through the interrupt check
    long long m_waitStartMs = 0;
};

/// One use of a kept statement: binds parameters in order, steps, reads
/// columns, and resets the statement when it goes out of scope.
class Query {
public:
    Query(Connection& connection, std::string const& sql);
    Query(Connection& connection, char const* literal);
    ~Query();
    Query(Query const&) = delete;
    Query& operator=(Query const&) = delete;

    Query& Bind(long long value);
    Query& Bind(std::string const& text);
    Query& BindBlob(void const* data, size_t size);
    Query& BindNull();

    /// Steps to the next row: true when there is one; false at the end or on
    /// failure (then Ok() is false).
    bool Next();
    /// Steps through to the end; true on success.
    bool Run();
    bool Ok() const { return m_ok; }

    long long Int(int column) const;
    std::string Text(int column) const;
    bool IsNull(int column) const;
    /// Points into the statement's row: valid until the next step.
    std::string_view Blob(int column) const;

private:
    Connection& m_connection;
    sqlite3_stmt* m_statement;
    int m_nextParameter = 1;
    bool m_ok;
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
