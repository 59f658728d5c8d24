// Databases the core cannot use as they are: corrupt ones (moved aside, a
// fresh one started), one of a newer schema (left untouched) and a folder
// that cannot be written (the core runs without storage).
#include "CoreHarness.h"

#include <sqlite3.h>
#include <sys/mount.h>

using namespace CoreTesting;

namespace {

// A database that a core filled and closed, in a process of its own.
void MakeDatabaseWithRecords()
{
    pid_t const child = Spawn([] {
        LoadedCore const core;
        core.Initialize();
        core.Send("SetOptedIn", R"({"OptIN": true})");
        for (int i = 0; i < 200; ++i)
            core.Send("UpdateLiFlow", NumberedRecord(9, i, "kept in the database that is spoiled later"));
        core.Finalize();
        return 0;
    });
    ASSERT_EQ(ExitStatus(child), 0);
}

bool IsJournal(fs::path const& file)
{
    std::string const name = file.filename().string();
    return name.size() > 4 &&
           (name.compare(name.size() - 4, 4, "-wal") == 0 || name.compare(name.size() - 4, 4, "-shm") == 0);
}

struct Spoiling {
    char const* name;
    void (*spoil)();
};

Spoiling const kSpoilings[] = {
    {"Garbage", [] { WriteFile(DatabaseFile(), std::string(20000, 'Q')); }},
    {"TruncatedHeader", [] { WriteFile(DatabaseFile(), "SQLite format 3"); }},
    {"DamagedPages",
     [] {
         MakeDatabaseWithRecords();
         std::string content = ReadFile(DatabaseFile());
         ASSERT_GT(content.size(), 8192u);
         for (std::size_t i = 4096; i < content.size(); ++i)
             content[i] = static_cast<char>(i * 7 + 3);
         WriteFile(DatabaseFile(), content);
     }},
};

void PrintTo(Spoiling const& spoiling, std::ostream* out)
{
    *out << spoiling.name;
}

}  // namespace

class CoreCorruptDatabase : public CoreTest, public ::testing::WithParamInterface<Spoiling> {};

TEST_P(CoreCorruptDatabase, IsKeptAsideAndAFreshOneStarted)
{
    GetParam().spoil();
    std::string const spoiled = ReadFile(DatabaseFile());
    ASSERT_EQ(Core().Initialize(), 0);
    OptIn();
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(Code("UpdateLiFlow", NumberedRecord(0, i)), 0);
    ASSERT_EQ(Code("FlushEvent"), 0);
    EXPECT_EQ(StoredRecords().size(), 10u);
    EXPECT_EQ(Send("GetStoreStatus").Counter("corrupt_moved_aside"), 1);
    std::vector<fs::path> aside;
    for (fs::path const& file : FilesStartingWith(StoreFolder(), "usage.db.corrupt-"))
        if (!IsJournal(file))  // its "-wal" and "-shm" files go with it
            aside.push_back(file);
    ASSERT_EQ(aside.size(), 1u);
    EXPECT_TRUE(ReadFile(aside[0]) == spoiled);
}

INSTANTIATE_TEST_SUITE_P(Spoilings, CoreCorruptDatabase, ::testing::ValuesIn(kSpoilings),
                         [](auto const& test) { return std::string(test.param.name); });

using CoreStorage = CoreTest;

TEST_F(CoreStorage, ADatabaseOfANewerSchemaIsLeftUntouched)
{
    fs::create_directories(StoreFolder());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(DatabaseFile().c_str(), &db), SQLITE_OK);
    ASSERT_EQ(sqlite3_exec(db, "CREATE TABLE future(x); INSERT INTO future VALUES (1); PRAGMA user_version = 999",
                           nullptr, nullptr, nullptr),
              SQLITE_OK);
    sqlite3_close(db);
    std::string const before = ReadFile(DatabaseFile());

    ASSERT_EQ(Core().Initialize(), 0);
    OptIn();
    std::string const id = OpenSession();
    EXPECT_EQ(Code("UpdateLiFlow"), 105);
    EXPECT_EQ(Code("TrackEvent", WithSession(id)), 105);
    EXPECT_EQ(Code("IsCollectionEnabled"), 105);
    EXPECT_EQ(Code("FlushEvent"), 105);
    Answer const status = Send("GetStoreStatus");
    EXPECT_TRUE(status.json["storage"].IsFalse());
    EXPECT_NE(status.Text("last_error").find("newer"), std::string::npos) << status.Text("last_error");
    EXPECT_EQ(status.Counter("dropped_no_storage"), 2);
    Core().Finalize();
    EXPECT_TRUE(ReadFile(DatabaseFile()) == before);
}

namespace {

struct Obstacle {
    char const* name;
    bool (*place)();  ///< false when this machine cannot set it up
};

Obstacle const kObstacles[] = {
    {"StoreFolderIsAFile", [] { return WriteFile(StoreFolder(), "not a folder"), true; }},
    {"DatabaseIsAFolder", [] { return fs::create_directories(DatabaseFile()); }},
    {"ReadOnlyFileSystem",
     [] {
         fs::create_directories(StoreFolder());
         std::string const folder = StoreFolder().string();
         return mount(folder.c_str(), folder.c_str(), nullptr, MS_BIND, nullptr) == 0 &&
                mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) == 0;
     }},
};

void PrintTo(Obstacle const& obstacle, std::ostream* out)
{
    *out << obstacle.name;
}

}  // namespace

class CoreUnwritableStore : public CoreTest, public ::testing::WithParamInterface<Obstacle> {};

TEST_P(CoreUnwritableStore, MeansNoStorageAndNoCrash)
{
    if (!GetParam().place())
        GTEST_SKIP() << "cannot set up " << GetParam().name << " here";
    EXPECT_EQ(Core().Initialize(), 0);
    OptIn();
    EXPECT_EQ(Code("UpdateLiFlow"), 105);
    EXPECT_EQ(Code("FlushEvent"), 105);
    Answer const status = Send("GetStoreStatus");
    EXPECT_TRUE(status.json["storage"].IsFalse());
    EXPECT_NE(status.Text("last_error"), "");
    EXPECT_EQ(status.Counter("dropped_no_storage"), 1);
    Core().Finalize();
}

INSTANTIATE_TEST_SUITE_P(Obstacles, CoreUnwritableStore, ::testing::ValuesIn(kObstacles),
                         [](auto const& test) { return std::string(test.param.name); });
