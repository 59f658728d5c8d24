#include "WorkQueue.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace Norvane {
namespace LocalCore {

void WorkQueue::SetByteLimit(std::size_t byteLimit)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_byteLimit = byteLimit;
}

unsigned long long WorkQueue::Push(WorkItem&& item, bool mayDrop)
{
    std::size_t const bytes = item.Bytes();
    bool wake;
    unsigned long long ticket;
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        if (mayDrop && m_bytes + bytes > m_byteLimit)
            return 0;
        ticket = ++m_lastTicket;
        item.ticket = ticket;
        m_items.push_back(std::move(item));
        m_bytes += bytes;
        m_highWater = std::max(m_highWater, m_bytes);
        // A wake-up is a system call: only a writer waiting for this much work needs one.
        wake = m_bytes >= m_wakeAtBytes;
        if (wake)
            m_wakeAtBytes = kNoWake;
    }
    if (wake)
        m_work.notify_one();
    return ticket;
}

unsigned long long WorkQueue::LastTicket() const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return m_lastTicket;
}

unsigned long long WorkQueue::Take(std::vector<WorkItem>& items, Clock::time_point idleUntil, Clock::duration groupFor,
                                   std::size_t groupBytes, std::size_t maxBytes)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (m_items.empty() && !m_flush && !m_stop && Clock::now() < idleUntil) {
        m_wakeAtBytes = 1;
        m_work.wait_until(lock, idleUntil);
    }
    if (!m_items.empty()) {
        // Records arriving meanwhile join the group; a full group ends the wait.
        Clock::time_point const groupUntil = Clock::now() + groupFor;
        while (!m_flush && !m_stop && m_bytes < groupBytes && Clock::now() < groupUntil) {
            m_wakeAtBytes = groupBytes;
            m_work.wait_until(lock, groupUntil);
        }
    }
    m_wakeAtBytes = kNoWake;
    m_flush = false;
    items.clear();
    if (m_bytes <= maxBytes) {
        items.swap(m_items);
        m_bytes = 0;
        return items.empty() ? 0 : m_lastTicket;
    }
    // A group of bounded size, so that a stopping writer looks at its clock
    // between groups. Every item ticketed before the first one left is in
    // this group or done already.
    std::size_t taken = 0;
    std::size_t count = 0;
    while (count < m_items.size() && (count == 0 || taken < maxBytes))
        taken += m_items[count++].Bytes();
    items.assign(std::make_move_iterator(m_items.begin()), std::make_move_iterator(m_items.begin() + count));
    m_items.erase(m_items.begin(), m_items.begin() + count);
    m_bytes -= taken;
    return m_items.front().ticket > 0 ? m_items.front().ticket - 1 : 0;
}

void WorkQueue::PutBack(std::vector<WorkItem>&& items)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    InsertFront(std::move(items));
}

void WorkQueue::Import(std::vector<WorkItem>&& items)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    for (WorkItem& item : items)
        item.ticket = 0;
    InsertFront(std::move(items));
    ++m_lastTicket;
}

void WorkQueue::InsertFront(std::vector<WorkItem>&& items)
{
    for (WorkItem const& item : items)
        m_bytes += item.Bytes();
    m_items.insert(m_items.begin(), std::make_move_iterator(items.begin()), std::make_move_iterator(items.end()));
    items.clear();
}

void WorkQueue::RequestFlush()
{
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_flush = true;
    }
    m_work.notify_all();
}

void WorkQueue::RequestStop()
{
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_stop = true;
    }
    m_work.notify_all();
    m_done.notify_all();
}

bool WorkQueue::StopRequested() const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return m_stop;
}

void WorkQueue::MarkDone(unsigned long long ticket)
{
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_doneTicket = std::max(m_doneTicket, ticket);
    }
    m_done.notify_all();
}

bool WorkQueue::WaitDone(unsigned long long ticket, Clock::time_point deadline)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_done.wait_until(lock, deadline, [&] { return m_doneTicket >= ticket; });
}

std::size_t WorkQueue::Bytes() const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return m_bytes;
}

std::size_t WorkQueue::Count() const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return m_items.size();
}

std::size_t WorkQueue::HighWaterBytes() const
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    return m_highWater;
}

void WorkQueue::ForgetAfterFork()
{
    // Only this thread exists in the child; the mutex was released by the
    // fork handlers, so taking it is safe.
    std::lock_guard<std::mutex> const lock(m_mutex);
    // The parent's writer and flushing threads may have been waiting on
    // these: their copies count waiters that do not exist here, and would
    // block their destruction for ever. Fresh ones replace them, the old
    // ones are left undestroyed on purpose.
    new (&m_work) std::condition_variable();
    new (&m_done) std::condition_variable();
    m_items.clear();
    m_bytes = 0;
    m_doneTicket = m_lastTicket;
    m_wakeAtBytes = kNoWake;
    m_flush = false;
    m_stop = false;
}

}  // namespace LocalCore
}  // namespace Norvane
