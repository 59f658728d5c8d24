// A fleet in miniature: eight processes of the example application at once,
// again and again, on one machine (one database), uploading to a receiver
// that refuses half of the requests with 503. Every record must arrive, with
// few duplicates, and no calling thread may wait on the network: the example
// calls the library from its main thread only, and a probe preloaded into it
// notes every libcurl call that sends, receives or waits, with its thread.
#include "LoadTestFiles.h"
#include "OtlpReceiver.h"
#include "TestIsolation.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;
using UploadTesting::OtlpReceiver;
using UploadTesting::ReceivedRecord;

constexpr int kProcesses = 8;
constexpr int kRunsEach = 25;
// Each run of the example reports two events and a heartbeat.
std::multiset<std::string> const kEventsOfARun = {"TrackEvent", "TrackEvent", "HeartBeat"};
// Bounds the wait for what the last processes left; a fleet that never
// delivers fails here instead of hanging. Not a measure of speed.
constexpr auto kDrainBound = std::chrono::minutes(2);

std::string ReadFile(fs::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

struct ExampleRun {
    int status = -1;  // the wait status
    std::string sessionId;
    std::string output;
};

// The example application installed in a folder of its own: the core
// beside a qdxdesktopsdk.env that sends to the receiver.
class ExampleInstallation {
public:
    explicit ExampleInstallation(fs::path folder) : m_folder(std::move(folder))
    {
        fs::create_directories(m_folder / "companions");
        fs::copy_file(LoadTestFiles::kCore, m_folder / "companions" / "QdxSDKCore.so");
        fs::copy_file(LoadTestFiles::kDialogStrings, m_folder / "companions" / "QdxSDKCore.dialog-strings.json");
    }

    void Configure(std::string const& text) { std::ofstream(m_folder / "companions" / "qdxdesktopsdk.env") << text; }
    fs::path ProbeFile() const { return m_folder / "curl-probe.txt"; }

    // One run of the example, with the probe preloaded.
    ExampleRun RunOnce()
    {
        fs::path const output = m_folder / ("run-" + std::to_string(++m_runs) + ".out");
        std::string const companions = (m_folder / "companions").string();
        std::vector<std::string> arguments = {LoadTestFiles::kExample, companions};
        std::vector<std::string> environment = {std::string("LD_PRELOAD=") + LoadTestFiles::kCurlProbe,
                                                "QDX_CURL_PROBE_FILE=" + ProbeFile().string()};
        for (char** variable = environ; *variable != nullptr; ++variable)
            if (std::string(*variable).rfind("LD_PRELOAD=", 0) != 0)
                environment.emplace_back(*variable);
        auto const pointers = [](std::vector<std::string>& texts) {
            std::vector<char*> result;
            for (auto& text : texts)
                result.push_back(text.data());
            result.push_back(nullptr);
            return result;
        };
        std::vector<char*> argv = pointers(arguments);
        std::vector<char*> envp = pointers(environment);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
        ExampleRun run;
        pid_t pid = -1;
        if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()) == 0)
            waitpid(pid, &run.status, 0);
        posix_spawn_file_actions_destroy(&actions);
        run.output = ReadFile(output);
        std::smatch session;
        if (std::regex_search(run.output, session, std::regex("\n  session ([0-9a-f-]+)\n")))
            run.sessionId = session[1];
        return run;
    }

private:
    fs::path const m_folder;
    std::atomic<int> m_runs{0};
};

// What the receiver took, by session: the event names of the distinct
// records, and how many arrived more than once.
struct Delivery {
    std::map<std::string, std::multiset<std::string>> eventsBySession;
    int records = 0;
    int duplicates = 0;
};

Delivery Tally(std::vector<ReceivedRecord> const& records)
{
    Delivery delivery;
    std::set<std::string> seen;
    for (auto const& record : records) {
        ++delivery.records;
        if (!seen.insert(record.recordId).second) {
            ++delivery.duplicates;
            continue;
        }
        delivery.eventsBySession[record.sessionId].insert(record.eventName);
    }
    return delivery;
}

bool EveryRunDelivered(std::vector<ExampleRun> const& runs, Delivery const& delivery)
{
    for (auto const& run : runs) {
        auto const events = delivery.eventsBySession.find(run.sessionId);
        if (events == delivery.eventsBySession.end() || events->second != kEventsOfARun)
            return false;
    }
    return true;
}

// The log of the core in the test's private home folder.
fs::path CoreLog()
{
    char const* const home = std::getenv("HOME");
    return fs::path(home != nullptr ? home : "/") / ".norvane/UI/Norvane/QDXSDK/localcore/core.log";
}

class LoadTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        QDX_REQUIRE_ISOLATION();
        QDX_REQUIRE_OTLP_RECEIVER();
    }
};

TEST_F(LoadTest, EightProcessesDeliverEveryRecordToACollectorThatRefusesHalf)
{
    OtlpReceiver receiver;
    // At most three refusals in a row keep the shared back-off, and so the
    // test, short; Retry-After asks for a second at least.
    ASSERT_TRUE(receiver.Start("refuse=0.5:retry-after=1:max-streak=3", 17)) << receiver.Problem();
    ExampleInstallation example(fs::temp_directory_path() / "qdx-upload-load");
    example.Configure("upload_endpoint=" + receiver.Endpoint() + "\nupload_interval_s=1\n");

    std::vector<ExampleRun> runs;
    std::mutex runsMutex;
    std::vector<std::thread> processes;
    for (int process = 0; process < kProcesses; ++process)
        processes.emplace_back([&] {
            for (int i = 0; i < kRunsEach; ++i) {
                ExampleRun run = example.RunOnce();
                std::lock_guard<std::mutex> const lock(runsMutex);
                runs.push_back(std::move(run));
            }
        });
    for (auto& process : processes)
        process.join();

    int const refusedUnderLoad = receiver.CountOutcome("refused");

    // What the last processes could not send waits for the next process
    // that loads the core, as on a user's machine. The collector recovers
    // first: while it refuses, each such run would leave records of its own.
    ASSERT_TRUE(receiver.Restart("200")) << receiver.Problem();
    Delivery delivery = Tally(receiver.Records());
    int drainRuns = 0;
    for (auto const deadline = std::chrono::steady_clock::now() + kDrainBound;
         !EveryRunDelivered(runs, delivery) && std::chrono::steady_clock::now() < deadline; ++drainRuns) {
        runs.push_back(example.RunOnce());
        delivery = Tally(receiver.Records());
    }

    for (auto const& run : runs) {
        ASSERT_TRUE(WIFEXITED(run.status) && WEXITSTATUS(run.status) == 0) << run.output;
        ASSERT_FALSE(run.sessionId.empty()) << run.output;
        ASSERT_TRUE(std::regex_search(run.output, std::regex("\nTrackEvent open +0 "))) << run.output;
    }
    std::vector<std::string> undelivered;
    for (auto const& run : runs) {
        auto const events = delivery.eventsBySession.find(run.sessionId);
        if (events == delivery.eventsBySession.end() || events->second != kEventsOfARun)
            undelivered.push_back(run.sessionId);
    }
    EXPECT_TRUE(undelivered.empty()) << undelivered.size() << " of " << runs.size()
                                     << " sessions not delivered whole, the first " << undelivered.front()
                                     << "; the core's log:\n"
                                     << ReadFile(CoreLog());
    EXPECT_EQ(delivery.eventsBySession.size(), runs.size()) << "records of sessions that no run opened";
    int const distinct = delivery.records - delivery.duplicates;
    EXPECT_LE(delivery.duplicates * 100, distinct)
        << delivery.duplicates << " duplicates of " << distinct << "; the core's log:\n"
        << ReadFile(CoreLog());
    EXPECT_TRUE(receiver.Errors().empty()) << receiver.Errors().front();
    EXPECT_GT(refusedUnderLoad, 0);

    std::string const probe = ReadFile(example.ProbeFile());
    EXPECT_EQ(probe.find("main-thread"), std::string::npos) << "a calling thread entered libcurl:\n" << probe;
    EXPECT_NE(probe.find("other-thread"), std::string::npos) << "the probe saw no upload at all";

    // Figures for the record (docs/fleet.md), not conditions.
    long long sent = 0, json = 0, accepted = 0, acceptedRecords = 0;
    for (auto const& request : receiver.Requests()) {
        sent += request.gzip ? request.bytes : 0;
        json += request.gzip ? request.jsonBytes : 0;
        if (request.outcome == "accepted") {
            ++accepted;
            acceptedRecords += request.records;
        }
    }
    std::cout << runs.size() << " runs of the example (" << drainRuns << " after the eight processes), "
              << receiver.Requests().size() << " requests: " << accepted << " accepted, "
              << receiver.CountOutcome("refused") << " refused; " << distinct << " records, " << delivery.duplicates
              << " duplicates; " << (accepted > 0 ? acceptedRecords / accepted : 0)
              << " records an accepted request; gzip " << sent << " of " << json << " bytes of JSON\n";
}

}  // namespace
