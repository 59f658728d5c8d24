// Records, sessions, settings and counters through the store, and the
// transactions around them.
#include "StoreTestSupport.h"

#include <set>

using namespace QdxStoreTest;

namespace {

std::vector<std::string> ArgsOf(std::vector<StoredRecord> const& records)
{
    std::vector<std::string> args;
    for (StoredRecord const& record : records)
        args.push_back(record.args);
    return args;
}

}  // namespace

// The same texts before the database has a dictionary (kept plain) and after
// (compressed): both read back byte for byte.
TEST(StoreRecordsTest, ArgumentsReadBackExactly)
{
    std::vector<std::string> const texts = {
        "{}",
        "{\"text\":\"caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80\"}",
        R"({"escapes":"\"\\\/\b\f\n\r\t\u0000\u00e9\ud83d\ude00","n":-1.5e-300,"big":123456789012345678901234567890})",
        "{\"nested\":{\"a\":[1,[2,[3,{\"b\":null}]]],\"t\":true,\"f\":false}}",
        "{\"large\":\"" + std::string(1 << 20, 'x') + "\"}",
    };
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    for (std::string const& text : texts)
        ASSERT_TRUE(store->AddRecord({1, "", "Plain", text})) << store->LastError();
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(store->AddRecord(Record(i)));
    ASSERT_EQ(1, store->Figures().dictionaries);
    for (std::string const& text : texts)
        ASSERT_TRUE(store->AddRecord({2, "", "Compressed", text})) << store->LastError();

    store = OpenStore(temp.Store());  // a new connection, without cached dictionaries
    EXPECT_EQ(texts, ArgsOf(store->Records({"", "Plain", 0, 0, -1})));
    EXPECT_EQ(texts, ArgsOf(store->Records({"", "Compressed", 0, 0, -1})));
    RawDatabase raw(temp.Database());
    EXPECT_LT(raw.Int("SELECT length(body) FROM records WHERE dictionary IS NOT NULL ORDER BY seq DESC LIMIT 1"), 10000)
        << "the large text is kept compressed";

    for (std::string const bad : {"", "[1]", "{\"open\":1", "null"})
        EXPECT_FALSE(store->AddRecord({1, "", "Bad", bad})) << bad;
}

TEST(StoreRecordsTest, FiltersSelectRecords)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    ASSERT_TRUE(store->OpenSession("s-1", "{}", 1, 10) && store->OpenSession("s-2", "{}", 1, 11));
    // seq 1..12: times 100, 200, ...; sessions alternate s-1, s-2; every third is "Heartbeat".
    for (int i = 1; i <= 12; ++i)
        ASSERT_TRUE(store->AddRecord(Record(i, i * 100, i % 2 ? "s-1" : "s-2", i % 3 ? "TrackEvent" : "Heartbeat")));
    ASSERT_TRUE(store->AddRecord(Record(13, 1300, "s-unknown")));
    ASSERT_TRUE(store->AddRecord(Record(14, 1400, "")));

    struct Case {
        char const* session;
        char const* name;
        long long sinceMs, afterSeq, limit;
        std::vector<long long> seqs;
    };
    for (Case const& test : {
             Case{"", "", 0, 0, -1, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}},
             Case{"s-2", "", 0, 0, -1, {2, 4, 6, 8, 10, 12}},
             Case{"", "Heartbeat", 0, 0, -1, {3, 6, 9, 12}},
             Case{"s-2", "Heartbeat", 0, 0, -1, {6, 12}},
             Case{"", "", 1000, 0, -1, {10, 11, 12, 13, 14}},
             Case{"", "", 0, 11, -1, {12, 13, 14}},
             Case{"", "", 0, 0, 3, {1, 2, 3}},
             Case{"s-1", "", 500, 5, 2, {7, 9}},
             Case{"s-unknown", "", 0, 0, -1, {}},
             Case{"", "Nothing", 0, 0, -1, {}},
             Case{"", "", 0, 0, 0, {}},
         }) {
        std::vector<long long> seqs;
        for (StoredRecord const& record :
             store->Records({test.session, test.name, test.sinceMs, test.afterSeq, test.limit}))
            seqs.push_back(record.seq);
        EXPECT_EQ(test.seqs, seqs) << test.session << "/" << test.name << "/" << test.sinceMs << "/" << test.afterSeq
                                   << "/" << test.limit;
    }
    std::vector<StoredRecord> const last = store->Records({"", "", 0, 11, -1});
    ASSERT_EQ(3u, last.size());
    EXPECT_EQ(1200, last[0].timeMs);
    EXPECT_EQ("s-2", last[0].sessionId);
    EXPECT_EQ("Heartbeat", last[0].name);
    EXPECT_EQ("", last[1].sessionId) << "an unknown session reads back as none";
    EXPECT_EQ("", last[2].sessionId);
}

// Records before the dictionary stay plain; from then on they are compressed
// against it, also by another store that already had the database open.
TEST(StoreRecordsTest, CompressionStartsWithTheFirstDictionary)
{
    TempFolder temp;
    auto first = OpenStore(temp.Store());
    auto second = OpenStore(temp.Store());
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE((i % 2 ? first : second)->AddRecord(Record(i)));
    EXPECT_EQ(1, first->Figures().dictionaries) << "the second store used the first one's dictionary";
    RawDatabase raw(temp.Database());
    long long const plain = raw.Int("SELECT count(*) FROM records WHERE dictionary IS NULL");
    EXPECT_GT(plain, 0);
    EXPECT_LT(plain, 100);
    EXPECT_LT(raw.Int("SELECT avg(length(body)) FROM records WHERE dictionary IS NOT NULL") * 2,
              raw.Int("SELECT avg(length(body)) FROM records WHERE dictionary IS NULL"));
    std::vector<StoredRecord> const records = first->Records({});
    ASSERT_EQ(100u, records.size());
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(Record(i).args, records[static_cast<size_t>(i)].args);
}

// The writer's path: records added many at a time are stored exactly as
// the same records added one by one (rows, numbers, compressed bodies),
// across the moment the first dictionary is trained, and with references
// that hold although SQLite does not check them.
TEST(StoreRecordsTest, RecordsAddedManyAtOnceAreStoredAsOneByOne)
{
    TempFolder single, batched;
    auto one = OpenStore(single.Store());
    auto many = OpenStore(batched.Store());
    for (Store* store : {one.get(), many.get()})
        ASSERT_TRUE(store->OpenSession("s-1", "{}", 1, 10) && store->OpenSession("s-2", "{}", 1, 11));
    std::vector<RecordToStore> records;
    for (int i = 0; i < 300; ++i)
        records.push_back(Record(i, 1000 + i, i % 3 ? "s-1" : i % 2 ? "s-2" : "", i % 5 ? "TrackEvent" : "HeartBeat"));
    for (RecordToStore const& record : records)
        ASSERT_TRUE(one->AddRecord(record)) << one->LastError();
    std::vector<long long> seqs;
    std::size_t added = 0;
    for (std::size_t count : {1, 40, 63, 1, 31, 33, 64, 67}) {  // 300 in all
        seqs.resize(added + count);
        ASSERT_TRUE(many->AddRecords(&records[added], count, &seqs[added])) << many->LastError();
        added += count;
    }
    ASSERT_EQ(records.size(), added);

    std::vector<StoredRecord> const stored = many->Records({});
    ASSERT_EQ(records.size(), stored.size());
    for (std::size_t i = 0; i < stored.size(); ++i) {
        EXPECT_EQ(seqs[i], stored[i].seq);
        EXPECT_EQ(records[i].args, stored[i].args);
        EXPECT_EQ(records[i].sessionId, stored[i].sessionId);
        EXPECT_EQ(records[i].name, stored[i].name);
        EXPECT_EQ(records[i].timeMs, stored[i].timeMs);
    }
    char const* const rows = "SELECT group_concat(seq || ',' || time_ms || ',' || ifnull(session, '-') || ',' || "
                             "name || ',' || ifnull(dictionary, '-') || ',' || hex(body), ';') "
                             "FROM (SELECT * FROM records ORDER BY seq)";
    RawDatabase oneByOne(single.Database()), manyAtOnce(batched.Database());
    EXPECT_EQ(oneByOne.Text(rows), manyAtOnce.Text(rows));
    EXPECT_EQ(1, manyAtOnce.Int("SELECT count(*) FROM dictionaries"));
    EXPECT_EQ("violations: 0", manyAtOnce.Text("SELECT 'violations: ' || count(*) FROM pragma_foreign_key_check"));

    // All or nothing: one text the store refuses fails the whole call.
    records[20].args = "[]";
    EXPECT_FALSE(many->AddRecords(records.data(), 40));
    EXPECT_EQ(300, many->Figures().records);
}

TEST(StoreRecordsTest, SeqNumbersAreNeverGivenTwice)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(store->AddRecord(Record(i)));
    EXPECT_EQ(3, store->DeleteAllRecords());
    ASSERT_TRUE(store->AddRecord(Record(4)));
    std::vector<StoredRecord> const records = store->Records({});
    ASSERT_EQ(1u, records.size());
    EXPECT_EQ(4, records[0].seq);
    EXPECT_EQ(4, store->Figures().newestSeq);
}

// A record whose bytes were damaged is skipped, removed and counted, so
// that it never blocks whoever reads past it.
TEST(StoreRecordsTest, UndecodableRecordIsRemovedAndCounted)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(store->AddRecord(Record(i)));
    RawDatabase(temp.Database()).Exec("UPDATE records SET body = x'00ff00ff' WHERE seq = 90");
    EXPECT_EQ(99u, store->Records({}).size()) << store->LastError();
    EXPECT_EQ(1, store->Counters()["unreadable_records_removed"]);
    EXPECT_EQ(99, store->Figures().records);
}

TEST(StoreRecordsTest, SessionsSettingsAndCountersRoundTrip)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    auto other = OpenStore(temp.Store());
    EXPECT_TRUE(store->OpenSession("s-1", "{\"product_id\":\"QdxEditor\"}", 100, 42));
    EXPECT_TRUE(store->OpenSession("s-1", "{\"product_id\":\"Other\"}", 200, 43)) << "kept as first given";
    EXPECT_TRUE(store->OpenSession("s-2", "{}", 100, 42));
    EXPECT_FALSE(store->OpenSession("s-3", "not json", 100, 42));
    EXPECT_FALSE(store->OpenSession("", "{}", 100, 42));
    EXPECT_TRUE(store->CloseSession("s-1", 300));
    EXPECT_FALSE(store->CloseSession("s-9", 300));
    StoreFigures const figures = other->Figures();
    EXPECT_EQ(2, figures.sessions);
    EXPECT_EQ(1, figures.openSessions);
    EXPECT_EQ("{\"product_id\":\"QdxEditor\"}",
              RawDatabase(temp.Database()).Text("SELECT product FROM sessions WHERE uuid = 's-1'"));

    long long const version = other->DataVersion();
    EXPECT_TRUE(store->SetSetting("consent", "granted") && store->SetSetting("dialog", ""));
    EXPECT_NE(version, other->DataVersion()) << "another connection committed";
    EXPECT_TRUE(store->SetSetting("consent", "denied"));
    EXPECT_TRUE(store->RemoveSetting("dialog") && store->RemoveSetting("never-set"));
    EXPECT_EQ((std::map<std::string, std::string>{{"consent", "denied"}}), other->Settings());

    EXPECT_TRUE(store->AddToCounters({{"dropped_queue_full", 2}, {"dropped_disabled", 1}}));
    EXPECT_TRUE(other->AddToCounters({{"dropped_queue_full", 5}, {"dropped_disabled", -1}}));
    EXPECT_EQ((std::map<std::string, long long>{{"dropped_disabled", 0}, {"dropped_queue_full", 7}}),
              store->Counters());
}

TEST(StoreRecordsTest, TransactionsKeepOrDropTheirRecords)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    EXPECT_FALSE(store->Commit(false)) << "nothing to commit";
    ASSERT_TRUE(store->Begin());
    EXPECT_FALSE(store->Begin()) << "one at a time";
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(store->AddRecord(Record(i)));  // builds the dictionary inside the transaction
    store->Rollback();
    EXPECT_EQ(0, store->Figures().records);
    EXPECT_EQ(0, store->Figures().dictionaries);

    // Names and dictionaries cached inside the rolled-back transaction are gone with it.
    ASSERT_TRUE(store->Begin());
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(store->AddRecord(Record(i)));
    ASSERT_TRUE(store->Commit(true)) << store->LastError();
    EXPECT_EQ(100u, OpenStore(temp.Store())->Records({}).size());
}
