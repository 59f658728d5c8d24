// The boundary of the store: every public call takes the store's lock, starts
// with a clean error, refuses to touch a database that must be reopened, and
// turns any exception into a failed result.
#include "StoreImpl.h"

#include <new>

namespace Norvane {
namespace LocalCore {

namespace {

template <typename Result, typename Operation> Result Guarded(Store::Impl& impl, Result failure, Operation operation)
{
    try {
        std::lock_guard<std::mutex> lock(impl.Mutex());
        impl.ClearError();
        if (impl.NeedsReopen()) {
            impl.Fail("the database was found corrupt or replaced: reopen the store");
            return failure;
        }
        try {
            return operation();
        } catch (std::bad_alloc const&) {
            impl.Fail("out of memory");
        } catch (std::exception const& exception) {
            impl.Fail(std::string("unexpected failure: ") + exception.what());
        }
    } catch (...) {
        // Only locking or the message itself can get here: nothing left to record.
    }
    return failure;
}

std::unique_ptr<Store::Impl> OpenImpl(std::string const& folder, OpenOptions const& options, OpenReport& report,
                                      FileIdentity const* corruptFile)
{
    report = OpenReport();
    try {
        auto impl = std::make_unique<Store::Impl>(folder, options);
        std::lock_guard<std::mutex> lock(impl->Mutex());
        if (!impl->Open(report, corruptFile)) {
            if (report.error.empty())
                report.error = impl->LastError();
            return nullptr;
        }
        report.ready = true;
        return impl;
    } catch (std::bad_alloc const&) {
        report.error = "out of memory";
    } catch (std::exception const& exception) {
        report.error = std::string("unexpected failure: ") + exception.what();
    }
    report.ready = false;
    return nullptr;
}

}  // namespace

Store::Store(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

Store::~Store() = default;

std::unique_ptr<Store> Store::Open(std::string const& folder, OpenReport& report, OpenMode mode)
{
    OpenOptions options;
    options.mode = mode;
    return Open(folder, report, options);
}

std::unique_ptr<Store> Store::Open(std::string const& folder, OpenReport& report, OpenOptions const& options)
{
    auto impl = OpenImpl(folder, options, report, nullptr);
    return impl ? std::unique_ptr<Store>(new (std::nothrow) Store(std::move(impl))) : nullptr;
}

std::unique_ptr<Store> Store::Reopen(std::unique_ptr<Store> previous, OpenReport& report)
{
    report = OpenReport();
    if (!previous) {
        report.error = "no store to reopen";
        return nullptr;
    }
    std::unique_ptr<Impl> impl;
    try {
        std::string folder;
        OpenOptions options;
        FileIdentity corruptFile;
        {
            std::lock_guard<std::mutex> lock(previous->m_impl->Mutex());
            folder = previous->m_impl->Folder();
            options = previous->m_impl->CurrentOptions();
            corruptFile = previous->m_impl->CorruptFile();
        }
        previous.reset();  // its connection must be closed before the file moves
        impl = OpenImpl(folder, options, report, corruptFile.known ? &corruptFile : nullptr);
    } catch (...) {
        report.error = "out of memory";
    }
    return impl ? std::unique_ptr<Store>(new (std::nothrow) Store(std::move(impl))) : nullptr;
}

void Store::SetInterruptCheck(std::function<bool()> interrupt)
{
    m_impl->Wait().SetInterrupt(std::move(interrupt));
}

void Store::SetBusyWaitLimit(long long ms)
{
    m_impl->Wait().SetLimit(ms);
}

bool Store::Begin()
{
    return Guarded(*m_impl, false, [&] { return m_impl->Begin(); });
}

bool Store::Commit(bool durable)
{
    return Guarded(*m_impl, false, [&] { return m_impl->Commit(durable); });
}

void Store::Rollback()
{
    // Also after the database was found corrupt: the transaction must end.
    try {
        std::lock_guard<std::mutex> lock(m_impl->Mutex());
        m_impl->ClearError();
        m_impl->Rollback();
    } catch (...) {
    }
}

bool Store::OpenSession(std::string const& id, std::string const& productJson, long long startedMs, long long pid)
{
    return Guarded(*m_impl, false, [&] { return m_impl->OpenSession(id, productJson, startedMs, pid); });
}

bool Store::CloseSession(std::string const& id, long long endedMs)
{
    return Guarded(*m_impl, false, [&] { return m_impl->CloseSession(id, endedMs); });
}

bool Store::AddRecord(RecordToStore const& record, long long* seq)
{
    return Guarded(*m_impl, false, [&] { return m_impl->AddRecord(record, seq); });
}

bool Store::AddRecords(RecordToStore const* records, std::size_t count, long long* seqs)
{
    return Guarded(*m_impl, false, [&] { return m_impl->AddRecords(records, count, seqs); });
}

long long Store::DeleteAllRecords()
{
    return Guarded(*m_impl, -1LL, [&] { return m_impl->DeleteAllRecords(); });
}

Store::TrimResult Store::Trim(StoreLimits const& limits, long long nowMs)
{
    TrimResult failed;
    failed.ok = false;
    return Guarded(*m_impl, failed, [&] { return m_impl->Trim(limits, nowMs); });
}

std::vector<StoredRecord> Store::Records(RecordFilter const& filter)
{
    return Guarded(*m_impl, std::vector<StoredRecord>(), [&] { return m_impl->Records(filter); });
}

std::map<std::string, std::string> Store::Settings()
{
    return Guarded(*m_impl, std::map<std::string, std::string>(), [&] { return m_impl->Settings(); });
}

bool Store::SetSetting(std::string const& name, std::string const& value)
{
    return Guarded(*m_impl, false, [&] { return m_impl->SetSetting(name, value); });
}

bool Store::RemoveSetting(std::string const& name)
{
    return Guarded(*m_impl, false, [&] { return m_impl->RemoveSetting(name); });
}

bool Store::AddToCounters(std::map<std::string, long long> const& deltas)
{
    return Guarded(*m_impl, false, [&] { return m_impl->AddToCounters(deltas); });
}

std::map<std::string, long long> Store::Counters()
{
    return Guarded(*m_impl, std::map<std::string, long long>(), [&] { return m_impl->Counters(); });
}

bool Store::ClaimUploadBatch(std::string const& owner, long long nowMs, UploadLimits const& limits, UploadBatch& batch)
{
    batch = UploadBatch();
    return Guarded(*m_impl, false, [&] { return m_impl->ClaimUploadBatch(owner, nowMs, limits, batch); });
}

bool Store::FinishUploadBatch(UploadBatch const& batch, UploadResult const& result, long long nowMs)
{
    return Guarded(*m_impl, false, [&] { return m_impl->FinishUploadBatch(batch, result, nowMs); });
}

UploadState Store::ReadUploadState(long long nowMs)
{
    return Guarded(*m_impl, UploadState(), [&] { return m_impl->ReadUploadState(nowMs); });
}

StoreFigures Store::Figures()
{
    return Guarded(*m_impl, StoreFigures(), [&] { return m_impl->Figures(); });
}

long long Store::DataVersion()
{
    return Guarded(*m_impl, -1LL, [&] { return m_impl->DataVersion(); });
}

long long Store::NewestSeq()
{
    return Guarded(*m_impl, -1LL, [&] { return m_impl->NewestSeq(); });
}

bool Store::NeedsReopen() const
{
    try {
        std::lock_guard<std::mutex> lock(m_impl->Mutex());
        return m_impl->NeedsReopen();
    } catch (...) {
        return false;
    }
}

std::string Store::LastError() const
{
    try {
        std::lock_guard<std::mutex> lock(m_impl->Mutex());
        return m_impl->LastError();
    } catch (...) {
        return "out of memory";
    }
}

}  // namespace LocalCore
}  // namespace Norvane
