// Adding many records at once: the writer's path. One insert statement per
// row costs SQLite a statement's start and end for every record (and the
// update of the sequence table that AUTOINCREMENT keeps); an insert of many
// rows pays them once.
#include "StoreImpl.h"

namespace Norvane {
namespace LocalCore {

namespace {

#define QDX_INSERT_RECORDS "INSERT INTO records(time_ms, session, name, dictionary, body) VALUES"
#define QDX_ROWS_1 "(?, ?, ?, ?, ?)"
#define QDX_ROWS_2 QDX_ROWS_1 "," QDX_ROWS_1
#define QDX_ROWS_4 QDX_ROWS_2 "," QDX_ROWS_2
#define QDX_ROWS_8 QDX_ROWS_4 "," QDX_ROWS_4
#define QDX_ROWS_16 QDX_ROWS_8 "," QDX_ROWS_8
#define QDX_ROWS_32 QDX_ROWS_16 "," QDX_ROWS_16

// Inserts of 32, 16, ... 1 rows: any count is a sum of them, the larger
// first. Past 32 rows an insert costs hardly less per row.
struct RowsInsert {
    std::size_t rows;
    char const* sql;
};
constexpr RowsInsert kInserts[] = {
    {32, QDX_INSERT_RECORDS QDX_ROWS_32}, {16, QDX_INSERT_RECORDS QDX_ROWS_16}, {8, QDX_INSERT_RECORDS QDX_ROWS_8},
    {4, QDX_INSERT_RECORDS QDX_ROWS_4},   {2, QDX_INSERT_RECORDS QDX_ROWS_2},   {1, QDX_INSERT_RECORDS QDX_ROWS_1},
};

#undef QDX_INSERT_RECORDS
#undef QDX_ROWS_1
#undef QDX_ROWS_2
#undef QDX_ROWS_4
#undef QDX_ROWS_8
#undef QDX_ROWS_16
#undef QDX_ROWS_32

}  // namespace

bool Store::Impl::AddRecords(RecordToStore const* records, std::size_t count, long long* seqs)
{
    // Inside the owner's transaction no savepoint is needed: a failure fails
    // the owner's transaction, as with AddRecord.
    WriteScope scope(*this, WriteScope::Savepoint::NotNeeded);
    if (!scope.Ok())
        return false;
    long long const dictionary = CompressionDictionary();
    if (dictionary == 0) {
        // The database's first records, kept as text until they train a
        // dictionary: one at a time, as AddRecord looks for that moment.
        for (std::size_t i = 0; i < count; ++i)
            if (!AddRecord(records[i], seqs != nullptr ? &seqs[i] : nullptr))
                return false;
        return scope.Commit();
    }

    m_batchRows.clear();
    m_batchBodies.clear();
    std::string error;
    for (std::size_t i = 0; i < count; ++i) {
        RecordToStore const& record = records[i];
        if (!CheckArguments(record.args))
            return false;
        long long const name = NameId(record.name);
        long long const session = record.sessionId.empty() ? 0 : SessionKey(record.sessionId);
        if (name < 0 || session < 0)
            return false;
        std::string_view body;
        if (!m_codec.Compress(record.args, body, error))
            return Fail(error);
        m_batchRows.push_back(BatchRow{session, name, m_batchBodies.size(), body.size()});
        m_batchBodies.append(body);
    }

    // Every body is in place before the first is bound: binding does not copy them.
    std::size_t done = 0;
    for (RowsInsert const& insert : kInserts) {
        while (count - done >= insert.rows) {
            Query query(*m_connection, insert.sql);
            for (std::size_t i = done; i < done + insert.rows; ++i) {
                BatchRow const& row = m_batchRows[i];
                query.Bind(records[i].timeMs);
                row.session > 0 ? query.Bind(row.session) : query.BindNull();
                query.Bind(row.name).Bind(dictionary).BindBlob(m_batchBodies.data() + row.bodyStart, row.bodySize);
            }
            if (!query.Run())
                return false;
            // The rows of one insert take consecutive numbers: the table
            // is ours alone while the transaction holds the write lock.
            long long const last = sqlite3_last_insert_rowid(m_connection->Handle());
            for (std::size_t i = 0; seqs != nullptr && i < insert.rows; ++i)
                seqs[done + i] = last - static_cast<long long>(insert.rows - 1 - i);
            done += insert.rows;
        }
    }
    return scope.Commit();
}

}  // namespace LocalCore
}  // namespace Norvane
