// A durable commit syncs the write-ahead log; an ordinary one does not. The
// syncs are counted by a file system layer under SQLite, installed as the
// default for this test's process.
#include "StoreTestSupport.h"

#include <atomic>

using namespace QdxStoreTest;

namespace {

std::atomic<int> logSyncs{0};
sqlite3_vfs* baseVfs = nullptr;
sqlite3_io_methods logMethods;  // the base file's methods, with the sync counted
int (*baseSync)(sqlite3_file*, int) = nullptr;

int CountingSync(sqlite3_file* file, int flags)
{
    ++logSyncs;
    return baseSync(file, flags);
}

int CountingOpen(sqlite3_vfs*, char const* name, sqlite3_file* file, int flags, int* outFlags)
{
    int const code = baseVfs->xOpen(baseVfs, name, file, flags, outFlags);
    if (code == SQLITE_OK && (flags & SQLITE_OPEN_WAL) != 0 && file->pMethods != nullptr) {
        if (baseSync == nullptr) {
            logMethods = *file->pMethods;
            baseSync = logMethods.xSync;
            logMethods.xSync = &CountingSync;
        }
        file->pMethods = &logMethods;
    }
    return code;
}

}  // namespace

TEST(StoreDurabilityTest, DurableCommitSyncsTheLog)
{
    sqlite3_initialize();
    baseVfs = sqlite3_vfs_find(nullptr);
    ASSERT_NE(nullptr, baseVfs);
    sqlite3_vfs counting = *baseVfs;
    counting.zName = "counting";
    counting.xOpen = &CountingOpen;
    ASSERT_EQ(SQLITE_OK, sqlite3_vfs_register(&counting, 1));

    TempFolder temp;
    auto store = OpenStore(temp.Store());
    ASSERT_TRUE(store);
    for (bool const durable : {false, true, false}) {
        int const before = logSyncs;
        ASSERT_TRUE(store->Begin());
        ASSERT_TRUE(store->AddRecord(Record(1)));
        ASSERT_TRUE(store->Commit(durable)) << store->LastError();
        EXPECT_EQ(durable, logSyncs > before) << "durable: " << durable;
    }
    store.reset();
    sqlite3_vfs_unregister(&counting);
}
