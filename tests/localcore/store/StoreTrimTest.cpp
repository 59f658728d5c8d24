// The limits: records past the age limit, then the oldest records until the
// live data fits the size limit, each counted.
#include "StoreTestSupport.h"

#include <random>

using namespace QdxStoreTest;

TEST(StoreTrimTest, AgeLimitRemovesOlderRecordsAndEndedSessions)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    ASSERT_TRUE(store->OpenSession("old", "{}", 0, 1) && store->CloseSession("old", 50));
    ASSERT_TRUE(store->OpenSession("old-open", "{}", 0, 1));
    ASSERT_TRUE(store->OpenSession("recent", "{}", 0, 1) && store->CloseSession("recent", 150));
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(store->AddRecord(Record(i, i * 10, i < 5 ? "old" : "recent")));

    Store::TrimResult const result = store->Trim({0, 100}, 200);  // keeps times from 100 on
    EXPECT_TRUE(result.ok) << store->LastError();
    EXPECT_EQ(10, result.removedByAge);
    EXPECT_EQ(0, result.removedBySize);
    EXPECT_EQ(100, store->Figures().oldestMs);
    EXPECT_EQ(10, store->Counters()["removed_by_age"]);
    EXPECT_EQ(2, store->Figures().sessions) << "the ended session without records went";

    EXPECT_EQ(0, store->Trim({0, 100}, 200).removedByAge);
    EXPECT_EQ(10, store->Counters()["removed_by_age"]) << "nothing more to count";
    EXPECT_EQ(10, store->Trim({0, 0}, 1000000).removedByAge + 10) << "no age limit";
}

TEST(StoreTrimTest, SizeLimitRemovesTheOldestUntilTheDataFits)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    std::mt19937 random(3);
    ASSERT_TRUE(store->Begin());
    for (int i = 0; i < 3000; ++i) {
        std::string noise;
        for (int c = 0; c < 1000; ++c)
            noise += "0123456789abcdef"[random() % 16];
        ASSERT_TRUE(store->AddRecord({i, "", "TrackEvent", "{\"noise\":\"" + noise + "\"}"}));
    }
    ASSERT_TRUE(store->Commit(false));
    store.reset();  // checkpointed: the file holds everything
    store = OpenStore(temp.Store());
    long long const before = ReadFile(temp.Database()).size();
    long long const limit = store->Figures().liveBytes / 3;

    Store::TrimResult const result = store->Trim({limit, 0}, 0);
    EXPECT_TRUE(result.ok) << store->LastError();
    StoreFigures const figures = store->Figures();
    EXPECT_LE(figures.liveBytes, limit);
    EXPECT_GT(figures.liveBytes, limit / 2) << "not far more than needed";
    EXPECT_EQ(3000, result.removedBySize + figures.records);
    EXPECT_EQ(result.removedBySize, store->Counters()["removed_by_size"]);
    std::vector<StoredRecord> const kept = store->Records({});
    ASSERT_FALSE(kept.empty());
    EXPECT_EQ(3000, kept.back().seq);
    EXPECT_EQ(result.removedBySize + 1, kept.front().seq) << "the oldest went first";

    store.reset();
    EXPECT_LT(ReadFile(temp.Database()).size() * 2, static_cast<size_t>(before)) << "the file itself shrank";

    // A limit below what the tables themselves take leaves no record, and stops.
    store = OpenStore(temp.Store());
    EXPECT_TRUE(store->Trim({1, 0}, 0).ok);
    EXPECT_EQ(0, store->Figures().records);
}
