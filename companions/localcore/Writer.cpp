#include "Writer.h"

#include "CoreLog.h"
#include "CoreSettings.h"
#include "DropCounters.h"
#include "SpillFile.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>

namespace Norvane {
namespace LocalCore {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto kIdleTick = std::chrono::seconds(1);  // housekeeping runs at least this often
constexpr std::size_t kGroupsPerTake = 4;            // a take of more than this many group sizes is split
constexpr std::size_t kBatchRecords = 256;           // records go to the store this many at a time
constexpr int kAttemptsPerGroup = 3;                 // then a group that cannot be written is dropped
constexpr auto kRetryPause = std::chrono::milliseconds(200);
constexpr auto kOpenRetryPause = std::chrono::seconds(30);  // a folder that was unusable may become usable

long long NowMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

bool IsRecord(WorkItem const& item)
{
    return item.kind == WorkItem::Kind::Record;
}

}  // namespace

Writer::Writer(Options options, WorkQueue& queue, CoreSettings& settings, DropCounters& drops)
    : m_options(std::move(options)), m_queue(queue), m_settings(settings), m_drops(drops)
{
    m_status.database = m_options.folder + "/usage.db";
}

Writer::~Writer()
{
    Stop(0);
}

void Writer::SetRecordObserver(RecordObserver observer)
{
    m_observer = std::move(observer);
}

void Writer::SetHousekeeping(Housekeeping housekeeping)
{
    m_housekeeping = std::move(housekeeping);
}

void Writer::SetLimits(StoreLimits limits, long long durabilityMs)
{
    std::lock_guard<std::mutex> const lock(m_statusMutex);
    m_options.limits = limits;
    m_options.durabilityMs = durabilityMs;
}

void Writer::Start()
{
    std::lock_guard<std::mutex> const lock(m_statusMutex);
    if (m_status.started)
        return;
    m_status.started = true;
    m_thread = std::thread(&Writer::Run, this);
}

bool Writer::WaitUntilOpened(long long timeoutMs)
{
    std::unique_lock<std::mutex> lock(m_statusMutex);
    return m_statusChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs), [&] { return m_opened; });
}

bool Writer::Flush(long long timeoutMs)
{
    unsigned long long const ticket = m_queue.LastTicket();
    m_queue.RequestFlush();
    return m_queue.WaitDone(ticket, Clock::now() + std::chrono::milliseconds(timeoutMs));
}

bool Writer::Stop(long long timeoutMs)
{
    {
        std::lock_guard<std::mutex> const lock(m_statusMutex);
        if (!m_status.started || !m_thread.joinable())
            return true;
    }
    m_queue.RequestStop();
    std::unique_lock<std::mutex> lock(m_statusMutex);
    // Half the time for writing; then whatever waits for the database gives
    // up, the group being written is abandoned, and what is left is spilled
    // in the other half.
    if (!m_statusChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs / 2), [&] { return m_finished; })) {
        m_stopDeadlinePassed = true;
        if (!m_statusChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs - timeoutMs / 2),
                                      [&] { return m_finished; })) {
            CoreLog("writer did not stop in time; left running");
            m_thread.detach();
            return false;
        }
    }
    lock.unlock();
    m_thread.join();
    return true;
}

void Writer::SpillRest(std::vector<WorkItem>& items, unsigned long long ticket)
{
    std::vector<WorkItem> rest;
    ticket = std::max(ticket, m_queue.Take(rest, Clock::now(), Clock::duration::zero(), 0, ~std::size_t{0}));
    items.insert(items.end(), std::make_move_iterator(rest.begin()), std::make_move_iterator(rest.end()));
    if (items.empty())
        return;
    if (SpillFile::Write(m_options.folder, items))
        CoreLog("kept %zu unwritten items in a spill file", items.size());
    else
        DropAll(items, m_store == nullptr);
    items.clear();
    m_queue.MarkDone(ticket);
}

void Writer::CloseAfterFork()
{
    m_store.reset();
    m_databaseMutex.unlock();
}

WriterStatus Writer::Status() const
{
    std::lock_guard<std::mutex> const lock(m_statusMutex);
    return m_status;
}

void Writer::Run()
{
    std::unique_lock<std::mutex> database(m_databaseMutex);
    OpenStore();
    std::vector<WorkItem> items;
    for (;;) {
        long long durabilityMs;
        {
            std::lock_guard<std::mutex> const lock(m_statusMutex);
            durabilityMs = m_options.durabilityMs;
        }
        // Half the window for grouping leaves the other half for the commit.
        database.unlock();
        unsigned long long const ticket =
            m_queue.Take(items, Clock::now() + kIdleTick, std::chrono::milliseconds(durabilityMs / 2),
                         m_options.groupBytes, kGroupsPerTake * m_options.groupBytes);
        database.lock();
        bool const stopping = m_queue.StopRequested();
        if (stopping && Stopping()) {
            SpillRest(items, ticket);  // out of time: the rest goes to a spill file in one write
            break;
        }
        if (!items.empty()) {
            GroupOutcome const outcome = WriteGroup(items);
            if (outcome == GroupOutcome::Written) {
                m_queue.MarkDone(ticket);
            } else if (Stopping()) {
                SpillRest(items, ticket);  // the abandoned group first, so that the order holds
                break;
            } else if (stopping) {
                if (SpillFile::Write(m_options.folder, items))
                    CoreLog("kept %zu unwritten items in a spill file", items.size());
                else
                    DropAll(items, m_store == nullptr);
                m_queue.MarkDone(ticket);
            } else if (outcome == GroupOutcome::Failed && ++m_failedAttempts >= kAttemptsPerGroup) {
                DropAll(items, m_store == nullptr);
                m_failedAttempts = 0;
                m_queue.MarkDone(ticket);
            } else {
                // Another process holds the database, or a write failed for a
                // while: the items wait at the queue's front, bounded by it.
                m_queue.PutBack(std::move(items));
                database.unlock();
                std::this_thread::sleep_for(kRetryPause);
                database.lock();
                if (m_reopen)
                    OpenStore();
                continue;
            }
        }
        if (stopping && m_queue.Bytes() == 0)
            break;
        if (!stopping) {
            if ((m_store == nullptr && Clock::now() >= m_nextOpenAttempt) || m_reopen)
                OpenStore();
            ReloadSettingsIfChanged();
            if (m_housekeeping)
                m_housekeeping();
        }
    }
    m_store.reset();
    database.unlock();
    std::lock_guard<std::mutex> const lock(m_statusMutex);
    m_finished = true;
    m_statusChanged.notify_all();
}

void Writer::OpenStore()
{
    OpenReport report;
    if (m_reopen) {
        m_store = Store::Reopen(std::move(m_store), report);
        m_reopen = false;
    } else {
        OpenOptions options;
        options.interrupt = [this] { return Stopping(); };
        m_store = Store::Open(m_options.folder, report, options);
    }
    if (m_store != nullptr && !report.ready)
        m_store.reset();
    if (m_store == nullptr)
        m_nextOpenAttempt = Clock::now() + kOpenRetryPause;
    CoreLogMovedAside(report.movedAsideTo);
    if (m_store != nullptr) {
        m_dataVersion = m_store->DataVersion();  // before the read, so that no commit between is missed
        if (!m_options.keepInheritedSettings)
            m_settings.Replace(m_store->Settings());
        m_options.keepInheritedSettings = false;
        std::vector<WorkItem> spilled;
        SpillFile::ReadAll(m_options.folder, spilled, m_spillFiles);
        if (!spilled.empty()) {
            CoreLog("importing %zu items from spill files", spilled.size());
            m_queue.Import(std::move(spilled));
        }
    } else if (report.newerSchema) {
        CoreLog("the database %s has a newer schema: running without storage", m_status.database.c_str());
    } else {
        CoreLog("no storage: %s", report.error.c_str());
    }
    m_noStorage = m_store == nullptr;
    std::lock_guard<std::mutex> const lock(m_statusMutex);
    m_opened = true;
    m_status.storageReady = m_store != nullptr;
    m_status.lastError = m_store != nullptr   ? std::string()
                         : report.newerSchema ? "the database has a newer schema; left untouched"
                                              : report.error;
    m_statusChanged.notify_all();
}

Writer::GroupOutcome Writer::WriteGroup(std::vector<WorkItem>& items)
{
    if (m_store == nullptr) {
        DropAll(items, true);
        items.clear();
        return GroupOutcome::Written;
    }
    if (!m_store->Begin()) {
        m_reopen = m_store->NeedsReopen();
        return GroupOutcome::Busy;
    }
    m_observed.clear();
    m_batchItems.clear();
    // Taken once the lock is had: while the group waits for another
    // connection, "GetStoreStatus" still finds them among the pending drops.
    std::map<std::string, long long> drops = m_drops.TakeDeltas();
    bool written = true;
    bool outOfTime = false;
    for (std::size_t i = 0; written && i < items.size(); ++i) {
        // Past a stop's deadline the group is spilled whole rather than finished.
        outOfTime = Stopping();
        written = !outOfTime && Apply(items[i], i);
    }
    written = written && AddBatch();
    StoreLimits limits;
    {
        std::lock_guard<std::mutex> const lock(m_statusMutex);
        limits = m_options.limits;
    }
    if (written) {
        m_store->Trim(limits, NowMs());
        written = (drops.empty() || m_store->AddToCounters(drops)) && m_store->Commit(true);
    }
    if (!written) {
        std::string const error = m_store->LastError();
        m_store->Rollback();
        m_drops.Restore(drops);
        if (outOfTime)
            return GroupOutcome::Busy;
        CoreLog("a group of %zu items was not written: %s", items.size(), error.c_str());
        std::lock_guard<std::mutex> const lock(m_statusMutex);
        m_status.lastError = error;
        if (m_store->NeedsReopen())
            m_reopen = true;  // the corrupt file is moved aside before the next attempt
        return GroupOutcome::Failed;
    }
    m_failedAttempts = 0;
    long long stored = 0;
    for (WorkItem const& item : items)
        stored += IsRecord(item) ? 1 : 0;
    {
        StoreFigures figures;
        std::map<std::string, long long> counters;
        UploadState upload;
        if (m_figuresWanted) {
            figures = m_store->Figures();
            counters = m_store->Counters();
            upload = m_store->ReadUploadState(NowMs());
        }
        std::lock_guard<std::mutex> const lock(m_statusMutex);
        m_status.recordsStored += stored;
        m_status.lastError.clear();
        if (m_figuresWanted) {
            m_status.figures = figures;
            m_status.counters = std::move(counters);
            m_status.upload = std::move(upload);
        }
        m_figuresWanted = false;
    }
    SpillFile::Remove(m_spillFiles);  // their items were in this group or an earlier one
    m_spillFiles.clear();
    AfterCommit(items);
    items.clear();
    return GroupOutcome::Written;
}

bool Writer::Apply(WorkItem& item, std::size_t index)
{
    if (item.kind == WorkItem::Kind::Record)
        return Batch(item, index);
    // Whatever else the group holds comes after the records before it.
    if (!AddBatch())
        return false;
    switch (item.kind) {
    case WorkItem::Kind::Record:
        return false;  // batched above
    case WorkItem::Kind::OpenSession:
        return m_store->OpenSession(item.sessionId, item.text, item.timeMs, std::atoll(item.name.c_str()));
    case WorkItem::Kind::CloseSession:
        return m_store->CloseSession(item.sessionId, item.timeMs);
    case WorkItem::Kind::SetSetting:
        return m_store->SetSetting(item.name, item.text);
    case WorkItem::Kind::RemoveSetting:
        return m_store->RemoveSetting(item.name);
    case WorkItem::Kind::PurgeRecords:
        return m_store->DeleteAllRecords() >= 0;
    case WorkItem::Kind::ReadFigures:
        m_figuresWanted = true;
        return true;
    }
    return true;
}

bool Writer::Batch(WorkItem& item, std::size_t index)
{
    // The compact text replaces the received one: a group written again
    // after a failure, or spilled, carries it as it is.
    if (!m_compactor.Compact(item.text)) {
        m_drops.Count(DropReason::Malformed);
        return true;
    }
    std::size_t const count = m_batchItems.size();
    if (m_batch.size() == count)
        m_batch.emplace_back();
    RecordToStore& record = m_batch[count];
    record.timeMs = item.timeMs;
    record.sessionId = item.sessionId;
    record.name = item.name;
    record.args = item.text;
    m_batchItems.push_back(index);
    return m_batchItems.size() < kBatchRecords || AddBatch();
}

bool Writer::AddBatch()
{
    std::size_t const count = m_batchItems.size();
    if (count == 0)
        return true;
    m_batchSeqs.resize(count);
    bool const added = m_store->AddRecords(m_batch.data(), count, m_batchSeqs.data());
    for (std::size_t i = 0; added && m_observer && i < count; ++i)
        m_observed.push_back(Observed{m_batchItems[i], m_batchSeqs[i]});
    m_batchItems.clear();
    return added;
}

void Writer::AfterCommit(std::vector<WorkItem> const& items)
{
    for (WorkItem const& item : items) {
        if (item.kind == WorkItem::Kind::SetSetting)
            m_settings.Written(item.name, item.text);
        else if (item.kind == WorkItem::Kind::RemoveSetting)
            m_settings.Written(item.name, std::nullopt);
    }
    for (Observed const& record : m_observed) {
        WorkItem const& item = items[record.item];
        m_observer(StoredRecordView{record.seq, item.timeMs, item.sessionId, item.name, item.text});
    }
    m_observed.clear();
}

void Writer::ReloadSettingsIfChanged()
{
    if (m_store == nullptr)
        return;
    long long const version = m_store->DataVersion();
    if (version == m_dataVersion)
        return;
    // Another process committed: its consent or settings may have changed.
    m_dataVersion = version;
    m_settings.Replace(m_store->Settings());
}

void Writer::DropAll(std::vector<WorkItem> const& items, bool noStorage)
{
    long long records = 0;
    for (WorkItem const& item : items)
        records += IsRecord(item) ? 1 : 0;
    m_drops.Count(noStorage ? DropReason::NoStorage : DropReason::StoreError, records);
}

}  // namespace LocalCore
}  // namespace Norvane
