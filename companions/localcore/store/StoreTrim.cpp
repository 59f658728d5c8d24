// The limits on what the database keeps: records past the age limit, then
// the oldest records until the live data fits the size limit.
#include "StoreImpl.h"

#include <algorithm>
#include <climits>

namespace Norvane {
namespace LocalCore {

namespace {

// Each round deletes what the estimate says is enough; the estimate errs
// low (the size counts other tables too), so a few rounds are the rule.
constexpr int kMostRounds = 64;

}  // namespace

// Pages in use, from the header and the free list: no row is read, so the
// check is as cheap with a million records as with none.
long long Store::Impl::LiveBytes()
{
    long long const pages = m_connection->QueryInt("PRAGMA page_count");
    long long const free = m_connection->QueryInt("PRAGMA freelist_count");
    long long const pageSize = m_connection->QueryInt("PRAGMA page_size");
    return pages < 0 || free < 0 || pageSize < 0 ? -1 : (pages - free) * pageSize;
}

Store::TrimResult Store::Impl::Trim(StoreLimits const& limits, long long nowMs)
{
    TrimResult result;
    result.ok = false;
    WriteScope scope(*this);
    if (!scope.Ok())
        return result;
    sqlite3* const db = m_connection->Handle();

    long long const cutoff = limits.maxAgeMs > 0 ? nowMs - limits.maxAgeMs : LLONG_MIN;
    if (limits.maxAgeMs > 0) {
        if (!Query(*m_connection, "DELETE FROM records WHERE time_ms < ?").Bind(cutoff).Run())
            return result;
        result.removedByAge = sqlite3_changes64(db);
    }

    long long live = limits.maxBytes > 0 ? LiveBytes() : 0;
    long long batch = 0;
    bool stalled = false;
    for (int round = 0; live > limits.maxBytes && round < kMostRounds; ++round) {
        long long first = 0, last = 0;
        {
            Query span(*m_connection, "SELECT min(seq), max(seq) FROM records");
            if (!span.Next())
                return result;
            if (span.IsNull(0))
                break;  // nothing left to delete: the rest is not records
            first = span.Int(0);
            last = span.Int(1);
        }
        // Seq numbers run without gaps but for deleted records, so the span
        // bounds the count from above, and the excess's share of it is what
        // to delete. Rows that share their pages with kept ones free nothing;
        // then the next round deletes twice as many.
        double const share = static_cast<double>(live - limits.maxBytes) / static_cast<double>(live);
        long long const estimate = static_cast<long long>(share * static_cast<double>(last - first + 1)) + 1;
        batch = stalled ? batch * 2 : estimate;
        if (!Query(*m_connection, "DELETE FROM records WHERE seq IN (SELECT seq FROM records ORDER BY seq LIMIT ?)")
                 .Bind(batch)
                 .Run())
            return result;
        result.removedBySize += sqlite3_changes64(db);
        long long const before = live;
        live = LiveBytes();
        if (live < 0)
            return result;
        stalled = live >= before;
    }

    // Ended sessions go once no record refers to them; the age limit covers
    // them, the size limit does not (they are small). Finding the references
    // reads every record, so only when there is a session to remove.
    bool candidates = false;
    {
        Query find(*m_connection, "SELECT 1 FROM sessions WHERE end_ms < ? LIMIT 1");
        candidates = find.Bind(cutoff).Next();
        if (!find.Ok())
            return result;
    }
    if (candidates && !Query(*m_connection, "DELETE FROM sessions WHERE end_ms < ? AND id NOT IN "
                                            "(SELECT session FROM records WHERE session IS NOT NULL)")
                           .Bind(cutoff)
                           .Run())
        return result;
    std::map<std::string, long long> counts;
    if (result.removedByAge > 0)
        counts[LimitCounter::kRemovedByAge] = result.removedByAge;
    if (result.removedBySize > 0)
        counts[LimitCounter::kRemovedBySize] = result.removedBySize;
    // The freed pages go back to the file system (at the next checkpoint).
    if (!AddToCountersInScope(counts) || !m_connection->Exec("PRAGMA incremental_vacuum") || !scope.Commit())
        return result;
    result.ok = true;
    return result;
}

}  // namespace LocalCore
}  // namespace Norvane
