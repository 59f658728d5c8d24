#include "LocalCore.h"

#include "Answer.h"
#include "CoreCodes.h"
#include "CoreFolders.h"
#include "CoreJson.h"
#include "CoreLog.h"
#include "JsonValue.h"
#include "Messages.h"
#include "NeverDestroyed.h"
#include "QdxString.h"
#include "store/RecordJson.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

namespace Norvane {
namespace LocalCore {

namespace {

constexpr long long kDefaultCloseTimeoutMs = 2000;
constexpr auto kReloadCheckEvery = std::chrono::seconds(1);

// Never destroyed: the entry points may run while the process exits.
NeverDestroyed<std::mutex> s_coreMutexStorage;
std::mutex& s_coreMutex = s_coreMutexStorage.Get();
std::atomic<LocalCore*> s_core{nullptr};
std::once_flag s_forkHandlers;
Writer* s_forkedWriter = nullptr;  // guarded by s_coreMutex: the writer held still during a fork
// Cores whose threads could not be stopped in time: those threads still use
// them, so they are kept, and reachable, for the rest of the process.
NeverDestroyed<std::vector<LocalCore*>> s_abandonedCores;  // guarded by s_coreMutex

// Keeps this library mapped for the rest of the process: a writer thread
// that could not be stopped in time still runs its code.
void StayLoaded()
{
    std::string const self = OwnFile();
    if (!self.empty())
        dlopen(self.c_str(), RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE);
}

std::string ReadFile(std::string const& path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace

int LocalCore::Start()
{
    LocalCore& core = Instance();
    core.CurrentWriter().WaitUntilOpened(core.CloseTimeoutMs());
    return core.m_settings.Disabled() ? CoreCode_Disabled : CoreCode_Success;
}

void LocalCore::Finish()
{
    std::lock_guard<std::mutex> const lock(s_coreMutex);
    LocalCore* const core = s_core.exchange(nullptr);
    if (core == nullptr)
        return;
    Writer* writer;
    bool uploading;
    {
        // Not held while stopping: the writer's housekeeping takes it.
        std::lock_guard<std::mutex> const writerLock(core->m_writerMutex);
        writer = core->m_writer.get();
        uploading = core->m_uploader != nullptr;
    }
    // Both stop within the close time-out: the upload gets what the writer
    // left of it, and at least a tenth, so that a request in flight is
    // settled rather than its thread abandoned.
    auto const start = std::chrono::steady_clock::now();
    long long const timeoutMs = core->CloseTimeoutMs();
    long long const uploadShareMs = uploading ? timeoutMs / 10 : 0;
    bool stopped = writer == nullptr || writer->Stop(timeoutMs - uploadShareMs);
    Uploader* uploader;
    {
        // The writer's housekeeping may have started one meanwhile.
        std::lock_guard<std::mutex> const writerLock(core->m_writerMutex);
        uploader = core->m_uploader.get();
    }
    long long const spentMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
    if (uploader != nullptr && !uploader->Stop(std::max(uploadShareMs, timeoutMs - spentMs)))
        stopped = false;
    if (!stopped) {
        StayLoaded();
        s_abandonedCores.Get().push_back(core);
        return;
    }
    delete core;
}

LocalCore& LocalCore::Instance()
{
    if (LocalCore* const core = s_core.load(std::memory_order_acquire))
        return *core;
    std::lock_guard<std::mutex> const lock(s_coreMutex);
    if (s_core.load() == nullptr) {
        std::call_once(s_forkHandlers, [] { pthread_atfork(PrepareFork, ParentAfterFork, ChildAfterFork); });
        s_core.store(new LocalCore(Norvane::LocalCore::SdkFolder()), std::memory_order_release);
    }
    return *s_core.load();
}

char const* LocalCore::Process(char const* name, char const* text)
{
    MessageHandler const handler = FindMessageHandler(name);
    if (handler == nullptr)
        return CodeAnswer(CoreCode_UnknownMessage);
    // Answers depend on the settings in the database: the first message
    // waits (within the close time-out) until the writer has read them.
    if (!m_settingsRead.load(std::memory_order_acquire)) {
        CurrentWriter().WaitUntilOpened(CloseTimeoutMs());
        m_settingsRead.store(true, std::memory_order_release);
    }
    return handler(*this, Message{name, text != nullptr ? text : ""});
}

LocalCore::LocalCore(std::string sdkFolder) : m_sdkFolder(std::move(sdkFolder)), m_queue(CoreConfig().queueBytes)
{
    SetCoreLogFolder(StoreFolder());
    ApplyConfig();
}

LocalCore::~LocalCore() = default;

unsigned long long LocalCore::Enqueue(WorkItem&& item, bool mayDrop)
{
    if (m_liveWriter.load(std::memory_order_acquire) == nullptr)
        CurrentWriter();
    return m_queue.Push(std::move(item), mayDrop);
}

void LocalCore::ChangeSetting(char const* name, std::string const& value)
{
    m_settings.Set(name, value);
    WorkItem item;
    item.kind = WorkItem::Kind::SetSetting;
    item.name = name;
    item.text = value;
    Enqueue(std::move(item), false);
}

void LocalCore::RemoveSetting(char const* name)
{
    m_settings.Remove(name);
    WorkItem item;
    item.kind = WorkItem::Kind::RemoveSetting;
    item.name = name;
    Enqueue(std::move(item), false);
}

bool LocalCore::Flush()
{
    return CurrentWriter().Flush(CloseTimeoutMs());
}

long long LocalCore::CloseTimeoutMs() const
{
    std::string const configured = m_settings.Get(Setting::kCloseTimeoutMs);
    long long const timeout = configured.empty() ? kDefaultCloseTimeoutMs : std::atoll(configured.c_str());
    return timeout >= 0 ? timeout : kDefaultCloseTimeoutMs;
}

WriterStatus LocalCore::StoreStatus()
{
    return CurrentWriter().Status();
}

UploadConfig LocalCore::UploadSettings()
{
    std::lock_guard<std::mutex> const lock(m_writerMutex);
    return m_config.upload;
}

bool LocalCore::StorageUnavailable()
{
    Writer* const writer = m_liveWriter.load(std::memory_order_acquire);
    return (writer != nullptr ? *writer : CurrentWriter()).StorageUnavailable();
}

Writer& LocalCore::CurrentWriter()
{
    std::lock_guard<std::mutex> const lock(m_writerMutex);
    if (m_writer == nullptr) {
        Writer::Options options;
        options.folder = StoreFolder();
        options.limits.maxBytes = m_config.maxBytes;
        options.limits.maxAgeMs = m_config.maxAgeDays * 24 * 3600 * 1000;
        options.durabilityMs = m_config.durabilityMs;
        options.groupBytes = std::min<std::size_t>(options.groupBytes, m_config.queueBytes / 4);
        options.keepInheritedSettings = m_forkedChild;
        m_forkedChild = false;
        m_writer = std::make_unique<Writer>(options, m_queue, m_settings, m_drops);
        m_writer->SetRecordObserver([this](StoredRecordView const& record) { ShowToTestingCallback(record); });
        m_writer->SetHousekeeping([this] { Housekeeping(); });
        m_writer->Start();
        m_liveWriter.store(m_writer.get(), std::memory_order_release);
    }
    return *m_writer;
}

DialogStrings const& LocalCore::Strings()
{
    std::call_once(m_stringsRead, [this] { m_strings = std::make_unique<DialogStrings>(OwnFile()); });
    return *m_strings;
}

void LocalCore::SetTestingCallback(void* callback, void* userData)
{
    m_testingUserData.store(userData);
    m_testingCallback.store(callback);
}

void LocalCore::ApplyConfig()
{
    std::lock_guard<std::mutex> const lock(m_writerMutex);
    m_config = CoreConfig::Read(m_sdkFolder + "/qdxdesktopsdk.env");
    m_queue.SetByteLimit(m_config.queueBytes);
    if (m_writer != nullptr)
        m_writer->SetLimits(StoreLimits{m_config.maxBytes, m_config.maxAgeDays * 24 * 3600 * 1000},
                            m_config.durabilityMs);
    if (m_uploader != nullptr)
        m_uploader->SetConfig(m_config.upload);
}

// On the writer's thread, which has read the settings: consent given in any
// process shows here within a second.
void LocalCore::StartUploaderWhenWanted()
{
    std::lock_guard<std::mutex> const lock(m_writerMutex);
    if (m_uploader != nullptr || !m_config.upload.Enabled() || !m_settings.Consented() || m_settings.Disabled())
        return;
    m_uploader = std::make_unique<Uploader>(StoreFolder(), m_settings, m_config.upload);
    m_uploader->Start();
}

// On the writer's thread: a reload request left by the library when the
// configuration it mirrors has changed.
void LocalCore::Housekeeping()
{
    static thread_local std::chrono::steady_clock::time_point nextCheck;
    auto const now = std::chrono::steady_clock::now();
    if (now < nextCheck)
        return;
    nextCheck = now + kReloadCheckEvery;
    StartUploaderWhenWanted();
    std::string const request = m_sdkFolder + "/JSON/InternalMessage.json.user";
    struct stat status {};
    if (stat(request.c_str(), &status) != 0)
        return;
    JsonDocument message;
    std::string const text = ReadFile(request);
    if (message.Parse(text.c_str()).HasParseError() || StringMember(message, "_msg") != "ReloadConfig")
        return;
    ApplyConfig();
    std::remove(request.c_str());
    CoreLog("configuration reloaded on request");
    StartUploaderWhenWanted();
}

void LocalCore::ShowToTestingCallback(StoredRecordView const& record)
{
    using Callback = int (*)(QDXDesktopSDK::JsonValue const&, void*, QDXDesktopSDK::JsonValue&);
    auto const callback = reinterpret_cast<Callback>(m_testingCallback.load());
    if (callback == nullptr)
        return;
    std::string const line = RecordJsonLine(record.seq, record.timeMs, record.sessionId, record.name, record.args);
    QDXDesktopSDK::JsonValue request;
    request.FromJsonString(QDXDesktopSDK::QdxString(line.c_str()));
    QDXDesktopSDK::JsonValue reply;
    try {
        callback(request, m_testingUserData.load(), reply);
    } catch (...) {
        CoreLog("the testing callback threw; its exception was dropped");
    }
}

void LocalCore::PrepareFork()
{
    // Every lock another thread might hold at the fork is taken, so that the
    // child finds them all free.
    s_coreMutex.lock();
    if (LocalCore* const core = s_core.load()) {
        core->m_writerMutex.lock();
        // The writer's own lock comes first: its thread takes the others
        // while it holds it. The writer stays, since s_coreMutex keeps the
        // core from being finished meanwhile.
        s_forkedWriter = core->m_writer.get();
        if (s_forkedWriter != nullptr) {
            core->m_writerMutex.unlock();
            s_forkedWriter->LockForFork();
            core->m_writerMutex.lock();
        }
        if (core->m_uploader != nullptr)
            core->m_uploader->LockForFork();
        core->m_queue.LockForFork();
        core->m_settings.LockForFork();
        core->m_sessions.LockForFork();
    }
    LockCoreLogForFork();
}

void LocalCore::ParentAfterFork()
{
    UnlockCoreLogAfterFork();
    if (LocalCore* const core = s_core.load()) {
        core->m_sessions.UnlockAfterFork();
        core->m_settings.UnlockAfterFork();
        core->m_queue.UnlockAfterFork();
        if (core->m_uploader != nullptr)
            core->m_uploader->UnlockAfterFork();
        core->m_writerMutex.unlock();
        if (s_forkedWriter != nullptr)
            s_forkedWriter->UnlockAfterFork();
    }
    s_forkedWriter = nullptr;
    s_coreMutex.unlock();
}

void LocalCore::ChildAfterFork()
{
    Writer* const parentsWriter = s_forkedWriter;
    s_forkedWriter = nullptr;
    if (parentsWriter != nullptr)
        parentsWriter->CloseAfterFork();
    // The parent's upload thread does not exist here either; its lock is
    // let go with its connection, and a writer of the child's own starts an
    // uploader of its own.
    if (LocalCore* const core = s_core.load()) {
        if (core->m_uploader != nullptr) {
            core->m_uploader->AbandonAfterFork();
            static_cast<void>(core->m_uploader.release());
        }
    }
    ParentAfterFork();
    if (LocalCore* const core = s_core.load())
        core->ForgetWriterAfterFork();
}

// The parent's writer thread does not exist here. Its database connection,
// closed by ChildAfterFork (SQLite keeps its knowledge of a file's locks per
// process, and the copy would make a connection of the child's own skip the
// locks it needs), and its queue are the parent's: the child makes a writer
// of its own when it needs one.
void LocalCore::ForgetWriterAfterFork()
{
    std::lock_guard<std::mutex> const lock(m_writerMutex);
    m_forkedChild = m_writer != nullptr && m_settingsRead.load();
    m_liveWriter.store(nullptr);
    static_cast<void>(m_writer.release());
    m_queue.ForgetAfterFork();
    m_settings.ForgetUnwrittenAfterFork();
}

}  // namespace LocalCore
}  // namespace Norvane
