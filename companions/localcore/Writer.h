#ifndef QDX_LOCALCORE_WRITER_H
#define QDX_LOCALCORE_WRITER_H

#include "JsonCompactor.h"
#include "WorkQueue.h"
#include "store/Store.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Norvane {
namespace LocalCore {

class CoreSettings;
class DropCounters;

/// What the writer knows of its database, for "GetStoreStatus".
struct WriterStatus {
    bool started = false;
    bool storageReady = false;
    std::string database;                       ///< the database file
    std::string lastError;                      ///< "" when none
    long long recordsStored = 0;                ///< by this process
    StoreFigures figures;                       ///< as of the last ReadFigures item
    std::map<std::string, long long> counters;  ///< the shared counters, as of the last ReadFigures item
    UploadState upload;                         ///< the upload's shared state, as of the last ReadFigures item
};

/// A record as it was stored, for the host's testing callback.
struct StoredRecordView {
    long long seq;
    long long timeMs;
    std::string const& sessionId;
    std::string const& name;
    std::string const& args;  ///< compact JSON text
};

/// The one thread that does the core's disk work: it takes the queued items
/// in groups, writes each group in one transaction, and tells flushes when
/// their records are durable. It owns the database connection, which no other
/// thread touches.
class Writer {
public:
    struct Options {
        std::string folder;  ///< where "usage.db" lives
        StoreLimits limits;
        long long durabilityMs = 1000;     ///< a record answered with success is on disk within this
        std::size_t groupBytes = 1 << 20;  ///< a group this large is written at once
        /// In a child after fork(): the settings it inherited hold changes
        /// that its parent has yet to write, so the database's do not
        /// replace them when it is first opened (later changes by other
        /// processes still do).
        bool keepInheritedSettings = false;
    };
    using RecordObserver = std::function<void(StoredRecordView const&)>;
    /// Runs on the writer's thread between groups: reload requests and the like.
    using Housekeeping = std::function<void()>;

    Writer(Options options, WorkQueue& queue, CoreSettings& settings, DropCounters& drops);
    ~Writer();
    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;

    void SetRecordObserver(RecordObserver observer);
    void SetHousekeeping(Housekeeping housekeeping);
    void SetLimits(StoreLimits limits, long long durabilityMs);

    /// Starts the thread unless it runs.
    void Start();
    /// Waits until the thread has opened the database (or found it unusable)
    /// and loaded the settings; false at the time-out.
    bool WaitUntilOpened(long long timeoutMs);
    /// Waits until every item queued before the call is on disk and synced;
    /// false at the time-out (the items stay queued).
    bool Flush(long long timeoutMs);
    /// Writes what is queued and stops the thread within `timeoutMs`; what
    /// cannot be written in time is kept in a spill file that the next writer
    /// imports. False when the thread could not be stopped in time: it is
    /// left running, detached, and its code must stay mapped.
    bool Stop(long long timeoutMs);

    /// fork() support. The writer thread holds a lock while it uses the
    /// database and lets go of it only while it waits for work, so a fork
    /// that takes it first never copies the connection in the middle of a
    /// call or a transaction; it waits for the current group at most.
    void LockForFork() { m_databaseMutex.lock(); }
    void UnlockAfterFork() { m_databaseMutex.unlock(); }
    /// In the child: closes the connection copied from the parent, whose
    /// locks the child does not hold and which would mislead a connection of
    /// the child's own to the same file, and lets go of the lock.
    void CloseAfterFork();

    WriterStatus Status() const;
    /// Known once the database was opened: records would be dropped.
    bool StorageUnavailable() const { return m_noStorage.load(std::memory_order_relaxed); }

private:
    void Run();
    void OpenStore();
    enum class GroupOutcome { Written, Busy, Failed };
    GroupOutcome WriteGroup(std::vector<WorkItem>& items);
    void SpillRest(std::vector<WorkItem>& items, unsigned long long ticket);
    /// index: the item's in the group being written.
    bool Apply(WorkItem& item, std::size_t index);
    /// Compacts a record into the batch, which goes to the store when full.
    bool Batch(WorkItem& item, std::size_t index);
    /// Hands the batch to the store, the records' order kept.
    bool AddBatch();
    void AfterCommit(std::vector<WorkItem> const& items);
    void ReloadSettingsIfChanged();
    void DropAll(std::vector<WorkItem> const& items, bool noStorage);
    bool Stopping() const { return m_stopDeadlinePassed.load(std::memory_order_relaxed); }

    Options m_options;  // guarded by m_statusMutex for the limits
    WorkQueue& m_queue;
    CoreSettings& m_settings;
    DropCounters& m_drops;
    RecordObserver m_observer;    // set before Start
    Housekeeping m_housekeeping;  // set before Start

    std::thread m_thread;
    std::mutex m_databaseMutex;      // held by the writer thread while it uses m_store
    std::unique_ptr<Store> m_store;  // the writer thread's alone
    struct Observed {
        std::size_t item;  // in the group being written
        long long seq;
    };
    std::vector<Observed> m_observed;  // the writer thread's alone: stored, not yet shown to the observer
    JsonCompactor m_compactor;         // the writer thread's alone
    // The writer thread's alone: the records compacted and not yet handed to
    // the store, their items in the group, and the numbers they were given.
    // Kept from group to group, so that their texts keep their buffers.
    std::vector<RecordToStore> m_batch;  // the first m_batchItems.size() are in use
    std::vector<std::size_t> m_batchItems;
    std::vector<long long> m_batchSeqs;
    long long m_dataVersion = -1;                             // the writer thread's alone
    int m_failedAttempts = 0;                                 // the writer thread's alone
    bool m_figuresWanted = false;                             // the writer thread's alone
    std::chrono::steady_clock::time_point m_nextOpenAttempt;  // the writer thread's alone
    bool m_reopen = false;                  // the writer thread's alone: the database must be opened anew
    std::vector<std::string> m_spillFiles;  // the writer thread's alone: imported, not yet committed

    std::atomic<bool> m_stopDeadlinePassed{false};  // the busy handler gives up
    std::atomic<bool> m_noStorage{false};
    mutable std::mutex m_statusMutex;
    std::condition_variable m_statusChanged;
    bool m_opened = false;    // guarded by m_statusMutex
    bool m_finished = false;  // guarded by m_statusMutex
    WriterStatus m_status;    // guarded by m_statusMutex
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
