#ifndef QDX_LOCALCORE_LOCAL_CORE_H
#define QDX_LOCALCORE_LOCAL_CORE_H

#include "CoreConfig.h"
#include "CoreSettings.h"
#include "DialogStrings.h"
#include "DropCounters.h"
#include "SessionTable.h"
#include "Uploader.h"
#include "WorkQueue.h"
#include "Writer.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace Norvane {
namespace LocalCore {

/// The core of one process: its settings, sessions, queue and writer. Made by
/// the library's initialisation call, ended by "Finalize"; the entry points
/// reach it through Instance().
class LocalCore {
public:
    /// Makes the process's core unless it exists and returns the
    /// initialisation status: 0, or 8 when collection was disabled.
    static int Start();
    /// Stores what is queued (within the close time-out) and ends the core.
    static void Finish();
    /// The process's core, made on demand for a host that sends messages
    /// without initialising.
    static LocalCore& Instance();

    explicit LocalCore(std::string sdkFolder);
    ~LocalCore();
    LocalCore(LocalCore const&) = delete;
    LocalCore& operator=(LocalCore const&) = delete;

    /// The answer to one message (see MessageTable.cpp).
    char const* Process(char const* name, char const* text);

    CoreSettings& Settings() { return m_settings; }
    SessionTable& Sessions() { return m_sessions; }
    DropCounters& Drops() { return m_drops; }
    WorkQueue& Queue() { return m_queue; }
    std::string const& SdkFolder() const { return m_sdkFolder; }
    std::string StoreFolder() const { return m_sdkFolder + "/localcore"; }

    /// Queues disk work, starting the writer on first need. Returns the
    /// item's ticket, 0 when a record was refused because the queue is full.
    unsigned long long Enqueue(WorkItem&& item, bool mayDrop);
    /// Changes a setting here at once and in the database through the queue.
    void ChangeSetting(char const* name, std::string const& value);
    void RemoveSetting(char const* name);

    /// Waits until everything queued so far is durable, at most the close time-out.
    bool Flush();
    long long CloseTimeoutMs() const;
    WriterStatus StoreStatus();
    /// The database could not be opened (or has a newer schema): records cannot be kept.
    bool StorageUnavailable();
    Writer& CurrentWriter();

    /// The consent dialog's texts, read on first use.
    DialogStrings const& Strings();
    /// Serialises the making of device ids, so that two threads agree on one.
    std::mutex& DeviceIdMutex() { return m_deviceIdMutex; }

    /// The host's test callback ("SetTestingCallback"), called with every stored record.
    using TestingCallback = int (*)(void const* request, void* userData, void* reply);
    void SetTestingCallback(void* callback, void* userData);

private:
    void ApplyConfig();
    void Housekeeping();
    /// Starts the upload thread once there is somewhere to send to and the user has opted in.
    void StartUploaderWhenWanted();
    void ShowToTestingCallback(StoredRecordView const& record);
    void ForgetWriterAfterFork();
    static void PrepareFork();
    static void ParentAfterFork();
    static void ChildAfterFork();

    std::string const m_sdkFolder;
    CoreConfig m_config;  // guarded by m_writerMutex
    CoreSettings m_settings;
    SessionTable m_sessions;
    DropCounters m_drops;
    WorkQueue m_queue;

    std::mutex m_writerMutex;
    std::unique_ptr<Writer> m_writer;            // guarded by m_writerMutex for creation; made on first need
    std::atomic<Writer*> m_liveWriter{nullptr};  // the writer once started, read without the lock
    bool m_forkedChild = false;  // guarded by m_writerMutex; a child of fork() whose parent had read the settings
    std::atomic<bool> m_settingsRead{false};  // the writer has read the settings (or timed out)
    std::unique_ptr<Uploader> m_uploader;     // guarded by m_writerMutex; made on first need

    std::once_flag m_stringsRead;
    std::unique_ptr<DialogStrings> m_strings;  // made once, under m_stringsRead
    std::mutex m_deviceIdMutex;

    std::atomic<void*> m_testingCallback{nullptr};
    std::atomic<void*> m_testingUserData{nullptr};
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
