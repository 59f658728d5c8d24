#include "Uploader.h"

#include "CoreLog.h"
#include "CoreSettings.h"
#include "Gzip.h"
#include "LocalCoreVersion.h"
#include "RandomId.h"

#include <unistd.h>

#include <algorithm>

namespace Norvane {
namespace LocalCore {

namespace {

constexpr long long kTransferTimeoutMs = 30000;
// Longer than any transfer, so that a live sender never loses its lease; a
// dead one's runs out within a minute.
constexpr long long kLeaseMs = 2 * kTransferTimeoutMs;
constexpr auto kReopenPause = std::chrono::seconds(30);
// A stopping thread's own deadline comes this much before the stop's (or a
// quarter of its time, if less), so that an interrupted request is settled
// and the thread has ended when the stop's time is up.
constexpr long long kStopMarginMs = 200;
constexpr long long kDestructorStopMs = 2000;

long long SteadyNs(std::chrono::steady_clock::time_point time)
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch()).count();
}

char const* OutcomeName(UploadOutcome outcome)
{
    switch (outcome) {
    case UploadOutcome::Delivered:
        return "delivered";
    case UploadOutcome::Retry:
        return "to be retried";
    case UploadOutcome::Dropped:
        return "dropped";
    case UploadOutcome::Unconfirmed:
        return "unconfirmed";
    }
    return "";
}

}  // namespace

Uploader::Uploader(std::string folder, CoreSettings& settings, UploadConfig config)
    : m_folder(std::move(folder)),
      m_settings(settings),
      m_owner(std::to_string(getpid()) + "-" + RandomUuid()),
      m_config(std::move(config)),
      m_encoder(QDX_LOCAL_CORE_VERSION)
{
    m_enabled = m_config.Enabled();
}

Uploader::~Uploader()
{
    // Only one that Finalize did not stop is still running here; its thread
    // uses this object, so it is given the time to end.
    Stop(kDestructorStopMs);
}

void Uploader::Start()
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    if (m_started)
        return;
    m_started = true;
    m_thread = std::thread(&Uploader::Run, this);
}

void Uploader::SetConfig(UploadConfig config)
{
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_enabled = config.Enabled();
    m_config = std::move(config);
    m_configChanged = true;
    m_wake.notify_all();
}

bool Uploader::Stop(long long timeoutMs)
{
    timeoutMs = std::max(0LL, timeoutMs);
    auto const deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    auto const margin = std::chrono::milliseconds(std::min(kStopMarginMs, timeoutMs / 4));
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        if (!m_started || !m_thread.joinable())
            return true;
        m_stopping = true;
        m_deadlineNs = SteadyNs(deadline - margin);
        m_wake.notify_all();
    }
    m_transport.Wake();
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_wake.wait_until(lock, deadline, [&] { return m_finished; })) {
        CoreLog("upload thread did not stop in time; left running");
        m_thread.detach();
        return false;
    }
    lock.unlock();
    m_thread.join();
    return true;
}

void Uploader::AbandonAfterFork()
{
    m_store.reset();
    m_transport.AbandonAfterFork();
    m_databaseMutex.unlock();
}

bool Uploader::MaySend() const
{
    return m_enabled.load() && m_settings.Consented() && !m_settings.Disabled();
}

bool Uploader::Interrupted() const
{
    long long const deadline = m_deadlineNs.load();
    return !MaySend() || (deadline != 0 && SteadyNs(Clock::now()) >= deadline);
}

void Uploader::Run()
{
    auto next = Clock::now();  // what earlier processes left is sent at once
    for (;;) {
        bool stopping;
        long long intervalS;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_wake.wait_until(lock, next, [&] { return m_stopping || m_configChanged; });
            stopping = m_stopping;
            m_configChanged = false;
            intervalS = m_config.intervalS;
        }
        long long const notBeforeMs = SendPending();
        if (stopping)
            break;
        next = Clock::now() + std::chrono::seconds(intervalS);
        if (notBeforeMs > 0)
            next = std::min(next, Clock::now() + std::chrono::milliseconds(std::max(0LL, notBeforeMs - NowMs())));
    }
    {
        std::lock_guard<std::mutex> const database(m_databaseMutex);
        m_store.reset();
    }
    std::lock_guard<std::mutex> const lock(m_mutex);
    m_finished = true;
    m_wake.notify_all();
}

long long Uploader::SendPending()
{
    UploadConfig config;
    {
        std::lock_guard<std::mutex> const lock(m_mutex);
        config = m_config;
    }
    UploadLimits limits;
    limits.maxRecords = config.batchRecords;
    limits.maxBytes = config.batchBytes;
    limits.leaseMs = kLeaseMs;
    limits.cost = [this](StoredRecord const& record) { return m_encoder.Encode(record); };
    while (!Interrupted()) {
        UploadBatch batch;
        {
            std::lock_guard<std::mutex> const database(m_databaseMutex);
            if (m_store == nullptr || m_store->NeedsReopen()) {
                if (Clock::now() < m_nextOpen)
                    return 0;
                OpenReport report;
                OpenOptions options;
                options.interrupt = [this] { return Interrupted(); };
                m_store = Store::Open(m_folder, report, options);
                CoreLogMovedAside(report.movedAsideTo);
                if (m_store == nullptr) {
                    m_nextOpen = Clock::now() + kReopenPause;
                    CoreLog("upload: no storage: %s", report.error.c_str());
                    return 0;
                }
            }
            if (!m_store->ClaimUploadBatch(m_owner, NowMs(), limits, batch)) {
                CoreLog("upload: cannot lease records: %s", m_store->LastError().c_str());
                return 0;
            }
        }
        if (batch.leaseId == 0)
            return batch.notBeforeMs;
        std::string const body = m_encoder.Request(batch, m_settings.Get(Setting::kDeviceId));
        std::string compressed;
        bool const gzip = config.gzip && Gzip(body, compressed);
        HttpPost post;
        post.url = config.LogsUrl();
        post.headers = config.headers;
        post.body = gzip ? &compressed : &body;
        post.gzip = gzip;
        post.timeoutMs = kTransferTimeoutMs;
        post.interrupt = [this] { return Interrupted(); };
        HttpExchange const exchange = m_transport.Post(post);
        UploadResult const result = Classify(exchange);
        if (result.outcome == UploadOutcome::Retry || result.outcome == UploadOutcome::Dropped)
            CoreLog("upload: a batch of %zu records %s: %s", batch.records.size(), OutcomeName(result.outcome),
                    exchange.completed ? ("HTTP " + std::to_string(exchange.status)).c_str() : exchange.error.c_str());
        std::lock_guard<std::mutex> const database(m_databaseMutex);
        long long const now = NowMs();
        if (!m_store->FinishUploadBatch(batch, result, now)) {
            CoreLog("upload: cannot settle a batch (%s): %s", OutcomeName(result.outcome),
                    m_store->LastError().c_str());
            return 0;
        }
        if (result.outcome == UploadOutcome::Retry)
            return m_store->ReadUploadState(now).nextAttemptMs;
        if (result.outcome == UploadOutcome::Unconfirmed)
            return 0;
    }
    return 0;
}

}  // namespace LocalCore
}  // namespace Norvane
