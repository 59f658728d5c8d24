#ifndef QDX_LOCALCORE_UPLOADER_H
#define QDX_LOCALCORE_UPLOADER_H

#include "CoreConfig.h"
#include "HttpTransport.h"
#include "OtlpLogs.h"
#include "store/Store.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace Norvane {
namespace LocalCore {

class CoreSettings;

/// The thread that sends pending records to the collector: at start, every
/// upload interval, when the back-off ends, and once more at shutdown within
/// what is left of the close time-out. It has a database connection of its
/// own, which it holds only while leasing or settling a batch, never while
/// waiting for the network; it sends nothing while the user is not opted in
/// or collection is disabled.
class Uploader {
public:
    Uploader(std::string folder, CoreSettings& settings, UploadConfig config);
    ~Uploader();
    Uploader(Uploader const&) = delete;
    Uploader& operator=(Uploader const&) = delete;

    void Start();
    /// A reloaded configuration; takes effect at once (an empty endpoint stops the sending).
    void SetConfig(UploadConfig config);
    /// Sends once more what is pending, unless backing off, and stops the
    /// thread, all within `timeoutMs`: a transfer still running then is cut
    /// off and its records stay pending. False when the thread did not stop
    /// in time: it is left running, detached, and its code must stay mapped.
    bool Stop(long long timeoutMs);

    /// fork() support, as the writer's: the lock is held while the
    /// connection is in use, so a fork never copies it in a transaction.
    void LockForFork() { m_databaseMutex.lock(); }
    void UnlockAfterFork() { m_databaseMutex.unlock(); }
    /// In the child: lets go of the parent's connection and transfer.
    void AbandonAfterFork();

private:
    using Clock = std::chrono::steady_clock;
    void Run();
    /// Sends batches until none is pending or one fails; returns when to
    /// try next at the earliest (the back-off), or the epoch for "no limit".
    long long SendPending();
    bool MaySend() const;
    bool Interrupted() const;

    std::string const m_folder;
    CoreSettings& m_settings;
    std::string const m_owner;  // this process's name on its leases

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    UploadConfig m_config;                   // guarded by m_mutex
    bool m_started = false;                  // guarded by m_mutex
    bool m_stopping = false;                 // guarded by m_mutex
    bool m_finished = false;                 // guarded by m_mutex
    bool m_configChanged = false;            // guarded by m_mutex
    std::atomic<bool> m_enabled{false};      // the endpoint is set; read by the transfer's interrupt check
    std::atomic<long long> m_deadlineNs{0};  // steady clock; 0 until Stop gives the thread a deadline

    std::thread m_thread;
    std::mutex m_databaseMutex;      // held by the thread while it uses m_store
    std::unique_ptr<Store> m_store;  // the thread's alone
    Clock::time_point m_nextOpen;    // the thread's alone: when to try again a database that could not be opened
    HttpTransport m_transport;       // the thread's alone, but for Wake
    OtlpLogsEncoder m_encoder;       // the thread's alone
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
