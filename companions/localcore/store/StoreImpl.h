// The store's state behind its interface. The operations are spread over
// files by subject: opening and repair (StoreOpen.cpp), records
// (StoreRecords.cpp), the limits (StoreTrim.cpp), and the small tables
// (StoreTables.cpp), the upload's leases (StoreUpload.cpp); Store.cpp guards every public call.
#ifndef QDX_LOCAL_CORE_STORE_IMPL_H
#define QDX_LOCAL_CORE_STORE_IMPL_H

#include "Connection.h"
#include "DatabaseFiles.h"
#include "RecordCodec.h"
#include "Store.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Norvane {
namespace LocalCore {

class Store::Impl {
public:
    Impl(std::string const& folder, OpenOptions const& options);

    /// Opens the database as Store::Open describes. corruptFile: a database
    /// file found corrupt earlier, moved aside first if it is still there.
    bool Open(OpenReport& report, FileIdentity const* corruptFile);

    bool Begin();
    bool Commit(bool durable);
    void Rollback();

    bool OpenSession(std::string const& id, std::string const& productJson, long long startedMs, long long pid);
    bool CloseSession(std::string const& id, long long endedMs);
    bool AddRecord(RecordToStore const& record, long long* seq);
    bool AddRecords(RecordToStore const* records, std::size_t count, long long* seqs);
    long long DeleteAllRecords();
    TrimResult Trim(StoreLimits const& limits, long long nowMs);
    std::vector<StoredRecord> Records(RecordFilter const& filter);
    std::map<std::string, std::string> Settings();
    bool SetSetting(std::string const& name, std::string const& value);
    bool RemoveSetting(std::string const& name);
    bool AddToCounters(std::map<std::string, long long> const& deltas);
    std::map<std::string, long long> Counters();
    bool ClaimUploadBatch(std::string const& owner, long long nowMs, UploadLimits const& limits, UploadBatch& batch);
    bool FinishUploadBatch(UploadBatch const& batch, UploadResult const& result, long long nowMs);
    UploadState ReadUploadState(long long nowMs);
    StoreFigures Figures();
    long long DataVersion();
    long long NewestSeq();

    bool NeedsReopen() const;
    /// Records a failure of the store's own (not SQLite's); returns false.
    bool Fail(std::string const& message);
    std::string LastError() const;
    void ClearError();

    /// The state a reopen starts from.
    std::string const& Folder() const { return m_folder; }
    OpenOptions CurrentOptions() const;
    /// The identity of the database file when it was found corrupt, else unknown.
    FileIdentity CorruptFile() const;

    WaitPolicy& Wait() { return m_wait; }
    std::mutex& Mutex() { return m_mutex; }

private:
    friend class WriteScope;
    enum class Outcome { Opened, Corrupt, Newer, Failed };

    Outcome OpenReadWrite(OpenReport& report);
    bool OpenReadOnly(OpenReport& report);
    Outcome CheckIntegrity();
    Outcome Failing(Outcome outcome, std::string const& message);
    bool Configure(bool fresh);
    bool MoveAside(OpenReport& report);
    bool StartWriting();
    /// Cached names and dictionaries may come from a transaction that was
    /// rolled back: their ids could mean something else now.
    void ForgetCachedIds();
    bool SyncLog();

    /// Ready; Broken: the data cannot be used (missing, damaged); Failed: the
    /// database could not be read (the error says why).
    enum class Loaded { Ready, Broken, Failed };
    /// False, with the reason, for argument text the store does not keep.
    bool CheckArguments(std::string const& args);
    long long NameId(std::string const& name);
    /// The key of a known session, 0 for an unknown one, -1 on failure.
    long long SessionKey(std::string const& id);
    long long CompressionDictionary();
    void BuildDictionaryWhenReady(long long nowMs);
    Loaded LoadDictionary(long long id);
    Loaded Decode(long long dictionary, std::string_view body, std::string& text);
    bool AddToCountersInScope(std::map<std::string, long long> const& deltas);
    long long LiveBytes();

    std::string const m_folder;
    std::string const m_path;
    OpenMode const m_mode;
    WaitPolicy m_wait;
    std::mutex m_mutex;  // held by every public call of the Store
    std::unique_ptr<Connection> m_connection;
    FileIdentity m_identity;  // of the database file this connection opened
    bool m_replaced = false;  // another process moved the file away or replaced it
    std::string m_openError;  // failures before there is a connection
    RecordCodec m_codec;
    std::map<std::string, long long> m_nameIds;
    std::map<std::string, long long> m_sessionKeys;  // valid for the current write transaction only
    struct BatchRow {
        long long session, name;
        std::size_t bodyStart, bodySize;  // in m_batchBodies
    };
    std::vector<BatchRow> m_batchRows;  // AddRecords' own, reused
    std::string m_batchBodies;          // AddRecords' own, reused: the compressed bodies, end to end
};

/// The transaction of one writing operation: a transaction of its own
/// (BEGIN IMMEDIATE) when the owner has none open, otherwise a savepoint
/// inside the owner's, so that a failed operation undoes only itself.
class WriteScope {
public:
    /// NotNeeded: the operation's partial effects are harmless, so inside
    /// the owner's transaction it runs without a savepoint of its own.
    enum class Savepoint { Needed, NotNeeded };
    explicit WriteScope(Store::Impl& impl, Savepoint savepoint = Savepoint::Needed);
    ~WriteScope();
    WriteScope(WriteScope const&) = delete;
    WriteScope& operator=(WriteScope const&) = delete;

    bool Ok() const { return m_ok; }
    /// Keeps the changes; false when that fails (they are undone then).
    bool Commit();

private:
    void Undo();

    Store::Impl& m_impl;
    bool m_ok = false;
    bool m_ownTransaction = false;
    bool m_savepoint = false;
    bool m_finished = false;
};

}  // namespace LocalCore
}  // namespace Norvane

#endif
