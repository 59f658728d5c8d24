// Damage: corrupt databases are moved aside (never deleted) and replaced by
// fresh ones, whether found at open or later; a database moved away by
// another process is noticed; a killed writer leaves an intact database.
#include "StoreTestSupport.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>

using namespace QdxStoreTest;

namespace {

// A database with records in its file (checkpointed), closed.
void MakeDatabase(TempFolder const& temp, int records = 300)
{
    auto store = OpenStore(temp.Store());
    ASSERT_TRUE(store->Begin());
    for (int i = 0; i < records; ++i)
        ASSERT_TRUE(store->AddRecord(Record(i)));
    ASSERT_TRUE(store->Commit(false));
}

// Overwrites the records table's root page, which quick_check reads.
void DamageRecordsPage(std::string const& database)
{
    long long const page = RawDatabase(database).Int("SELECT rootpage FROM sqlite_schema WHERE name = 'records'");
    ASSERT_GT(page, 1);
    WriteFile(database, std::string(4096, '\x5a'), (page - 1) * 4096);
}

void ExpectMovedAside(TempFolder const& temp, OpenReport const& report, std::string const& original)
{
    EXPECT_TRUE(report.ready) << report.error;
    EXPECT_TRUE(report.createdFresh);
    EXPECT_TRUE(std::regex_match(report.movedAsideTo, std::regex(".*/usage\\.db\\.corrupt-[0-9]{8}T[0-9]{6}Z")))
        << report.movedAsideTo;
    EXPECT_TRUE(original == ReadFile(report.movedAsideTo)) << "moved as it was";
    auto store = OpenStore(temp.Store());
    EXPECT_EQ(1, store->Counters()["corrupt_moved_aside"]);
    EXPECT_EQ(0, store->Figures().records);
}

}  // namespace

TEST(StoreRecoveryTest, CorruptDatabaseFoundAtOpenIsMovedAside)
{
    struct Case {
        char const* name;
        void (*damage)(std::string const& database);
    };
    for (Case const& test : {
             Case{"garbage", [](std::string const& database) { WriteFile(database, std::string(9000, '\x17')); }},
             Case{"short", [](std::string const& database) { std::filesystem::resize_file(database, 60); }},
             Case{"truncated", [](std::string const& database) { std::filesystem::resize_file(database, 8192); }},
             Case{"damaged page", DamageRecordsPage},
         }) {
        TempFolder temp;
        MakeDatabase(temp);
        test.damage(temp.Database());
        WriteFile(temp.Database() + "-wal", "old log");
        std::string const original = ReadFile(temp.Database());

        OpenReport report;
        auto store = Store::Open(temp.Store(), report);
        ASSERT_TRUE(store) << test.name << ": " << report.error;
        EXPECT_EQ("old log", ReadFile(report.movedAsideTo + "-wal")) << test.name;
        store.reset();
        ExpectMovedAside(temp, report, original);
    }
}

// Damage that appears while a store has the database open shows in a later
// statement; the owner reopens, which moves that very file aside.
TEST(StoreRecoveryTest, CorruptionFoundLaterLeadsToAReopen)
{
    TempFolder temp;
    MakeDatabase(temp);
    auto store = OpenStore(temp.Store());
    DamageRecordsPage(temp.Database());
    // Another connection's commit makes the store drop the pages it holds in
    // memory (a store would find the damage when it opens).
    ASSERT_TRUE(RawDatabase(temp.Database()).Exec("INSERT INTO settings VALUES('touch', '1')"));
    std::string const original = ReadFile(temp.Database());

    EXPECT_TRUE(store->Records({}).empty());
    EXPECT_TRUE(store->NeedsReopen()) << store->LastError();
    EXPECT_FALSE(store->SetSetting("after", "1")) << "nothing more is written to a corrupt database";

    OpenReport report;
    store = Store::Reopen(std::move(store), report);
    ASSERT_TRUE(store) << report.error;
    store.reset();
    ExpectMovedAside(temp, report, original);
}

TEST(StoreRecoveryTest, DatabaseMovedAwayByAnotherProcessIsNoticed)
{
    TempFolder temp;
    auto store = OpenStore(temp.Store());
    ASSERT_TRUE(store->AddRecord(Record(1)));
    std::filesystem::rename(temp.Database(), temp.Database() + ".elsewhere");
    EXPECT_FALSE(store->AddRecord(Record(2)));
    EXPECT_TRUE(store->NeedsReopen());

    OpenReport report;
    store = Store::Reopen(std::move(store), report);
    ASSERT_TRUE(store) << report.error;
    EXPECT_TRUE(report.movedAsideTo.empty()) << "nothing of ours to move";
    EXPECT_TRUE(store->AddRecord(Record(3)));
}

// A writer killed in the middle of its burst: the database passes the full
// integrity check and holds every record it had committed.
TEST(StoreRecoveryTest, KilledWriterLeavesAnIntactDatabase)
{
    TempFolder temp;
    OpenStore(temp.Store()).reset();
    int report[2];
    ASSERT_EQ(0, pipe(report));
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        close(report[0]);
        OpenReport opened;
        auto store = Store::Open(temp.Store(), opened);
        for (long long batch = 0; store; ++batch) {
            if (!store->Begin())
                _exit(1);
            for (int i = 0; i < 50; ++i)
                store->AddRecord(Record(batch * 50 + i));
            if (!store->Commit(batch % 2 == 0))
                _exit(1);
            long long const committed = batch * 50 + 49;
            if (write(report[1], &committed, sizeof committed) != sizeof committed)
                _exit(1);
        }
        _exit(1);
    }
    close(report[1]);
    long long committed = -1;
    for (int batches = 0; batches < 40 && read(report[0], &committed, sizeof committed) == sizeof committed;)
        ++batches;
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    close(report[0]);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_GE(committed, 0);

    EXPECT_EQ("ok", RawDatabase(temp.Database()).Text("PRAGMA integrity_check"));
    auto store = OpenStore(temp.Store());
    std::vector<StoredRecord> const records = store->Records({});
    ASSERT_GE(static_cast<long long>(records.size()), committed + 1);
    for (long long i = 0; i <= committed; ++i)
        ASSERT_EQ(Record(i).args, records[static_cast<size_t>(i)].args) << i;
}
