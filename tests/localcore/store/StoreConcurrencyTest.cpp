// Several writers at once, in several processes and in one; waiting for
// another connection's lock, and giving up when told to; durable commits;
// the locks of a process kept while it reads a database's header.
#include "DatabaseFiles.h"
#include "StoreTestSupport.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <thread>

using namespace QdxStoreTest;

namespace {

// Adds count records "<writer>:<i>" in batches, as the core's writer thread does.
bool AddBatches(Store& store, int writer, int count)
{
    for (int i = 0; i < count;) {
        if (!store.Begin())
            return false;
        for (int end = std::min(count, i + 25); i < end; ++i)
            if (!store.AddRecord(Record(i, writer, std::to_string(writer), "W" + std::to_string(writer))))
                return false;
        if (!store.Commit(false))
            return false;
    }
    return true;
}

// Every record of every writer, each exactly once and intact.
void ExpectAllRecords(std::string const& folder, int writers, int count)
{
    auto store = OpenStore(folder);
    std::vector<StoredRecord> const records = store->Records({});
    EXPECT_EQ(static_cast<size_t>(writers * count), records.size());
    std::set<std::pair<long long, std::string>> seen;
    for (StoredRecord const& record : records) {
        EXPECT_TRUE(seen.insert({record.timeMs, record.args}).second) << record.args;
        EXPECT_EQ("W" + std::to_string(record.timeMs), record.name);
    }
    for (int writer = 0; writer < writers; ++writer)
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(1u, seen.count({writer, Record(i).args})) << writer << ":" << i;
}

}  // namespace

TEST(StoreConcurrencyTest, ProcessesWritingAtOnceLoseNothing)
{
    TempFolder temp;
    OpenStore(temp.Store()).reset();
    std::vector<pid_t> children;
    for (int writer = 0; writer < 4; ++writer) {
        pid_t const child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            OpenReport report;
            OpenOptions options;
            options.busyWaitLimitMs = 60000;
            auto store = Store::Open(temp.Store(), report, options);
            _exit(store && AddBatches(*store, writer, 500) ? 0 : 1);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    ExpectAllRecords(temp.Store(), 4, 500);
}

TEST(StoreConcurrencyTest, StoresOfOneProcessWritingAtOnceLoseNothing)
{
    TempFolder temp;
    std::vector<std::unique_ptr<Store>> stores;
    for (int writer = 0; writer < 3; ++writer) {
        stores.push_back(OpenStore(temp.Store()));
        ASSERT_TRUE(stores.back());
        stores.back()->SetBusyWaitLimit(60000);
    }
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int writer = 0; writer < 3; ++writer)
        threads.emplace_back([&, writer] { failures += AddBatches(*stores[writer], writer, 300) ? 0 : 1; });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, failures);
    stores.clear();
    ExpectAllRecords(temp.Store(), 3, 300);
}

// While another connection holds the write lock, Begin waits for it; the
// owner's interrupt check ends the wait, and so does the wait limit.
TEST(StoreConcurrencyTest, WaitingForTheLockEndsOnInterruptOrLimit)
{
    TempFolder temp;
    auto holder = OpenStore(temp.Store());
    auto waiter = OpenStore(temp.Store());
    ASSERT_TRUE(holder->Begin());

    std::atomic<bool> stop{false};
    waiter->SetInterruptCheck([&stop] { return stop.load(); });
    waiter->SetBusyWaitLimit(3600 * 1000);
    std::thread stopper([&stop] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        stop = true;
    });
    EXPECT_FALSE(waiter->Begin());
    stopper.join();
    EXPECT_NE(std::string::npos, waiter->LastError().find("asked to stop")) << waiter->LastError();
    EXPECT_FALSE(waiter->SetSetting("x", "1")) << "the stop holds for every operation";

    stop = false;
    waiter->SetBusyWaitLimit(20);
    EXPECT_FALSE(waiter->AddRecord(Record(1)));
    EXPECT_NE(std::string::npos, waiter->LastError().find("locked")) << waiter->LastError();

    holder->Rollback();
    EXPECT_TRUE(waiter->AddRecord(Record(1))) << waiter->LastError();

    // Opening waits as well: another process may be checking the database.
    ASSERT_TRUE(holder->Begin());
    OpenReport report;
    OpenOptions options;
    options.interrupt = [] { return true; };
    EXPECT_FALSE(Store::Open(temp.Store(), report, options));
    EXPECT_FALSE(report.ready);
    EXPECT_FALSE(report.error.empty());
}

// Locks belong to a process, not to a descriptor: reading the header of a
// database that this process has open must leave its locks in place, or other
// processes would write under them.
TEST(StoreConcurrencyTest, ReadingTheHeaderKeepsTheLocksOfThisProcess)
{
    TempFolder const temp;
    auto store = OpenStore(temp.Store());
    ASSERT_EQ(DatabaseHeader::State::Valid, DatabaseFiles::ReadHeader(temp.Database()).state);
    pid_t const child = fork();
    if (child == 0) {
        int const fd = open(temp.Database().c_str(), O_RDONLY | O_CLOEXEC);
        struct flock probe = {};
        probe.l_type = F_WRLCK;
        probe.l_whence = SEEK_SET;
        _exit(fd >= 0 && fcntl(fd, F_GETLK, &probe) == 0 && probe.l_type != F_UNLCK ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "no lock of this process on the database";
}

// While another process checkpoints a growing database, its first page (with
// the new page count) reaches the file before the pages that make it longer.
// Reading the header in that moment must not call a sound database corrupt,
// or it would be moved aside under its writers.
TEST(StoreConcurrencyTest, AHeaderReadDuringAnotherProcesssCheckpointIsNeverCorrupt)
{
    TempFolder const temp;
    OpenStore(temp.Store()).reset();
    pid_t const child = fork();
    if (child == 0) {
        RawDatabase writer(temp.Database());
        bool written = writer.Exec("CREATE TABLE growth(x BLOB)");
        for (int i = 0; written && i < 400; ++i)
            written = writer.Exec("INSERT INTO growth SELECT randomblob(3000) FROM (SELECT 1 UNION ALL SELECT 2 "
                                  "UNION ALL SELECT 3 UNION ALL SELECT 4)") &&
                      (i % 4 != 0 || writer.Exec("PRAGMA wal_checkpoint(PASSIVE)"));
        _exit(written ? 0 : 1);
    }
    int corrupt = 0;
    std::string reason;
    int status = -1;
    while (waitpid(child, &status, WNOHANG) == 0) {
        DatabaseHeader const header = DatabaseFiles::ReadHeader(temp.Database());
        if (header.state == DatabaseHeader::State::Corrupt && corrupt++ == 0)
            reason = header.reason;
    }
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the writing process failed";
    EXPECT_EQ(0, corrupt) << reason;
}
