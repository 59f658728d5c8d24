// The local core's upload (companions/localcore/Uploader.cpp) to a collector
// on the loopback address (LoopbackCollector.h), as an application meets it:
//  - upload_rate/gzip:G: range(0) records stored while no endpoint is set,
//    then the core is loaded again with one: records uploaded per second,
//    from the first request to the last answer, in the default batches (at
//    most 512 records and 1 MiB of body before gzip);
//  - track_event_upload_off, track_event_upload_on: TrackEvent through the
//    local core at about 15,000 calls a second for four seconds, without an
//    endpoint and with one while the upload thread sends each second; the
//    calling thread's processor time per call ("CPU") is what the ratio of
//    the two compares: each run with upload reports it as "cpu_ratio",
//    against the runs without so far (--benchmark_enable_random_interleaving
//    alternates them).
//  --instructions=track_event_upload_on:COUNT (or _off) counts the calling
//    thread's instructions per TrackEvent instead (bench/instruction_ratio.sh),
//    which a busy machine does not disturb.
// The local core keeps its store under the home folder, so the program runs
// only inside tests/isolate.sh. See docs/performance.md.
#include "CoreCompanionChoice.h"
#include "CoreEvent.h"
#include "InstructionCount.h"
#include "LoopbackCollector.h"
#include "QdxEvents.h"

#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>

using namespace Norvane::QDXDesktopSDK;
using QdxBench::CoreCompanion;
using QdxBench::UseCoreCompanion;

namespace {

using Clock = std::chrono::steady_clock;

QdxBench::LoopbackCollector& Collector()
{
    static QdxBench::LoopbackCollector collector;
    return collector;
}

std::string UploadConfiguration(bool gzip)
{
    return "upload_endpoint=" + Collector().Endpoint() + "\nupload_interval_s=1\nupload_gzip=" + (gzip ? "on" : "off") +
           "\nQDX_LOCALCORE_MAX_BYTES=1G\n";
}

long long Counter(char const* name)
{
    return static_cast<long long>(QdxBench::LocalCoreStoreStatus()["counters"][name]);
}

void FlushUntilDone()
{
    for (int attempt = 0; FlushEvent(nullptr) != 0; ++attempt) {
        if (attempt == 30) {
            std::fprintf(stderr, "the local core's writer does not catch up: see GetStoreStatus\n");
            std::exit(1);
        }
    }
}

void UploadRate(benchmark::State& state)
{
    long long const records = state.range(0);
    bool const gzip = state.range(1) != 0;
    long long sent = 0;
    double seconds = 0;
    for (auto _ : state) {
        QdxBench::ConfigureLocalCore("QDX_LOCALCORE_MAX_BYTES=1G\n");
        QdxString const sessionId = UseCoreCompanion(CoreCompanion::LocalCore, true);
        Facet::Core event(nullptr, false);
        QdxBench::FillCoreEvent(event);
        for (long long i = 0; i < records; ++i) {
            if (i % 2000 == 1999)
                FlushUntilDone();
            TrackEvent(sessionId, event, nullptr);
        }
        FlushUntilDone();
        QdxBench::ConfigureLocalCore(UploadConfiguration(gzip));
        QdxBench::UnloadCoreCompanion();
        Collector().Reset();
        UseCoreCompanion(CoreCompanion::LocalCore);  // the core starts again, with the endpoint
        Clock::time_point const until = Clock::now() + std::chrono::minutes(5);
        while ((sent = Counter("upload_records_sent")) < records && Clock::now() < until)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        seconds = Collector().BusySeconds();
        state.SetIterationTime(seconds);
    }
    state.counters["sent"] = static_cast<double>(sent);
    state.counters["records_per_s"] = static_cast<double>(sent) / seconds;
    state.counters["requests"] = static_cast<double>(Collector().Requests());
    state.counters["records_per_request"] =
        static_cast<double>(sent) / static_cast<double>(std::max(1LL, Collector().Requests()));
    state.counters["body_bytes_per_record"] =
        static_cast<double>(Collector().BodyBytes()) / static_cast<double>(std::max(1LL, sent));
    QdxBench::ConfigureLocalCore("");
}

std::atomic<long long> s_refused{0};

double ThreadCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// The calling thread's processor time per call of every run without upload
// so far, which each run with upload is set against.
double s_offCpuPerCallSum = 0;
int s_offRuns = 0;

// A fixed number of calls, so that the core's queue never fills.
void TrackEventTimed(benchmark::State& state, bool upload)
{
    QdxBench::ConfigureLocalCore(upload ? UploadConfiguration(true) : std::string("QDX_LOCALCORE_MAX_BYTES=1G\n"));
    QdxString const sessionId = UseCoreCompanion(CoreCompanion::LocalCore, true);
    FlushUntilDone();
    // Both alike, so that only the upload differs: by then the upload
    // thread has started and sends what comes each second.
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    Facet::Core event(nullptr, false);
    QdxBench::FillCoreEvent(event);
    s_refused = 0;
    long long calls = 0;
    double const cpu = ThreadCpuSeconds();
    for (auto _ : state) {
        // About 15,000 events a second, a heavy application: the upload thread
        // sends a second's worth at each interval while the calls go on. The
        // pauses cost the calling thread no processor time.
        if (++calls % 20 == 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (TrackEvent(sessionId, event, nullptr) != 0)
            ++s_refused;
    }
    double const cpuPerCall = (ThreadCpuSeconds() - cpu) / static_cast<double>(state.iterations());
    state.SetItemsProcessed(state.iterations());
    state.counters["refused"] = static_cast<double>(s_refused.load());
    FlushUntilDone();
    if (upload) {
        state.counters["uploaded"] = static_cast<double>(Counter("upload_records_sent"));
        if (s_offRuns > 0)
            state.counters["cpu_ratio"] = cpuPerCall / (s_offCpuPerCallSum / s_offRuns);
    } else {
        s_offCpuPerCallSum += cpuPerCall;
        ++s_offRuns;
    }
}

// TrackEvent for counting instructions; its first call, outside the count,
// loads the core and waits until the upload thread (when wanted) has started.
std::function<void()> CountedTrackEvent(bool upload)
{
    struct State {
        QdxString sessionId;
        Facet::Core event{nullptr, false};
    };
    auto state = std::make_shared<State>();
    return [state, upload, ready = false]() mutable {
        if (!ready) {
            QdxBench::ConfigureLocalCore(upload ? UploadConfiguration(true)
                                                : std::string("QDX_LOCALCORE_MAX_BYTES=1G\n"));
            state->sessionId = UseCoreCompanion(CoreCompanion::LocalCore, true);
            QdxBench::FillCoreEvent(state->event);
            std::this_thread::sleep_for(std::chrono::milliseconds(1500));
            ready = true;
        }
        if (TrackEvent(state->sessionId, state->event, nullptr) != 0)
            ++s_refused;
    };
}

}  // namespace

int main(int argc, char** argv)
{
    QdxBench::RequireIsolation(argv[0]);
    int exitCode;
    QdxBench::Operations const operations = {{"track_event_upload_off", CountedTrackEvent(false)},
                                             {"track_event_upload_on", CountedTrackEvent(true)}};
    if (QdxBench::RunForInstructionCount(argc, argv, operations, exitCode)) {
        if (s_refused > 0) {
            std::fprintf(stderr, "%lld events were refused: not a count of kept events\n", s_refused.load());
            return 1;
        }
        return exitCode;
    }
    benchmark::RegisterBenchmark("upload_rate", UploadRate)
        ->ArgNames({"records", "gzip"})
        ->Args({20000, 1})
        ->Args({20000, 0})
        ->Iterations(1)
        ->UseManualTime();
    for (bool const upload : {false, true})
        benchmark::RegisterBenchmark(upload ? "track_event_upload_on" : "track_event_upload_off", TrackEventTimed,
                                     upload)
            ->Iterations(60000);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
