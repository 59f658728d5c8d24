// The upload's side of the store: leasing runs of pending records to one
// sender at a time, settling them by the collector's answer, and the back-off
// that every process shares.
#include "StoreImpl.h"

#include <algorithm>
#include <climits>

namespace Norvane {
namespace LocalCore {

namespace {

// Counters of what the upload did, shared like the drop counters.
constexpr char kBatchesSent[] = "upload_batches_sent";
constexpr char kRecordsSent[] = "upload_records_sent";
constexpr char kRecordsRejected[] = "upload_records_rejected";
constexpr char kBatchesRetried[] = "upload_batches_retried";
constexpr char kBatchesDropped[] = "upload_batches_dropped";
constexpr char kRecordsDropped[] = "upload_records_dropped";

}  // namespace

bool Store::Impl::ClaimUploadBatch(std::string const& owner, long long nowMs, UploadLimits const& limits,
                                   UploadBatch& batch)
{
    WriteScope scope(*this);
    if (!scope.Ok())
        return false;
    {
        Query state(*m_connection, "SELECT database_id, next_attempt_ms FROM upload_state WHERE id = 1");
        if (!state.Next())
            return state.Ok() ? Fail("the upload state is missing") : false;
        batch.databaseId = state.Text(0);
        if (state.Int(1) > nowMs) {
            batch.notBeforeMs = state.Int(1);
            return scope.Commit();
        }
    }
    if (!Query(*m_connection, "DELETE FROM upload_leases WHERE until_ms <= ?").Bind(nowMs).Run())
        return false;
    // The oldest record that no lease covers, and the next lease after it,
    // which the batch must stop short of.
    long long first = 0;
    long long bound = LLONG_MAX;
    {
        Query start(*m_connection, "SELECT min(seq) FROM records r WHERE NOT EXISTS (SELECT 1 FROM upload_leases l "
                                   "WHERE r.seq BETWEEN l.first_seq AND l.last_seq)");
        if (!start.Next())
            return false;
        if (start.IsNull(0))
            return scope.Commit();  // nothing pending
        first = start.Int(0);
    }
    {
        Query next(*m_connection, "SELECT min(first_seq) FROM upload_leases WHERE first_seq > ?");
        if (!next.Bind(first).Next())
            return false;
        if (!next.IsNull(0))
            bound = next.Int(0);
    }
    RecordFilter filter;
    filter.afterSeq = first - 1;
    filter.limit = std::max(1LL, limits.maxRecords);
    std::vector<StoredRecord> records = Records(filter);
    if (!LastError().empty())
        return false;
    long long bytes = 0;
    for (StoredRecord& record : records) {
        if (record.seq >= bound)
            break;
        long long const cost = limits.cost ? limits.cost(record) : static_cast<long long>(record.args.size());
        if (!batch.records.empty() && bytes + cost > limits.maxBytes)
            break;
        bytes += cost;
        batch.records.push_back(std::move(record));
    }
    if (batch.records.empty())
        return scope.Commit();  // the records found were unreadable, and are gone
    for (StoredRecord const& record : batch.records) {
        if (record.sessionId.empty() || batch.products.count(record.sessionId) != 0)
            continue;
        Query product(*m_connection, "SELECT product FROM sessions WHERE uuid = ?");
        if (product.Bind(record.sessionId).Next())
            batch.products.emplace(record.sessionId, product.Text(0));
        else if (!product.Ok())
            return false;
    }
    batch.firstSeq = batch.records.front().seq;
    batch.lastSeq = batch.records.back().seq;
    if (!Query(*m_connection, "INSERT INTO upload_leases(first_seq, last_seq, owner, until_ms) VALUES(?, ?, ?, ?)")
             .Bind(batch.firstSeq)
             .Bind(batch.lastSeq)
             .Bind(owner)
             .Bind(nowMs + limits.leaseMs)
             .Run())
        return false;
    batch.leaseId = sqlite3_last_insert_rowid(m_connection->Handle());
    if (scope.Commit())
        return true;
    batch = UploadBatch();
    return false;
}

bool Store::Impl::FinishUploadBatch(UploadBatch const& batch, UploadResult const& result, long long nowMs)
{
    if (batch.leaseId == 0)
        return Fail("no batch was leased");
    WriteScope scope(*this);
    if (!scope.Ok() || !Query(*m_connection, "DELETE FROM upload_leases WHERE id = ?").Bind(batch.leaseId).Run())
        return false;
    long long const count = static_cast<long long>(batch.records.size());
    std::map<std::string, long long> counts;
    bool settle = false;
    bool reachedCollector = true;
    switch (result.outcome) {
    case UploadOutcome::Delivered:
        settle = true;
        counts = {{kBatchesSent, 1}, {kRecordsSent, count}};
        if (result.rejected > 0)
            counts[kRecordsRejected] = std::min(result.rejected, count);
        break;
    case UploadOutcome::Dropped:
        settle = true;
        counts = {{kBatchesDropped, 1}, {kRecordsDropped, count}};
        break;
    case UploadOutcome::Retry:
        counts = {{kBatchesRetried, 1}};
        reachedCollector = false;
        break;
    case UploadOutcome::Unconfirmed:
        return scope.Commit();
    }
    // Only the records of this batch: a record removed meanwhile (an opt-out,
    // the limits) left a gap that nothing newer fills, since seqs only grow.
    if (settle && !Query(*m_connection, "DELETE FROM records WHERE seq BETWEEN ? AND ?")
                       .Bind(batch.firstSeq)
                       .Bind(batch.lastSeq)
                       .Run())
        return false;
    if (reachedCollector) {
        if (!m_connection->Exec("UPDATE upload_state SET next_attempt_ms = 0, failed_attempts = 0 WHERE id = 1"))
            return false;
    } else {
        long long const attempts =
            m_connection->QueryInt("SELECT failed_attempts FROM upload_state WHERE id = 1", 0) + 1;
        long long const delay = result.retryDelayMs ? std::max(0LL, result.retryDelayMs(attempts)) : 0;
        if (!Query(*m_connection, "UPDATE upload_state SET next_attempt_ms = ?, failed_attempts = ? WHERE id = 1")
                 .Bind(nowMs + delay)
                 .Bind(attempts)
                 .Run())
            return false;
    }
    return AddToCountersInScope(counts) && scope.Commit();
}

UploadState Store::Impl::ReadUploadState(long long nowMs)
{
    UploadState state;
    Query query(*m_connection,
                "SELECT database_id, next_attempt_ms, failed_attempts, "
                "(SELECT count(*) FROM upload_leases WHERE until_ms > ?) FROM upload_state WHERE id = 1");
    if (query.Bind(nowMs).Next()) {
        state.databaseId = query.Text(0);
        state.nextAttemptMs = query.Int(1);
        state.failedAttempts = query.Int(2);
        state.activeLeases = query.Int(3);
    }
    return state;
}

}  // namespace LocalCore
}  // namespace Norvane
