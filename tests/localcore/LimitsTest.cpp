// The core's bounds, set in its configuration file: the queue to the writer
// and the store's size, also when changed on a reload request.
#include "CoreHarness.h"

#include <random>

using namespace CoreTesting;

namespace {

constexpr long long kMaxBytes = 1 << 20;

// Records of random hex text, which compression cannot shrink much: together
// well over the 1 MiB limit.
void SendIncompressibleRecords(LoadedCore const& core, int count)
{
    std::mt19937 generator(7);
    static char const kHex[] = "0123456789abcdef";
    for (int i = 0; i < count; ++i) {
        std::string payload(2000, ' ');
        for (char& c : payload)
            c = kHex[generator() % 16];
        ASSERT_EQ(core.Send("UpdateLiFlow", NumberedRecord(0, i, payload)).code, 0);
        if (i % 100 == 99) {
            ASSERT_EQ(core.Send("FlushEvent", "{}").code, 0);
        }
    }
    ASSERT_EQ(core.Send("FlushEvent", "{}").code, 0);
}

// The newest records are kept, the oldest removed and counted, and the live
// data fits the limit.
void ExpectTrimmedToTheLimit(int sent)
{
    std::unique_ptr<Store> const store = OpenStoreReadOnly();
    ASSERT_NE(store, nullptr);
    std::vector<StoredRecord> const records = store->Records(RecordFilter{});
    long long const removed = store->Counters()["removed_by_size"];
    EXPECT_GT(removed, 0);
    EXPECT_EQ(static_cast<long long>(records.size()) + removed, sent);
    auto const numbers = Numbers(records);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        EXPECT_EQ(numbers[i].second, sent - static_cast<long long>(numbers.size() - i));
    EXPECT_LE(store->Figures().liveBytes, kMaxBytes);
    EXPECT_LE(static_cast<long long>(fs::file_size(DatabaseFile())), 2 * kMaxBytes);
}

}  // namespace

using CoreLimits = CoreTest;

TEST_F(CoreLimits, AFullQueueRefusesRecordsAndCountsThem)
{
    WriteConfiguration("QDX_LOCALCORE_QUEUE_BYTES=64K\n");
    OptIn();
    ASSERT_EQ(Code("FlushEvent"), 0);
    DatabaseLock lock;
    ASSERT_TRUE(lock.Held());
    std::string const payload(1000, 'x');
    int accepted = 0;
    int refused = 0;
    for (int i = 0; refused < 3 && i < 100000; ++i) {
        int const code = Code("UpdateLiFlow", NumberedRecord(0, i, payload));
        ASSERT_TRUE(code == 0 || code == 104) << code;
        (code == 0 ? accepted : refused) += 1;
    }
    ASSERT_EQ(refused, 3);
    EXPECT_EQ(Send("GetStoreStatus").Counter("dropped_queue_full"), 3);
    lock.Release();

    ASSERT_TRUE(PollUntil([&] { return Code("FlushEvent") == 0; }));
    EXPECT_EQ(StoredRecords().size(), static_cast<std::size_t>(accepted));
    EXPECT_EQ(Send("GetStoreStatus").Counter("dropped_queue_full"), 3);
    EXPECT_EQ(OpenStoreReadOnly()->Counters()["dropped_queue_full"], 3);
}

TEST_F(CoreLimits, AStoreAtItsSizeLimitRemovesTheOldestRecords)
{
    WriteConfiguration("QDX_LOCALCORE_MAX_BYTES=1M\n");
    OptIn();
    constexpr int kRecords = 1500;
    ASSERT_NO_FATAL_FAILURE(SendIncompressibleRecords(Core(), kRecords));
    ExpectTrimmedToTheLimit(kRecords);
}

TEST_F(CoreLimits, AReloadRequestAppliesTheChangedConfiguration)
{
    OptIn();
    ASSERT_EQ(Code("FlushEvent"), 0);
    WriteConfiguration("QDX_LOCALCORE_MAX_BYTES=1M\n");
    fs::path const request = SdkFolder() / "JSON/InternalMessage.json.user";
    WriteFile(request, R"({"_msg": "ReloadConfig"})");
    ASSERT_TRUE(PollUntil([&] { return !fs::exists(request); })) << "the request was not taken";
    constexpr int kRecords = 1500;
    ASSERT_NO_FATAL_FAILURE(SendIncompressibleRecords(Core(), kRecords));
    ExpectTrimmedToTheLimit(kRecords);
}
