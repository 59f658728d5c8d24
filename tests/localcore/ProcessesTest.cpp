// Several processes on one database: writing at once, a writer killed in
// the middle of a burst, and children forked from a process whose writer runs.
// Children report through their exit status; they never use the test framework.
#include "CoreHarness.h"

#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <limits>
#include <set>
#include <thread>

using namespace CoreTesting;

namespace {

// Exit statuses of the children.
constexpr int kRefused = 2;
constexpr int kNotFlushed = 3;

// Sends `count` numbered records of `process`, then a flush.
int SendRecords(LoadedCore const& core, int process, int first, int count)
{
    for (int i = first; i < first + count; ++i)
        if (core.Send("UpdateLiFlow", NumberedRecord(process, i)).code != 0)
            return kRefused;
    return core.Send("FlushEvent", "{}").code == 0 ? 0 : kNotFlushed;
}

// True when `numbers` holds each pair exactly once and nothing else.
bool EachOnce(std::vector<std::pair<int, long long>> const& numbers, std::set<std::pair<int, long long>> expected)
{
    for (auto const& number : numbers)
        if (expected.erase(number) != 1)
            return false;
    return expected.empty();
}

}  // namespace

class CoreProcesses : public CoreTest {
protected:
    // Consent and a generous close time-out are kept in the database, for
    // every process: flushes that wait for the other processes' locks in a
    // slow (sanitised) build are not cut short.
    void SetUp() override
    {
        CoreTest::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        OptIn();
        ASSERT_EQ(Code("SetCloseTimeoutOnProductClose", R"({"CloseTimeoutOnProductClose": 20000})"), 0);
    }
    // Children are then forked from a process without threads.
    void StopParentsCore() { Core().Finalize(); }
};

TEST_F(CoreProcesses, FourProcessesWritingAtOnceLoseNothing)
{
    StopParentsCore();
    constexpr int kProcesses = 4;
    constexpr int kRecords = 300;
    int start[2];
    ASSERT_EQ(pipe(start), 0);
    std::vector<pid_t> children;
    for (int process = 0; process < kProcesses; ++process)
        children.push_back(Spawn([&, process] {
            close(start[1]);
            char go;
            static_cast<void>(read(start[0], &go, 1));  // returns once the parent closes its end
            LoadedCore const core;
            return core.Initialize() == 0 ? SendRecords(core, process, 0, kRecords) : kRefused;
        }));
    close(start[0]);
    close(start[1]);
    for (pid_t const child : children)
        EXPECT_EQ(ExitStatus(child), 0);

    std::set<std::pair<int, long long>> expected;
    for (int process = 0; process < kProcesses; ++process)
        for (int i = 0; i < kRecords; ++i)
            expected.emplace(process, i);
    std::vector<StoredRecord> const records = StoredRecords();
    EXPECT_EQ(records.size(), expected.size());
    EXPECT_TRUE(EachOnce(Numbers(records), expected));
}

TEST_F(CoreProcesses, AWriterKilledInABurstLeavesASoundDatabaseWithEveryFlushedRecord)
{
    StopParentsCore();
    constexpr long long kFlushed = 500;
    int report[2];
    ASSERT_EQ(pipe(report), 0);
    pid_t const writer = Spawn([&] {
        close(report[0]);
        LoadedCore const core;
        core.Initialize();
        for (long long i = 0;; ++i) {
            core.Send("UpdateLiFlow", NumberedRecord(0, i, "a burst of records, killed at any moment"));
            if (i + 1 == kFlushed) {
                if (core.Send("FlushEvent", "{}").code != 0)
                    return kNotFlushed;
                if (write(report[1], &kFlushed, sizeof kFlushed) != sizeof kFlushed)
                    return kNotFlushed;
            }
        }
    });
    close(report[1]);
    pollfd ready{report[0], POLLIN, 0};
    long long flushed = 0;
    ASSERT_EQ(poll(&ready, 1, 60000), 1) << "the writer did not report";
    ASSERT_EQ(read(report[0], &flushed, sizeof flushed), static_cast<ssize_t>(sizeof flushed))
        << "the writer ended with " << ExitStatus(writer);
    close(report[0]);
    kill(writer, SIGKILL);
    EXPECT_EQ(ExitStatus(writer), -1);

    EXPECT_EQ(Query("PRAGMA integrity_check"), (std::vector<std::vector<std::string>>{{"ok"}}));
    std::set<long long> stored;
    for (auto const& number : Numbers(StoredRecords()))
        EXPECT_TRUE(stored.insert(number.second).second) << "record " << number.second << " is stored twice";
    for (long long i = 0; i < flushed; ++i)
        EXPECT_EQ(stored.count(i), 1u) << "flushed record " << i << " is lost";
}

// The sanitizers' runtimes do not survive a fork while another thread is
// inside them (the child hangs in their allocator): there the parent queues
// its records between the forks instead of during them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kWriteDuringForks = false;
#else
constexpr bool kWriteDuringForks = true;
#endif

// The parent's records queued at a fork are the parent's to write, the
// child's its own: each is stored once, and the database stays sound.
TEST_F(CoreProcesses, ChildrenForkedWhileTheParentWritesLeaveEveryRecordStoredOnce)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "ThreadSanitizer cannot run a child that starts threads after a fork of a process with threads";
#endif
    std::atomic<bool> stop{false};
    std::atomic<int> sent{0};
    // Records and flushes all along, so that the children are forked in the
    // middle of the parent's groups.
    auto const sendAsParent = [&](int count) {
        for (int i = 0; i < count && !stop; ++i) {
            if (Code("UpdateLiFlow", NumberedRecord(0, sent)) != 0)
                return;
            if (++sent % 5 == 0)
                Code("FlushEvent");
        }
    };
    std::thread parent;
    if (kWriteDuringForks)
        parent = std::thread(sendAsParent, std::numeric_limits<int>::max());
    constexpr int kChildren = 10;
    for (int child = 1; child <= kChildren; ++child) {
        if (!kWriteDuringForks)
            sendAsParent(12);
        EXPECT_EQ(ExitStatus(Spawn([&, child] {
                      int const result = SendRecords(Core(), child, 0, 20);
                      Core().Finalize();
                      return result;
                  })),
                  0)
            << "child " << child;
    }
    stop = true;
    if (parent.joinable())
        parent.join();
    ASSERT_EQ(Code("FlushEvent"), 0);

    std::set<std::pair<int, long long>> expected;
    for (int i = 0; i < sent; ++i)
        expected.emplace(0, i);
    for (int child = 1; child <= kChildren; ++child)
        for (int i = 0; i < 20; ++i)
            expected.emplace(child, i);
    EXPECT_TRUE(EachOnce(Numbers(StoredRecords()), expected));
    EXPECT_EQ(Query("PRAGMA integrity_check"), (std::vector<std::vector<std::string>>{{"ok"}}));
    EXPECT_TRUE(FilesStartingWith(StoreFolder(), "usage.db.corrupt-").empty());
}
