// The local core (companions/localcore, QdxSDKCore.so) as an application
// meets it, reporting the event of CoreEvent.h through the library:
//  - track_event_instant, track_event_local_core: one TrackEvent through the
//    instant companion and through the local core, with one and two threads;
//    --instructions=NAME:COUNT counts one of them (see instruction_ratio.sh,
//    which counts the calling thread alone);
//  - throughput: two application threads report, then a FlushEvent returns:
//    records stored per second, and none dropped;
//  - disk_bytes: bytes on disk per stored record against the text received;
//  - finalize_full_queue: how long OnShutdown (the core's "Finalize") takes
//    with the queue full, and whether every accepted record is on disk then.
// The local core keeps its store under the home folder, so the program runs
// only inside tests/isolate.sh. See docs/performance.md.
#include "CoreCompanionChoice.h"
#include "CoreEvent.h"
#include "InstructionCount.h"
#include "QdxEvents.h"

#include <benchmark/benchmark.h>

#include <dirent.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>

using namespace Norvane::QDXDesktopSDK;
using QdxBench::CoreCompanion;
using QdxBench::UseCoreCompanion;

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned int kQueueFull = 104;  // the local core's answer when its queue to the writer is full

struct Event {
    Facet::Core core{nullptr, false};
    Event() { QdxBench::FillCoreEvent(core); }
};

// One per thread, as each application thread fills its own events.
Event& ThreadEvent()
{
    static thread_local Event event;
    return event;
}

std::atomic<long long> s_refused{0};  // TrackEvent answers other than success

void Track(CoreCompanion companion)
{
    if (TrackEvent(UseCoreCompanion(companion), ThreadEvent().core, nullptr) != 0)
        s_refused.fetch_add(1, std::memory_order_relaxed);
}

QdxBench::Operations const& Operations()
{
    static QdxBench::Operations const operations = {
        {"track_event_instant", [] { Track(CoreCompanion::Instant); }},
        {"track_event_local_core", [] { Track(CoreCompanion::LocalCore); }}};
    return operations;
}

// A fixed number of calls per thread, so that the local core's queue (8 MiB,
// about 6,600 of these events) never fills: a refused event costs less.
void TrackEventTimed(benchmark::State& state, CoreCompanion companion)
{
    if (state.thread_index() == 0) {
        UseCoreCompanion(companion);
        FlushEvent(nullptr);
        s_refused = 0;
    }
    for (auto _ : state)
        Track(companion);
    state.SetItemsProcessed(state.iterations());
    if (state.thread_index() == 0)
        state.counters["refused"] = static_cast<double>(s_refused.load());
}

// A flush waits at most the close time-out (2 s); a full queue may take longer.
void FlushUntilDone()
{
    for (int attempt = 0; FlushEvent(nullptr) != 0; ++attempt) {
        if (attempt == 30) {
            std::fprintf(stderr, "the local core's writer does not catch up: see GetStoreStatus\n");
            std::exit(1);
        }
    }
}

double Seconds(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double ThreadCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double ProcessCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// Two application threads report range(0) events each into an empty store,
// at range(1) events per second between them (0: as fast as they can); the
// time runs until the final FlushEvent returns. The processor time of the
// process, less that of the reporting threads and of this one, is the core's
// writer's.
void Throughput(benchmark::State& state)
{
    long long const perThread = state.range(0);
    double const perThreadRate = static_cast<double>(state.range(1)) / 2;
    double seconds = 0, reportingCpu = 0, writerCpu = 0;
    long long stored = 0, dropped = 0;
    for (auto _ : state) {
        QdxString const sessionId = UseCoreCompanion(CoreCompanion::LocalCore, true);
        s_refused = 0;
        Event events[2];
        double threadCpu[2] = {0, 0};
        double const processCpu = ProcessCpuSeconds(), mainCpu = ThreadCpuSeconds();
        Clock::time_point const start = Clock::now();
        auto const report = [&](int index) {
            double const cpu = ThreadCpuSeconds();
            for (long long i = 0; i < perThread; ++i) {
                if (perThreadRate > 0 && i % 100 == 0)
                    std::this_thread::sleep_until(
                        start + std::chrono::duration_cast<Clock::duration>(
                                    std::chrono::duration<double>(static_cast<double>(i) / perThreadRate)));
                if (TrackEvent(sessionId, events[index].core, nullptr) != 0)
                    s_refused.fetch_add(1, std::memory_order_relaxed);
            }
            threadCpu[index] = ThreadCpuSeconds() - cpu;
        };
        std::thread first(report, 0), second(report, 1);
        first.join();
        second.join();
        FlushUntilDone();
        seconds = Seconds(start);
        reportingCpu = threadCpu[0] + threadCpu[1];
        writerCpu = ProcessCpuSeconds() - processCpu - reportingCpu - (ThreadCpuSeconds() - mainCpu);
        state.SetIterationTime(seconds);
        JsonValue const status = QdxBench::LocalCoreStoreStatus();
        stored = static_cast<long long>(status["records_stored"]);
        dropped = QdxBench::DroppedRecords(status);
    }
    state.counters["stored_per_s"] = static_cast<double>(stored) / seconds;
    state.counters["stored"] = static_cast<double>(stored);
    state.counters["dropped"] = static_cast<double>(dropped);
    state.counters["refused"] = static_cast<double>(s_refused.load());
    state.counters["report_us"] = reportingCpu * 1e6 / static_cast<double>(2 * perThread);
    state.counters["writer_us"] = writerCpu * 1e6 / static_cast<double>(stored);
}

// The text the library hands the core for this event: the body, pretty.
std::size_t SentTextBytes(Event const& event, QdxString const& sessionId)
{
    JsonValue body = event.core.Build(JsonValue());
    body["session_id"] = sessionId;
    body["_sdk_api_version"] = QDX_BENCH_SDK_VERSION;
    return body.GetJsonString().size();
}

// range(0) records into an empty store, flushed every few thousand so that
// none is refused; range(1) = 1 varies three fields from event to event, as
// real events differ. The files are measured after OnShutdown, whose close
// checkpoints the write-ahead log into the database.
void DiskBytes(benchmark::State& state)
{
    long long const records = state.range(0);
    bool const varied = state.range(1) != 0;
    long long stored = 0, fileBytes = 0, textBytes = 0;
    for (auto _ : state) {
        QdxString const sessionId = UseCoreCompanion(CoreCompanion::LocalCore, true);
        Event event;
        JsonValue& content = event.core.GetFacetByName("content", Facet::Core::FacetCreate)->Data();
        textBytes = 0;
        Clock::time_point const start = Clock::now();
        for (long long i = 0; i < records; ++i) {
            if (varied) {
                content["content_size"] = 1000 + i * 7919 % 5000000;
                content["content_pages"] = static_cast<int>(1 + i % 300);
                content["content_name"] = ("report-" + std::to_string(i) + ".pdf").c_str();
            }
            textBytes += static_cast<long long>(SentTextBytes(event, sessionId));
            if (i % 2000 == 1999)
                FlushUntilDone();
            while (TrackEvent(sessionId, event.core, nullptr) == kQueueFull)
                FlushUntilDone();
        }
        FlushUntilDone();
        state.SetIterationTime(Seconds(start));
        stored = static_cast<long long>(QdxBench::LocalCoreStoreStatus()["records_stored"]);
        QdxBench::UnloadCoreCompanion();
        fileBytes = QdxBench::DatabaseFileBytes();
    }
    double const perRecord = static_cast<double>(fileBytes) / static_cast<double>(stored);
    double const textPerRecord = static_cast<double>(textBytes) / static_cast<double>(records);
    state.counters["stored"] = static_cast<double>(stored);
    state.counters["file_bytes"] = static_cast<double>(fileBytes);
    state.counters["bytes_per_record"] = perRecord;
    state.counters["text_bytes"] = textPerRecord;
    state.counters["ratio"] = perRecord / textPerRecord;
}

// The threads of this process: a writer left running is one of them.
int ThreadCount()
{
    int threads = 0;
    if (DIR* const tasks = opendir("/proc/self/task")) {
        while (dirent const* const entry = readdir(tasks))
            threads += entry->d_name[0] != '.' ? 1 : 0;
        closedir(tasks);
    }
    return threads;
}

// With a queue of range(0) MiB (and a store large enough that its size limit
// removes nothing), reports until the core refuses an event for a full queue,
// then times OnShutdown. What is on disk when it returns (in the database, or
// spilled) is what survives should the process now exit.
void FinalizeFullQueue(benchmark::State& state)
{
    long long accepted = 0, kept = 0, removed = 0;
    QdxBench::ConfigureLocalCore("QDX_LOCALCORE_QUEUE_BYTES=" + std::to_string(state.range(0)) +
                                 "M\nQDX_LOCALCORE_MAX_BYTES=1G\n");
    for (auto _ : state) {
        QdxString const sessionId = UseCoreCompanion(CoreCompanion::LocalCore, true);
        Event event;
        accepted = 0;
        for (unsigned int code = 0; code != kQueueFull;) {
            code = TrackEvent(sessionId, event.core, nullptr);
            accepted += code == 0 ? 1 : 0;
        }
        int const threads = ThreadCount();
        Clock::time_point const start = Clock::now();
        QdxBench::UnloadCoreCompanion();
        state.SetIterationTime(Seconds(start));
        kept = QdxBench::RecordsOnDisk(&removed);
        // A writer that did not stop in time goes on in this process: the
        // next measurement waits until it has ended.
        for (Clock::time_point const until = Clock::now() + std::chrono::minutes(2);
             ThreadCount() >= threads && Clock::now() < until;)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    QdxBench::ConfigureLocalCore("");
    state.counters["accepted"] = static_cast<double>(accepted);
    state.counters["removed_by_limits"] = static_cast<double>(removed);
    state.counters["lost_on_exit"] = static_cast<double>(accepted - kept - removed);
}

}  // namespace

int main(int argc, char** argv)
{
    QdxBench::RequireIsolation(argv[0]);
    int exitCode;
    if (QdxBench::RunForInstructionCount(argc, argv, Operations(), exitCode)) {
        if (s_refused > 0) {
            std::fprintf(stderr, "%lld events were refused: not a count of kept events\n", s_refused.load());
            return 1;
        }
        return exitCode;
    }
    for (CoreCompanion const companion : {CoreCompanion::Instant, CoreCompanion::LocalCore})
        benchmark::RegisterBenchmark(companion == CoreCompanion::Instant ? "track_event_instant"
                                                                         : "track_event_local_core",
                                     TrackEventTimed, companion)
            ->Iterations(2000)
            ->Threads(1)
            ->Threads(2)
            ->UseRealTime();
    benchmark::RegisterBenchmark("throughput", Throughput)
        ->Args({50000, 0})
        ->Args({50000, 50000})
        ->Args({50000, 100000})
        ->Iterations(1)
        ->UseManualTime();
    benchmark::RegisterBenchmark("disk_bytes", DiskBytes)
        ->Args({100000, 0})
        ->Args({100000, 1})
        ->Iterations(1)
        ->UseManualTime();
    benchmark::RegisterBenchmark("finalize_full_queue", FinalizeFullQueue)
        ->Arg(8)
        ->Arg(64)
        ->Arg(256)
        ->Iterations(1)
        ->UseManualTime();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
