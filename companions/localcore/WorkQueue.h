#ifndef QDX_LOCALCORE_WORK_QUEUE_H
#define QDX_LOCALCORE_WORK_QUEUE_H

#include "WorkItem.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

namespace Norvane {
namespace LocalCore {

/// The queue between the hosts' threads and the writer, bounded in bytes so
/// that a host that reports faster than the disk keeps its memory: records
/// beyond the limit are refused (and counted by the caller), never waited for.
/// Every item gets a ticket, a number that grows with each push, so that a
/// flush can wait for exactly the items pushed before it.
class WorkQueue {
public:
    using Clock = std::chrono::steady_clock;

    explicit WorkQueue(std::size_t byteLimit) : m_byteLimit(byteLimit) {}

    void SetByteLimit(std::size_t byteLimit);

    /// Queues `item` and returns its ticket, or 0 when the queue is full and
    /// `mayDrop` allows a refusal. Items that must not be lost (sessions,
    /// settings, a purge) pass `mayDrop` false and are always queued: they
    /// are few and small.
    unsigned long long Push(WorkItem&& item, bool mayDrop);

    /// The ticket of the newest item pushed.
    unsigned long long LastTicket() const;

    /// Writer side: waits until there is work, a flush or stop is asked for,
    /// or `idleUntil` passes; once work is there, lets more arrive until
    /// `groupFor` after the first item (a commit serves them all), unless a
    /// flush or stop is asked for or `groupBytes` are queued. Moves the items
    /// into `items` and returns the ticket of the last one (0 for none).
    /// At most about `maxBytes` are taken at once; the rest stays queued.
    unsigned long long Take(std::vector<WorkItem>& items, Clock::time_point idleUntil, Clock::duration groupFor,
                            std::size_t groupBytes, std::size_t maxBytes);

    /// Puts items back at the front, in order, after a failed commit.
    void PutBack(std::vector<WorkItem>&& items);
    /// Queues items that an earlier core left in a spill file, ahead of the
    /// rest, under a ticket of their own, so that a flush waits for them too.
    void Import(std::vector<WorkItem>&& items);

    /// Ends the writer's grouping wait at once.
    void RequestFlush();
    void RequestStop();
    bool StopRequested() const;

    /// Writer side: every item up to `ticket` is on disk.
    void MarkDone(unsigned long long ticket);
    /// Waits until every item up to `ticket` is done; false at `deadline`.
    bool WaitDone(unsigned long long ticket, Clock::time_point deadline);

    std::size_t Bytes() const;
    std::size_t Count() const;
    std::size_t HighWaterBytes() const;

    /// In a child after fork(): the parent's items are the parent's to write.
    void ForgetAfterFork();
    void LockForFork() { m_mutex.lock(); }
    void UnlockAfterFork() { m_mutex.unlock(); }

private:
    void InsertFront(std::vector<WorkItem>&& items);  // m_mutex held

    mutable std::mutex m_mutex;
    std::condition_variable m_work;       // the writer waits here
    std::condition_variable m_done;       // flushes wait here
    std::vector<WorkItem> m_items;        // guarded by m_mutex
    std::size_t m_byteLimit;              // guarded by m_mutex
    std::size_t m_bytes = 0;              // guarded by m_mutex
    std::size_t m_highWater = 0;          // guarded by m_mutex
    unsigned long long m_lastTicket = 0;  // guarded by m_mutex
    unsigned long long m_doneTicket = 0;  // guarded by m_mutex
    static constexpr std::size_t kNoWake = ~std::size_t{0};
    std::size_t m_wakeAtBytes = kNoWake;  // guarded by m_mutex; a push that fills the queue this far wakes the writer
    bool m_flush = false;                 // guarded by m_mutex
    bool m_stop = false;                  // guarded by m_mutex
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
