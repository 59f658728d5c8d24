// Upload leases: two connections (two processes) never lease the same
// record, a lease that ran out is taken over, the answer settles the records,
// the back-off is shared and survives a reopen, and a version-1 database is
// brought forward with its records pending.
#include "Connection.h"
#include "Schema.h"
#include "StoreTestSupport.h"

#include <vector>

using namespace QdxStoreTest;

namespace {

UploadLimits Limits(long long records, long long leaseMs = 60000)
{
    UploadLimits limits;
    limits.maxRecords = records;
    limits.leaseMs = leaseMs;
    return limits;
}

UploadBatch Claim(Store& store, long long nowMs, UploadLimits const& limits, char const* owner = "a")
{
    UploadBatch batch;
    EXPECT_TRUE(store.ClaimUploadBatch(owner, nowMs, limits, batch)) << store.LastError();
    return batch;
}

std::vector<long long> Seqs(UploadBatch const& batch)
{
    std::vector<long long> seqs;
    for (StoredRecord const& record : batch.records)
        seqs.push_back(record.seq);
    return seqs;
}

UploadResult Outcome(UploadOutcome outcome, long long rejected = 0)
{
    UploadResult result;
    result.outcome = outcome;
    result.rejected = rejected;
    result.retryDelayMs = [](long long attempts) { return attempts * 1000; };
    return result;
}

void AddRecords(Store& store, int count)
{
    ASSERT_TRUE(store.OpenSession("s-1", R"({"product_id":"P","product_version":"2.0"})", 1, 1));
    for (int i = 1; i <= count; ++i)
        ASSERT_TRUE(store.AddRecord(Record(i)));
}

}  // namespace

TEST(StoreUploadTest, TwoProcessesNeverLeaseTheSameRecord)
{
    TempFolder temp;
    auto first = OpenStore(temp.Store());
    auto second = OpenStore(temp.Store());
    ASSERT_TRUE(first && second);
    AddRecords(*first, 10);

    UploadBatch const a = Claim(*first, 0, Limits(4), "a");
    UploadBatch const b = Claim(*second, 0, Limits(4), "b");
    UploadBatch const c = Claim(*first, 0, Limits(4), "a");
    EXPECT_EQ((std::vector<long long>{1, 2, 3, 4}), Seqs(a));
    EXPECT_EQ((std::vector<long long>{5, 6, 7, 8}), Seqs(b));
    EXPECT_EQ((std::vector<long long>{9, 10}), Seqs(c));
    EXPECT_EQ(0, Claim(*second, 0, Limits(4), "b").leaseId) << "everything is leased";
    EXPECT_EQ("{\"product_id\":\"P\",\"product_version\":\"2.0\"}", a.products.at("s-1"));
    EXPECT_EQ(32u, a.databaseId.size());

    // Delivered records leave; unconfirmed ones are leased again, before newer ones.
    ASSERT_TRUE(first->FinishUploadBatch(a, Outcome(UploadOutcome::Delivered, 1), 0));
    ASSERT_TRUE(second->FinishUploadBatch(b, Outcome(UploadOutcome::Unconfirmed), 0));
    EXPECT_EQ(6, first->Figures().records);
    EXPECT_EQ((std::vector<long long>{5, 6, 7, 8}), Seqs(Claim(*second, 0, Limits(8), "b")));
    auto const counters = first->Counters();
    EXPECT_EQ(1, counters.at("upload_batches_sent"));
    EXPECT_EQ(4, counters.at("upload_records_sent"));
    EXPECT_EQ(1, counters.at("upload_records_rejected"));
}

// A sender that died holds its lease only until it runs out; if it comes
// back with an answer after all, its records still leave, once.
TEST(StoreUploadTest, ExpiredLeaseIsTakenOver)
{
    TempFolder temp;
    auto first = OpenStore(temp.Store());
    auto second = OpenStore(temp.Store());
    AddRecords(*first, 3);
    UploadBatch const late = Claim(*first, 0, Limits(10, 1000), "a");
    EXPECT_EQ(0, Claim(*second, 999, Limits(10), "b").leaseId);
    UploadBatch const taken = Claim(*second, 1000, Limits(10), "b");
    EXPECT_EQ(Seqs(late), Seqs(taken));

    ASSERT_TRUE(first->FinishUploadBatch(late, Outcome(UploadOutcome::Delivered), 1500));
    EXPECT_EQ(0, first->Figures().records);
    ASSERT_TRUE(second->FinishUploadBatch(taken, Outcome(UploadOutcome::Delivered), 1600));
    EXPECT_EQ(0, Claim(*second, 2000, Limits(10), "b").leaseId);
}

TEST(StoreUploadTest, BackOffIsSharedAndSurvivesAReopen)
{
    TempFolder temp;
    auto first = OpenStore(temp.Store());
    auto second = OpenStore(temp.Store());
    AddRecords(*first, 2);
    ASSERT_TRUE(first->FinishUploadBatch(Claim(*first, 0, Limits(10)), Outcome(UploadOutcome::Retry), 0));
    UploadBatch const waiting = Claim(*second, 500, Limits(10), "b");
    EXPECT_EQ(0, waiting.leaseId);
    EXPECT_EQ(1000, waiting.notBeforeMs);

    second.reset();
    second = OpenStore(temp.Store());
    EXPECT_EQ(1, second->ReadUploadState(0).failedAttempts);
    EXPECT_EQ(0, Claim(*second, 999, Limits(10), "b").leaseId);
    UploadBatch const again = Claim(*second, 1000, Limits(10), "b");
    ASSERT_EQ(2u, again.records.size());
    ASSERT_TRUE(second->FinishUploadBatch(again, Outcome(UploadOutcome::Retry), 1000));
    EXPECT_EQ(3000, first->ReadUploadState(0).nextAttemptMs) << "the second failure waits twice as long";

    // Any answer of the collector's ends the back-off, a refusal too.
    UploadBatch const refused = Claim(*first, 3000, Limits(10));
    ASSERT_TRUE(first->FinishUploadBatch(refused, Outcome(UploadOutcome::Dropped), 3000));
    UploadState const state = first->ReadUploadState(3000);
    EXPECT_EQ(0, state.failedAttempts);
    EXPECT_EQ(0, state.nextAttemptMs);
    EXPECT_EQ(0, first->Figures().records);
    auto const counters = first->Counters();
    EXPECT_EQ(2, counters.at("upload_batches_retried"));
    EXPECT_EQ(1, counters.at("upload_batches_dropped"));
    EXPECT_EQ(2, counters.at("upload_records_dropped"));
}

TEST(StoreUploadTest, BatchStopsAtItsSizeButNeverEmpty)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    AddRecords(*store, 5);
    UploadLimits limits = Limits(10);
    limits.maxBytes = 250;
    limits.cost = [](StoredRecord const&) { return 100LL; };
    EXPECT_EQ(2u, Claim(*store, 0, limits).records.size());
    limits.cost = [](StoredRecord const&) { return 1000LL; };
    EXPECT_EQ(1u, Claim(*store, 0, limits).records.size()) << "a record larger than a batch goes alone";
}

TEST(StoreUploadTest, PurgeForgetsTheLeases)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    AddRecords(*store, 2);
    UploadBatch const before = Claim(*store, 0, Limits(10));
    ASSERT_EQ(2, store->DeleteAllRecords());
    ASSERT_TRUE(store->AddRecord(Record(3)));
    EXPECT_EQ((std::vector<long long>{3}), Seqs(Claim(*store, 0, Limits(10))));
    // The purged batch's late answer touches nothing newer.
    ASSERT_TRUE(store->FinishUploadBatch(before, Outcome(UploadOutcome::Delivered), 0));
    EXPECT_EQ(1, store->Figures().records);
}

// A database written by the version before the upload existed: its records
// are pending after the upgrade, and it gets an id of its own.
TEST(StoreUploadTest, VersionOneDatabaseIsBroughtForward)
{
    TempFolder temp;
    std::string ids[2];
    for (std::string& id : ids) {
        std::filesystem::remove_all(temp.Store());
        OpenStore(temp.Store()).reset();
        {
            RawDatabase raw(temp.Database());
            ASSERT_TRUE(raw.Exec("DROP TABLE upload_leases; DROP TABLE upload_state; PRAGMA user_version = 1; "
                                 "INSERT INTO names(id, name) VALUES(1, 'TrackEvent'); "
                                 "INSERT INTO records(time_ms, session, name, body) VALUES(5, NULL, 1, '{\"a\":1}')"));
        }
        auto store = OpenStore(temp.Store());
        ASSERT_TRUE(store);
        EXPECT_EQ(Schema::CurrentVersion(), store->Figures().schemaVersion);
        UploadBatch const batch = Claim(*store, 0, Limits(10));
        ASSERT_EQ(1u, batch.records.size());
        EXPECT_EQ("{\"a\":1}", batch.records[0].args);
        id = batch.databaseId;
    }
    EXPECT_EQ(32u, ids[0].size());
    EXPECT_NE(ids[0], ids[1]);
}
