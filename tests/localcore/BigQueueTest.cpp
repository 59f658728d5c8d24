// Finalize with far more queued than the writer can write within the close
// time-out (a 256 MiB queue, about 200,000 events, against the default 2 s):
// it still returns, what was not written is kept in a spill file, and the
// next process to load the core imports every record, once.
#include "CoreHarness.h"

#include <fstream>
#include <limits>

using namespace CoreTesting;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
// A sanitizer's or unoptimised (coverage) build slows the sender as much as
// the writer, so the queue may never fill, and the writer too much to spill
// a full one in 2 s: a bounded number of events, a longer close time-out,
// and whether anything is left to spill depends on the machine.
constexpr char kCloseTimeout[] = R"({"CloseTimeoutOnProductClose": 30000})";
constexpr long long kMostEvents = 20000;
constexpr bool kMustSpill = false;
#else
constexpr char kCloseTimeout[] = R"({"CloseTimeoutOnProductClose": 2000})";
constexpr long long kMostEvents = std::numeric_limits<long long>::max();
constexpr bool kMustSpill = true;
#endif

// A pretty event text of about a kilobyte, with escapes, as the library sends them.
std::string EventText(long long index)
{
    static std::string const payload = [] {
        std::string text;
        while (text.size() < 900)
            text += "caf\\u00e9 \\\"quoted\\\" \\\\ line\\n tab\\t ";
        return text;
    }();
    return "{\n    \"p\": 0,\n    \"i\": " + std::to_string(index) + ",\n    \"payload\": \"" + payload + "\"\n}";
}

}  // namespace

TEST(CoreBigQueue, FinalizeSpillsWhatItCannotWriteAndTheNextProcessImportsEveryRecordOnce)
{
    QDX_REQUIRE_ISOLATION();
    WriteConfiguration("QDX_LOCALCORE_QUEUE_BYTES=256M\nQDX_LOCALCORE_MAX_BYTES=8G\n");
    fs::path const acceptedFile = "/tmp/big-queue-accepted";

    // A process of its own, which ends as soon as Finalize returns, as
    // processes do: a writer left running ends with it.
    pid_t const first = Spawn([&] {
        LoadedCore core;
        if (!core.Loaded() || core.Initialize() != 0 || core.Send("SetOptedIn", R"({"OptIN": true})").code != 0 ||
            core.Send("SetCloseTimeoutOnProductClose", kCloseTimeout).code != 0)
            return 2;
        long long accepted = 0;
        while (accepted < kMostEvents) {
            int const code = core.Send("UpdateLiFlow", EventText(accepted)).code;
            if (code == 104)  // the queue is full
                break;
            if (code != 0)
                return 3;
            ++accepted;
        }
        std::ofstream(acceptedFile) << accepted;
        core.Finalize();  // the bound is checked as "it returned": ExitStatus waits two minutes at most
        return 0;
    });
    ASSERT_EQ(ExitStatus(first), 0);
    long long accepted = 0;
    std::ifstream(acceptedFile) >> accepted;
    ASSERT_GT(accepted, 0);
    if (kMustSpill) {
        EXPECT_FALSE(FilesStartingWith(StoreFolder(), "spill-").empty()) << "the writer wrote everything in time";
    }

    LoadedCore next;
    ASSERT_EQ(next.Initialize(), 0);
    ASSERT_TRUE(PollUntil([&] { return next.Send("FlushEvent", "{}").code == 0; }, std::chrono::seconds(600)));
    std::vector<std::pair<int, long long>> const stored = Numbers(StoredRecords());
    ASSERT_EQ(stored.size(), static_cast<std::size_t>(accepted));
    for (long long i = 0; i < accepted; ++i)
        ASSERT_EQ(stored[static_cast<std::size_t>(i)], std::make_pair(0, i));
    EXPECT_TRUE(FilesStartingWith(StoreFolder(), "spill-").empty());
}
