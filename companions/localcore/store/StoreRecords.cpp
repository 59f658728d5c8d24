// Records: adding them compressed, reading them back, deleting them all.
#include "DictionaryBuilder.h"
#include "StoreImpl.h"

#include <algorithm>

namespace Norvane {
namespace LocalCore {

namespace {

// A database starts without a dictionary and keeps its first records as
// plain text; once this many (or this much text) have come, they train the
// dictionary that every later record of every process is compressed with.
constexpr long long kSamplesForDictionary = 64;
constexpr long long kSampleBytesForDictionary = 32 << 10;
constexpr long long kMostSamples = 1024;
constexpr size_t kDictionaryCapacity = 16 << 10;

}  // namespace

long long Store::Impl::NameId(std::string const& name)
{
    auto const cached = m_nameIds.find(name);
    if (cached != m_nameIds.end())
        return cached->second;
    long long id = -1;
    {
        Query find(*m_connection, "SELECT id FROM names WHERE name = ?");
        if (find.Bind(name).Next())
            id = find.Int(0);
        else if (!find.Ok())
            return -1;
    }
    if (id < 0) {
        if (!Query(*m_connection, "INSERT INTO names(name) VALUES(?)").Bind(name).Run())
            return -1;
        id = sqlite3_last_insert_rowid(m_connection->Handle());
    }
    m_nameIds.emplace(name, id);
    return id;
}

Store::Impl::Loaded Store::Impl::LoadDictionary(long long id)
{
    if (m_codec.HasDictionary(id))
        return Loaded::Ready;
    Query query(*m_connection, "SELECT content FROM dictionaries WHERE id = ?");
    if (!query.Bind(id).Next())
        return query.Ok() ? Loaded::Broken : Loaded::Failed;
    return m_codec.AddDictionary(id, query.Blob(0)) ? Loaded::Ready : Loaded::Broken;
}

// The newest dictionary, which some process may have made since we last looked.
long long Store::Impl::CompressionDictionary()
{
    if (m_codec.CompressionDictionary() != 0)
        return m_codec.CompressionDictionary();
    long long const newest = m_connection->QueryInt("SELECT max(id) FROM dictionaries", 0);
    if (newest > 0 && LoadDictionary(newest) == Loaded::Ready && m_codec.CompressWith(newest))
        return newest;
    return 0;
}

void Store::Impl::BuildDictionaryWhenReady(long long nowMs)
{
    std::vector<std::string> samples;
    long long bytes = 0;
    {
        Query query(*m_connection, "SELECT body FROM records WHERE dictionary IS NULL ORDER BY seq DESC LIMIT ?");
        query.Bind(kMostSamples);
        while (query.Next()) {
            std::string_view const body = query.Blob(0);
            samples.emplace_back(body);
            bytes += static_cast<long long>(body.size());
        }
        if (!query.Ok())
            return;
    }
    if (static_cast<long long>(samples.size()) < kSamplesForDictionary && bytes < kSampleBytesForDictionary)
        return;
    std::reverse(samples.begin(), samples.end());
    std::string const content = BuildDictionary(samples, kDictionaryCapacity);
    Query insert(*m_connection, "INSERT INTO dictionaries(content, samples, created_ms) VALUES(?, ?, ?)");
    if (content.empty() ||
        !insert.BindBlob(content.data(), content.size()).Bind(static_cast<long long>(samples.size())).Bind(nowMs).Run())
        return;
    long long const id = sqlite3_last_insert_rowid(m_connection->Handle());
    if (m_codec.AddDictionary(id, content))
        m_codec.CompressWith(id);
}

// Sessions are deleted only by a writer, and only when no record refers to
// them, so a key found in this write transaction stays valid until it ends.
long long Store::Impl::SessionKey(std::string const& id)
{
    auto const cached = m_sessionKeys.find(id);
    if (cached != m_sessionKeys.end())
        return cached->second;
    Query find(*m_connection, "SELECT id FROM sessions WHERE uuid = ?");
    long long const key = find.Bind(id).Next() ? find.Int(0) : 0;
    if (!find.Ok())
        return -1;
    if (key > 0)
        m_sessionKeys.emplace(id, key);
    return key;
}

bool Store::Impl::CheckArguments(std::string const& args)
{
    if (args.size() > RecordCodec::kMaxTextBytes)
        return Fail("the argument text is longer than " + std::to_string(RecordCodec::kMaxTextBytes) + " bytes");
    // The core writes the text with a JSON writer; parsing every record again
    // would cost about as much as compressing it, so only its shape is checked.
    if (args.size() < 2 || args.front() != '{' || args.back() != '}')
        return Fail("the argument text is not a JSON object");
    return true;
}

bool Store::Impl::AddRecord(RecordToStore const& record, long long* seq)
{
    if (!CheckArguments(record.args))
        return false;
    // Inside the owner's transaction no savepoint is needed: a failed insert
    // undoes itself, and a name or dictionary added on the way is harmless.
    WriteScope scope(*this, WriteScope::Savepoint::NotNeeded);
    if (!scope.Ok())
        return false;
    long long const name = NameId(record.name);
    if (name < 0)
        return false;
    long long const session = record.sessionId.empty() ? 0 : SessionKey(record.sessionId);
    if (session < 0)
        return false;
    long long const dictionary = CompressionDictionary();
    std::string_view body = record.args;
    std::string error;
    if (dictionary != 0 && !m_codec.Compress(record.args, body, error))
        return Fail(error);

    Query insert(*m_connection, "INSERT INTO records(time_ms, session, name, dictionary, body) VALUES(?, ?, ?, ?, ?)");
    insert.Bind(record.timeMs);
    session > 0 ? insert.Bind(session) : insert.BindNull();
    insert.Bind(name);
    dictionary != 0 ? insert.Bind(dictionary) : insert.BindNull();
    if (!insert.BindBlob(body.data(), body.size()).Run())
        return false;
    if (seq != nullptr)
        *seq = sqlite3_last_insert_rowid(m_connection->Handle());
    if (dictionary == 0) {
        BuildDictionaryWhenReady(record.timeMs);
        // The record stands without a dictionary: a failure here only delays it.
        m_connection->ClearError();
    }
    return scope.Commit();
}

Store::Impl::Loaded Store::Impl::Decode(long long dictionary, std::string_view body, std::string& text)
{
    if (dictionary == 0) {
        text.assign(body);
        return Loaded::Ready;
    }
    Loaded const loaded = LoadDictionary(dictionary);
    if (loaded != Loaded::Ready)
        return loaded;
    std::string error;
    return m_codec.Decompress(dictionary, body, text, error) ? Loaded::Ready : Loaded::Broken;
}

std::vector<StoredRecord> Store::Impl::Records(RecordFilter const& filter)
{
    // One statement per combination of filters, each kept for reuse.
    std::string sql = "SELECT r.seq, r.time_ms, s.uuid, n.name, r.dictionary, r.body FROM records r "
                      "LEFT JOIN sessions s ON s.id = r.session JOIN names n ON n.id = r.name WHERE r.seq > ?";
    if (filter.sinceMs != 0)
        sql += " AND r.time_ms >= ?";
    if (!filter.sessionId.empty())
        sql += " AND r.session = (SELECT id FROM sessions WHERE uuid = ?)";
    if (!filter.name.empty())
        sql += " AND r.name = (SELECT id FROM names WHERE name = ?)";
    sql += " ORDER BY r.seq LIMIT ?";

    std::vector<StoredRecord> records;
    std::vector<long long> unreadable;
    {
        Query query(*m_connection, sql);
        query.Bind(filter.afterSeq);
        if (filter.sinceMs != 0)
            query.Bind(filter.sinceMs);
        if (!filter.sessionId.empty())
            query.Bind(filter.sessionId);
        if (!filter.name.empty())
            query.Bind(filter.name);
        query.Bind(filter.limit);
        while (query.Next()) {
            StoredRecord record;
            record.seq = query.Int(0);
            Loaded const decoded = Decode(query.IsNull(4) ? 0 : query.Int(4), query.Blob(5), record.args);
            if (decoded == Loaded::Failed)
                return {};
            if (decoded == Loaded::Broken) {
                unreadable.push_back(record.seq);
                continue;
            }
            record.timeMs = query.Int(1);
            record.sessionId = query.Text(2);
            record.name = query.Text(3);
            records.push_back(std::move(record));
        }
        if (!query.Ok())
            return {};
    }
    // A record that cannot be decoded never will be: it would only block
    // whoever reads past it. A writer removes it and counts it; a reader
    // skips it.
    if (!unreadable.empty() && m_mode == OpenMode::ReadWrite) {
        WriteScope scope(*this);
        bool removed = scope.Ok();
        for (long long seq : unreadable)
            removed = removed && Query(*m_connection, "DELETE FROM records WHERE seq = ?").Bind(seq).Run();
        removed = removed &&
                  AddToCountersInScope({{"unreadable_records_removed", static_cast<long long>(unreadable.size())}});
        if (removed)
            scope.Commit();
        m_connection->ClearError();  // the records read are the answer; removal is tried again next time
    }
    return records;
}

long long Store::Impl::DeleteAllRecords()
{
    WriteScope scope(*this);
    if (!scope.Ok() || !m_connection->Exec("DELETE FROM records"))
        return -1;
    long long const removed = sqlite3_changes64(m_connection->Handle());
    if (!m_connection->Exec("DELETE FROM upload_leases") || !m_connection->Exec("PRAGMA incremental_vacuum") ||
        !scope.Commit())
        return -1;
    return removed;
}

}  // namespace LocalCore
}  // namespace Norvane
