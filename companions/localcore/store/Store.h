// The local core's storage: one SQLite database, "usage.db", in a folder of
// its own, shared by every process of the user that runs the core. It keeps
// the usage records (compressed), the sessions they belong to, the core's
// settings and its shared counters.
//
// Every operation reports failure by its result and never throws; LastError()
// then says why. A Store serialises its calls with an internal lock, so any
// thread may call, but a transaction belongs to the Store: operations called
// between Begin() and Commit() on other threads join that transaction, so one
// thread should own each Begin()..Commit() stretch.
#ifndef QDX_LOCAL_CORE_STORE_H
#define QDX_LOCAL_CORE_STORE_H

#include "UploadLease.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

/// The counters of the records the store's limits removed.
namespace LimitCounter {
constexpr char kRemovedBySize[] = "removed_by_size";  ///< the oldest, to keep the store within its size
constexpr char kRemovedByAge[] = "removed_by_age";    ///< older than the age limit
constexpr char const* kAll[] = {kRemovedBySize, kRemovedByAge};
}  // namespace LimitCounter

/// ReadWrite creates, migrates and repairs the database; ReadOnly (for the
/// command-line tool) only reads an existing one and never writes, also while
/// a writer is active.
enum class OpenMode { ReadWrite, ReadOnly };

struct OpenOptions {
    OpenMode mode = OpenMode::ReadWrite;
    /// How long one operation (Open included) waits for another connection's
    /// lock before it gives up and fails.
    long long busyWaitLimitMs = 5000;
    /// Asked while waiting for a lock (and during the check at open); true
    /// makes the wait give up at once. May be empty.
    std::function<bool()> interrupt;
};

/// What Open found and did.
struct OpenReport {
    bool ready = false;         ///< a Store came back
    bool createdFresh = false;  ///< a new, empty database was made (first use or after moving a corrupt one aside)
    bool newerSchema = false;   ///< the database comes from a newer version: left untouched, not opened
    std::string movedAsideTo;   ///< path the corrupt database was renamed to, or ""
    std::string error;          ///< why ready is false, or ""
};

/// One record as the core hands it over.
struct RecordToStore {
    long long timeMs = 0;   ///< milliseconds since the epoch, UTC
    std::string sessionId;  ///< a session's id, or "" for none
    std::string name;       ///< the message name
    std::string args;       ///< the argument object as compact JSON text
};

/// One record as it reads back: args is exactly the text that was stored.
struct StoredRecord {
    long long seq = 0;  ///< increasing, never reused, even after deletion
    long long timeMs = 0;
    std::string sessionId;  ///< "" when the record named no session or one the store did not know
    std::string name;
    std::string args;
};

/// Which records Records() returns; empty or zero fields do not filter.
struct RecordFilter {
    std::string sessionId;
    std::string name;
    long long sinceMs = 0;   ///< records with timeMs >= sinceMs
    long long afterSeq = 0;  ///< records with seq > afterSeq
    long long limit = -1;    ///< at most this many (negative: all)
};

/// Zero or less: no limit.
struct StoreLimits {
    long long maxBytes = 64LL << 20;               ///< live data of the database, in bytes
    long long maxAgeMs = 30LL * 24 * 3600 * 1000;  ///< records older than this go
};

struct StoreFigures {
    long long records = 0;
    long long sessions = 0;
    long long openSessions = 0;   ///< sessions without an end time
    long long oldestMs = 0;       ///< time of the oldest record (0 without records)
    long long newestMs = 0;       ///< time of the newest record (0 without records)
    long long newestSeq = 0;      ///< highest seq ever given (kept after deletion)
    long long databaseBytes = 0;  ///< size of the database file plus its write-ahead log
    long long liveBytes = 0;      ///< the part of the database in use, which the size limit counts
    long long dictionaries = 0;   ///< compression dictionaries kept
    int schemaVersion = 0;
};

class Store {
public:
    /// Opens "usage.db" in folder. ReadWrite creates the folder (0700) and the
    /// database (0600, its journal files too) when missing, migrates an older
    /// schema, and moves a corrupt database aside to
    /// "usage.db.corrupt-<UTC time>" before starting a fresh one. Returns null
    /// when report.ready is false: the folder cannot be used, the database is
    /// newer than this code (then left untouched), or, in ReadOnly mode, it is
    /// missing or corrupt.
    static std::unique_ptr<Store> Open(std::string const& folder, OpenReport& report,
                                       OpenMode mode = OpenMode::ReadWrite);
    static std::unique_ptr<Store> Open(std::string const& folder, OpenReport& report, OpenOptions const& options);

    /// Closes previous and opens its folder again with its options. When
    /// previous had found its database corrupt (NeedsReopen()), that file is
    /// moved aside first, unless another process already replaced it.
    static std::unique_ptr<Store> Reopen(std::unique_ptr<Store> previous, OpenReport& report);

    ~Store();
    Store(Store const&) = delete;
    Store& operator=(Store const&) = delete;

    /// Both may be called from any thread at any time, also while another
    /// thread waits inside an operation: that wait then follows them.
    void SetInterruptCheck(std::function<bool()> interrupt);
    void SetBusyWaitLimit(long long ms);

    /// A write transaction (BEGIN IMMEDIATE): false when the lock could not be
    /// had within the wait limit or the interrupt check said stop. Operations
    /// called outside Begin()..Commit() each run in a transaction of their own.
    bool Begin();
    /// durable: the commit also survives a power loss, at the cost of a sync
    /// of the write-ahead log after the commit; otherwise it survives a crash
    /// of the process but not of the machine. False when the commit failed
    /// (then everything since Begin() is rolled back), or when it succeeded
    /// but the sync failed (then the changes stay, without the guarantee).
    bool Commit(bool durable);
    /// Undoes everything since Begin(); harmless without a transaction.
    void Rollback();

    /// Records a session; an id that exists already keeps its first entry.
    /// productJson is compact JSON object text (checked, and kept as given).
    bool OpenSession(std::string const& id, std::string const& productJson, long long startedMs, long long pid);
    /// Sets the session's end time; false when the id is unknown.
    bool CloseSession(std::string const& id, long long endedMs);

    /// Adds one record. args must be JSON object text as a JSON writer gives
    /// it (only its braces are checked); it reads back byte for byte.
    /// seq, when given, receives the record's sequence number.
    bool AddRecord(RecordToStore const& record, long long* seq = nullptr);
    /// Adds `count` records in their order, as AddRecord would one by one
    /// (all or, on failure, none of them), at a lower cost per record: each
    /// insert writes many rows. seqs, when given, receives `count` sequence
    /// numbers.
    bool AddRecords(RecordToStore const* records, std::size_t count, long long* seqs = nullptr);
    /// Deletes every record (and every upload lease); returns how many, or -1 on failure.
    long long DeleteAllRecords();

    struct TrimResult {
        long long removedByAge = 0, removedBySize = 0;
        bool ok = true;
    };
    /// Removes records older than limits.maxAgeMs before nowMs, then the
    /// oldest records (by seq) until the live data fits limits.maxBytes, adds
    /// the counts to the LimitCounter counters, drops
    /// ended sessions that no record needs any more, and gives the freed pages
    /// back to the file system.
    TrimResult Trim(StoreLimits const& limits, long long nowMs);

    /// Matching records in ascending seq; empty on failure (LastError() says).
    std::vector<StoredRecord> Records(RecordFilter const& filter);

    /// Settings and counters are shared by every process using the database.
    std::map<std::string, std::string> Settings();
    bool SetSetting(std::string const& name, std::string const& value);
    bool RemoveSetting(std::string const& name);
    /// Adds each delta to its counter (a missing counter starts at 0).
    bool AddToCounters(std::map<std::string, long long> const& deltas);
    std::map<std::string, long long> Counters();

    /// Leases the oldest run of pending records that no live lease covers
    /// (expired leases are forgotten first), in one transaction. batch.leaseId
    /// is 0 when nothing is pending or the back-off says wait (notBeforeMs).
    bool ClaimUploadBatch(std::string const& owner, long long nowMs, UploadLimits const& limits, UploadBatch& batch);
    /// Ends a lease: Delivered and Dropped delete its records, Retry moves the
    /// next attempt back, every outcome but Unconfirmed adds to the "upload_"
    /// counters. A lease that ran out meanwhile still settles its records.
    bool FinishUploadBatch(UploadBatch const& batch, UploadResult const& result, long long nowMs);
    UploadState ReadUploadState(long long nowMs);

    StoreFigures Figures();
    /// Changes whenever another connection commits: the moment to reload
    /// settings. -1 on failure.
    long long DataVersion();
    /// The highest seq ever given (kept after deletion; 0 before the first
    /// record): one small read, for watching the store for new records.
    /// -1 on failure.
    long long NewestSeq();

    /// True once an operation found the database corrupt, or its file was
    /// moved away or replaced by another process: every later operation
    /// fails, and the owner should Reopen().
    bool NeedsReopen() const;
    /// Why the last operation failed; "" when it succeeded.
    std::string LastError() const;

    class Impl;

private:
    explicit Store(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
