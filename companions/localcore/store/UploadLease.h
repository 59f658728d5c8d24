// What the store hands the uploader: a leased run of records, and what
// became of it. Records leave the database only once a collector took them.
#ifndef QDX_LOCAL_CORE_UPLOAD_LEASE_H
#define QDX_LOCAL_CORE_UPLOAD_LEASE_H

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

struct StoredRecord;

/// How a batch is chosen.
struct UploadLimits {
    long long maxRecords = 512;
    /// The batch's size as `cost` measures it; the first record is taken
    /// whatever its cost, so that no record blocks the ones behind it.
    long long maxBytes = 1 << 20;
    long long leaseMs = 60000;  ///< how long the batch is this owner's alone
    /// A record's share of the batch's size; its text's length when empty.
    std::function<long long(StoredRecord const&)> cost;
};

/// A run of consecutive records leased to one owner.
struct UploadBatch {
    long long leaseId = 0;  ///< 0: nothing leased (none pending, or backing off)
    long long firstSeq = 0;
    long long lastSeq = 0;
    std::vector<StoredRecord> records;
    std::map<std::string, std::string> products;  ///< a session's id to its product facet (compact JSON)
    std::string databaseId;                       ///< random, made with the database, never changed
    long long notBeforeMs = 0;                    ///< backing off: no attempt before this time
};

enum class UploadOutcome {
    Delivered,    ///< the collector took the batch (some records may be rejected): they leave
    Retry,        ///< try again later, after the back-off
    Dropped,      ///< the collector refused the batch for good: its records leave, counted
    Unconfirmed,  ///< interrupted (shutdown, consent withdrawn): the records stay pending, no back-off
};

struct UploadResult {
    UploadOutcome outcome = UploadOutcome::Unconfirmed;
    long long rejected = 0;  ///< Delivered: the records the collector said it rejected
    /// Retry: the wait before the next attempt, given the failed attempts in a row (1 for the first).
    std::function<long long(long long failedAttempts)> retryDelayMs;
};

/// The upload's shared state, for status reports.
struct UploadState {
    std::string databaseId;
    long long nextAttemptMs = 0;   ///< 0 when not backing off
    long long failedAttempts = 0;  ///< in a row
    long long activeLeases = 0;    ///< batches being sent now (by any process), as of nowMs
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
