// The local core's store adding a batch of typical events in one transaction,
// beside the reference: SQLite alone inserting the same texts, uncompressed,
// into a plain table through one prepared statement. Both report the bytes
// on disk per record once the database is closed (and checkpointed).
#include "EventSamples.h"
#include "Store.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <sys/stat.h>

#include <chrono>
#include <ctime>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

using namespace Norvane::LocalCore;

namespace {

struct Batch {
    std::vector<RecordToStore> records;

    explicit Batch(long long count)
    {
        QdxStoreSamples::EventSamples samples;
        for (long long i = 0; i < count; ++i)
            records.push_back({1732290000123LL + i * 1537, QdxStoreSamples::EventSamples::SessionId(i), "TrackEvent",
                               samples.Next(i)});
    }
};

// A fresh folder per run, under TMPDIR or /tmp.
std::string FreshFolder()
{
    char const* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/localcore-bench-XXXXXX";
    return mkdtemp(pattern.data()) != nullptr ? pattern : std::string();
}

double FileBytes(std::string const& path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? static_cast<double>(status.st_size) : 0.0;
}

// The processor time of this thread: on a shared machine the wall time also
// counts the moments others had the processor.
double ThreadSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

struct Timer {
    std::chrono::steady_clock::time_point wall = std::chrono::steady_clock::now();
    double thread = ThreadSeconds();
};

void ReportTime(benchmark::State& state, Timer const& timer)
{
    std::chrono::duration<double> const wall = std::chrono::steady_clock::now() - timer.wall;
    state.SetIterationTime(wall.count());
    state.counters["thread_ms"] = (ThreadSeconds() - timer.thread) * 1000.0;
}

// Measured once the database is closed, so that its log is in the file.
void ReportSize(benchmark::State& state, std::string const& database)
{
    state.counters["bytes_per_record"] = FileBytes(database) / static_cast<double>(state.range(0));
}

void StoreAddRecords(benchmark::State& state)
{
    Batch const batch(state.range(0));
    for (auto _ : state) {
        std::string const folder = FreshFolder();
        OpenReport report;
        auto store = Store::Open(folder, report);
        for (long long i = 0; store && i < state.range(0); i += 200)
            store->OpenSession(QdxStoreSamples::EventSamples::SessionId(i), "{\"product_id\":\"QdxEditor\"}", 0, 1);
        Timer const timer;
        bool ok = store && store->Begin();
        for (RecordToStore const& record : batch.records)
            ok = ok && store->AddRecord(record);
        ok = ok && store->Commit(false);
        ReportTime(state, timer);
        if (!ok)
            state.SkipWithError(store ? store->LastError().c_str() : report.error.c_str());
        store.reset();
        ReportSize(state, folder + "/usage.db");
        std::filesystem::remove_all(folder);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void RawSqliteInsert(benchmark::State& state)
{
    Batch const batch(state.range(0));
    for (auto _ : state) {
        std::string const folder = FreshFolder();
        std::string const database = folder + "/raw.db";
        sqlite3* db = nullptr;
        sqlite3_open(database.c_str(), &db);
        sqlite3_exec(db,
                     "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; CREATE TABLE records(seq INTEGER "
                     "PRIMARY KEY, time_ms INTEGER, session TEXT, name TEXT, args TEXT)",
                     nullptr, nullptr, nullptr);
        sqlite3_stmt* insert = nullptr;
        sqlite3_prepare_v2(db, "INSERT INTO records(time_ms, session, name, args) VALUES(?, ?, ?, ?)", -1, &insert,
                           nullptr);
        Timer const timer;
        sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
        for (RecordToStore const& record : batch.records) {
            sqlite3_bind_int64(insert, 1, record.timeMs);
            sqlite3_bind_text(insert, 2, record.sessionId.c_str(), -1, SQLITE_STATIC);
            sqlite3_bind_text(insert, 3, record.name.c_str(), -1, SQLITE_STATIC);
            sqlite3_bind_text(insert, 4, record.args.data(), static_cast<int>(record.args.size()), SQLITE_STATIC);
            sqlite3_step(insert);
            sqlite3_reset(insert);
        }
        sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
        ReportTime(state, timer);
        sqlite3_finalize(insert);
        sqlite3_close(db);
        ReportSize(state, database);
        std::filesystem::remove_all(folder);
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(StoreAddRecords)->Arg(10000)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(RawSqliteInsert)->Arg(10000)->Arg(100000)->UseManualTime()->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
