// Ending the core: a bounded Finalize while another connection holds the
// database (what is left goes to a spill file that the next start imports),
// and loading and unloading the library many times.
#include "CoreHarness.h"

using namespace CoreTesting;

namespace {

constexpr int kRecords = 100;

std::size_t EntriesIn(char const* folder)
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

}  // namespace

/// Whether Finalize comes while the records are still queued, or while the
/// writer is already waiting for the lock to write them.
class CoreLockedAtFinalize : public CoreTest, public ::testing::WithParamInterface<bool> {};

TEST_P(CoreLockedAtFinalize, SpillsWhatItCannotWriteAndTheNextStartImportsIt)
{
    bool const writerWaiting = GetParam();
    OptIn();
    ASSERT_EQ(Code("SetCloseTimeoutOnProductClose", R"({"CloseTimeoutOnProductClose": 300})"), 0);
    ASSERT_EQ(Code("FlushEvent"), 0);
    DatabaseLock lock;
    ASSERT_TRUE(lock.Held());
    for (int i = 0; i < kRecords; ++i)
        ASSERT_EQ(Code("UpdateLiFlow", NumberedRecord(0, i)), 0);
    // Each status request waits for the writer in vain and adds one item of its own.
    if (writerWaiting) {
        ASSERT_TRUE(PollUntil([&] { return Send("GetStoreStatus").Number("records_waiting") < kRecords / 2; }));
    }

    Core().Finalize();
    EXPECT_FALSE(FilesStartingWith(StoreFolder(), "spill-").empty()) << "nothing was kept in a spill file";
    lock.Release();

    ASSERT_EQ(Core().Initialize(), 0);
    ASSERT_EQ(Code("FlushEvent"), 0);
    std::vector<std::pair<int, long long>> expected;
    for (int i = 0; i < kRecords; ++i)
        expected.emplace_back(0, i);
    EXPECT_EQ(Numbers(StoredRecords()), expected);
    EXPECT_TRUE(FilesStartingWith(StoreFolder(), "spill-").empty());
}

INSTANTIATE_TEST_SUITE_P(Moments, CoreLockedAtFinalize, ::testing::Values(false, true),
                         [](auto const& test) { return test.param ? "WriterWaiting" : "RecordsQueued"; });

TEST(CoreLoading, LoadingAndUnloadingAHundredTimesLeavesNoThreadsOrFiles)
{
    QDX_REQUIRE_ISOLATION();
    auto const useOnce = [] {
        LoadedCore core;
        ASSERT_TRUE(core.Loaded());
        ASSERT_EQ(core.InitializeEx("{}"), 0);
        ASSERT_EQ(core.Send("SetOptedIn", R"({"OptIN": true})").code, 0);
        ASSERT_EQ(core.Send("UpdateLiFlow", "{}").code, 0);
        ASSERT_EQ(core.Send("GetDeviceID", "{}").code, 0);
        ASSERT_EQ(core.Send("FlushEvent", "{}").code, 0);
        core.Unload();
    };
    // Counted after a first round: a sanitizer's runtime starts a helper
    // thread of its own with the first thread the core starts.
    ASSERT_NO_FATAL_FAILURE(useOnce());
    std::size_t const threads = EntriesIn("/proc/self/task");
    std::size_t const files = EntriesIn("/proc/self/fd");
    for (int round = 1; round < 100; ++round)
        ASSERT_NO_FATAL_FAILURE(useOnce()) << "round " << round;
    EXPECT_EQ(EntriesIn("/proc/self/task"), threads);
    EXPECT_EQ(EntriesIn("/proc/self/fd"), files);
    EXPECT_EQ(StoredRecords().size(), 100u);
}
