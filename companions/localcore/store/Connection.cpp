#include "Connection.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace Norvane {
namespace LocalCore {

namespace {

long long NowMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

void WaitPolicy::SetLimit(long long ms)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_limitMs = std::max(0LL, ms);
}

void WaitPolicy::SetInterrupt(std::function<bool()> interrupt)
{
    auto shared = interrupt ? std::make_shared<std::function<bool()>>(std::move(interrupt)) : nullptr;
    std::lock_guard<std::mutex> lock(m_mutex);
    m_interrupt = std::move(shared);
}

long long WaitPolicy::Limit() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_limitMs;
}

std::function<bool()> WaitPolicy::InterruptCheck() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_interrupt ? *m_interrupt : std::function<bool()>();
}

bool WaitPolicy::Interrupted() const
{
    std::shared_ptr<std::function<bool()>> interrupt;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        interrupt = m_interrupt;
    }
    // Called without the lock, so that the owner may change the policy from
    // inside its check.
    try {
        return interrupt && (*interrupt)();
    } catch (...) {
        return true;  // a check that cannot answer cannot keep us waiting
    }
}

std::unique_ptr<Connection> Connection::Open(std::string const& path, bool readOnly, WaitPolicy const& wait,
                                             std::string& error)
{
    sqlite3* db = nullptr;
    int const flags = (readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) | SQLITE_OPEN_NOMUTEX;
    int const code = sqlite3_open_v2(path.c_str(), &db, flags, nullptr);
    if (code != SQLITE_OK) {
        error = "cannot open " + path + ": " + (db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(code));
        sqlite3_close_v2(db);
        return nullptr;
    }
    sqlite3_extended_result_codes(db, 1);
    return std::unique_ptr<Connection>(new Connection(db, wait));
}

Connection::Connection(sqlite3* db, WaitPolicy const& wait) : m_db(db), m_wait(wait)
{
    sqlite3_busy_handler(m_db, &Connection::OnBusy, this);
}

Connection::~Connection()
{
    for (auto const& entry : m_statements)
        sqlite3_finalize(entry.second);
    sqlite3_close_v2(m_db);
}

// Waits in short steps instead of one long sleep, so that the owner's
// interrupt check is asked often and a stop never waits for the whole limit.
int Connection::OnBusy(void* self, int count)
{
    Connection& connection = *static_cast<Connection*>(self);
    long long const now = NowMs();
    if (count == 0) {
        connection.m_waitStartMs = now;
        connection.m_interrupted = false;
    }
    if (connection.m_wait.Interrupted()) {
        connection.m_interrupted = true;
        return 0;
    }
    long long const remaining = connection.m_wait.Limit() - (now - connection.m_waitStartMs);
    if (remaining <= 0)
        return 0;
    long long const step = std::min({1LL << std::min(count, 4), 10LL, remaining});
    std::this_thread::sleep_for(std::chrono::milliseconds(step));
    return 1;
}

int Connection::OnProgress(void* self)
{
    Connection& connection = *static_cast<Connection*>(self);
    if (!connection.m_wait.Interrupted())
        return 0;
    connection.m_interrupted = true;
    return 1;
}

void Connection::AbortLongStatementsOnInterrupt(bool on)
{
    m_interrupted = false;
    sqlite3_progress_handler(m_db, on ? 1000 : 0, on ? &Connection::OnProgress : nullptr, this);
}

bool Connection::Fail(int code, std::string const& context)
{
    int const primary = code & 0xff;
    if (primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB) {
        m_corrupt = true;
        // A corrupt database is to be moved aside as it is, its log beside it.
        sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    }
    std::string message;
    if ((primary == SQLITE_BUSY || primary == SQLITE_INTERRUPT) && m_interrupted)
        message = "stopped waiting for the database: the owner asked to stop";
    else if (primary == SQLITE_BUSY)
        message = "the database stayed locked by another connection for " + std::to_string(m_wait.Limit()) + " ms";
    else
        message = sqlite3_errstr(code) + std::string(": ") + sqlite3_errmsg(m_db);
    m_error = context.empty() ? message : context + ": " + message;
    return false;
}

bool Connection::Fail(std::string const& message)
{
    m_error = message;
    return false;
}

bool Connection::Check(int code, std::string const& context)
{
    if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE)
        return true;
    return Fail(code, context);
}

bool Connection::Exec(char const* sql)
{
    return Check(sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr), sql);
}

bool Connection::Run(char const* literal)
{
    return Query(*this, literal).Run();
}

long long Connection::QueryInt(char const* literal, long long fallback)
{
    Query query(*this, literal);
    return query.Next() && !query.IsNull(0) ? query.Int(0) : fallback;
}

std::string Connection::QueryText(char const* literal)
{
    Query query(*this, literal);
    return query.Next() ? query.Text(0) : std::string();
}

sqlite3_stmt* Connection::Prepare(std::string const& sql)
{
    auto const found = m_statements.find(sql);
    if (found != m_statements.end())
        return found->second;
    sqlite3_stmt* statement = nullptr;
    int const code = sqlite3_prepare_v3(m_db, sql.c_str(), static_cast<int>(sql.size() + 1), SQLITE_PREPARE_PERSISTENT,
                                        &statement, nullptr);
    if (code != SQLITE_OK) {
        Fail(code, sql);
        return nullptr;
    }
    m_statements.emplace(sql, statement);
    return statement;
}

sqlite3_stmt* Connection::Prepare(char const* literal)
{
    auto const found = m_literals.find(literal);
    if (found != m_literals.end())
        return found->second;
    sqlite3_stmt* const statement = Prepare(std::string(literal));
    if (statement != nullptr)
        m_literals.emplace(literal, statement);
    return statement;
}

Query::Query(Connection& connection, std::string const& sql)
    : m_connection(connection), m_statement(connection.Prepare(sql)), m_ok(m_statement != nullptr)
{
}

Query::Query(Connection& connection, char const* literal)
    : m_connection(connection), m_statement(connection.Prepare(literal)), m_ok(m_statement != nullptr)
{
}

Query::~Query()
{
    if (m_statement != nullptr) {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }
}

Query& Query::Bind(long long value)
{
    if (m_ok)
        m_ok = m_connection.Check(sqlite3_bind_int64(m_statement, m_nextParameter, value));
    ++m_nextParameter;
    return *this;
}

Query& Query::Bind(std::string const& text)
{
    if (m_ok)
        m_ok = m_connection.Check(
            sqlite3_bind_text64(m_statement, m_nextParameter, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
    ++m_nextParameter;
    return *this;
}

Query& Query::BindBlob(void const* data, size_t size)
{
    // A zero-length blob still binds as a blob, not as null.
    static char const empty = 0;
    if (m_ok)
        m_ok = m_connection.Check(
            sqlite3_bind_blob64(m_statement, m_nextParameter, size != 0 ? data : &empty, size, SQLITE_STATIC));
    ++m_nextParameter;
    return *this;
}

Query& Query::BindNull()
{
    if (m_ok)
        m_ok = m_connection.Check(sqlite3_bind_null(m_statement, m_nextParameter));
    ++m_nextParameter;
    return *this;
}

bool Query::Next()
{
    if (!m_ok)
        return false;
    int const code = sqlite3_step(m_statement);
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE)
        m_ok = m_connection.Fail(code, sqlite3_sql(m_statement));
    return false;
}

bool Query::Run()
{
    while (Next()) {
    }
    return m_ok;
}

long long Query::Int(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

std::string Query::Text(int column) const
{
    auto const* text = reinterpret_cast<char const*>(sqlite3_column_text(m_statement, column));
    return text != nullptr ? std::string(text, static_cast<size_t>(sqlite3_column_bytes(m_statement, column)))
                           : std::string();
}

bool Query::IsNull(int column) const
{
    return sqlite3_column_type(m_statement, column) == SQLITE_NULL;
}

std::string_view Query::Blob(int column) const
{
    // The size is asked after the data, as SQLite requires.
    auto const* data = static_cast<char const*>(sqlite3_column_blob(m_statement, column));
    size_t const size = static_cast<size_t>(sqlite3_column_bytes(m_statement, column));
    return data != nullptr ? std::string_view(data, size) : std::string_view();
}

}  // namespace LocalCore
}  // namespace Norvane
