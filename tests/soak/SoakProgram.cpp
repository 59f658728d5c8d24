// A long run through the exported interface, as an application makes it:
//
//     qdx_soak CALLS CYCLES
//
// sends CALLS messages (TrackEvent, HeartBeat and IsOptedIn in turn) from two
// threads through fake companions, then shuts the companions down and loads
// them again CYCLES times. It fails (exit code 1) when a call does not
// succeed, when resident memory at the end exceeds its level after the first
// tenth of the calls by more than 1 MiB, or when the cycles leave a file
// descriptor or a thread behind. It runs in the isolating launcher's private
// /tmp and home folder; elsewhere it exits with code 77 (skipped).
#include "FakeCompanions.h"
#include "QdxDesktopSDK.h"

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

using namespace Norvane::QDXDesktopSDK;
namespace fs = std::filesystem;

namespace {

fs::path const kCompanionFolder = "/tmp/soak-companions";
std::atomic<long> s_failedCalls{0};

/// Copies a fake companion into the companion folder and sets it to answer
/// every message with success and to keep no record of it.
bool InstallFake(char const* built)
{
    fs::path const copy = kCompanionFolder / fs::path(built).filename();
    std::error_code error;
    fs::copy_file(built, copy, fs::copy_options::overwrite_existing, error);
    // Stays open, as the same file that the library will load.
    void* const fake = dlopen(copy.c_str(), RTLD_LAZY);
    if (error || fake == nullptr)
        return false;
    reinterpret_cast<void (*)(int)>(dlsym(fake, "FakeSetRecording"))(0);
    reinterpret_cast<void (*)(char const*)>(dlsym(fake, "FakeSetAnswer"))("{\"_returnCode\": 0}");
    return true;
}

void Expect(unsigned int code)
{
    if (code != 0)
        ++s_failedCalls;
}

/// `count` calls, each kind in turn, with an event of a few facets.
void Send(long count)
{
    Facet::Core core(nullptr, false);
    JsonValue& product = core.GetFacetByName("product", Facet::Core::FacetCreate)->Data();
    product["product_name"] = "QdxSoak";
    product["product_version"] = "1.0.0.1";
    JsonValue& content = core.GetFacetByName("content", Facet::Core::FacetCreate)->Data();
    content["content_type"] = "text/plain";
    content["content_size"] = 1234;
    QdxString const session("5c1d2e3f-4a5b-6c7d-8e9f-0a1b2c3d4e5f");
    for (long i = 0; i < count; ++i) {
        switch (i % 3) {
        case 0:
            Expect(TrackEvent(session, core, nullptr));
            break;
        case 1:
            Expect(HeartBeat(session, HeartBeatType_User));
            break;
        default: {
            JsonValue preferences;
            Expect(IsOptedIn(&preferences));
        }
        }
    }
}

void SendFromTwoThreads(long count)
{
    std::thread first(Send, count / 2), second(Send, count - count / 2);
    first.join();
    second.join();
}

long ResidentKiB()
{
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

long EntriesOf(char const* folder)
{
    long count = 0;
    for ([[maybe_unused]] fs::directory_entry const& entry : fs::directory_iterator(folder))
        ++count;
    return count;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3 || std::atol(argv[1]) < 10 || std::atol(argv[2]) < 1) {
        std::fprintf(stderr, "usage: qdx_soak CALLS CYCLES (at least 10 calls and 1 cycle)\n");
        return 2;
    }
    if (std::getenv("QDX_TEST_ISOLATED") == nullptr) {
        std::printf("skipped: writes to /tmp and the home folder, so it runs only through tests/isolate.sh\n");
        return 77;
    }
    long const calls = std::atol(argv[1]), cycles = std::atol(argv[2]);
    fs::create_directories(kCompanionFolder);
    for (char const* fake :
         {FakeCompanions::kFakeCore_1_0, FakeCompanions::kFakeUi_1_0, FakeCompanions::kFakeGlint_1_0}) {
        if (!InstallFake(fake)) {
            std::printf("FAIL: cannot install the fake companion %s\n", fake);
            return 1;
        }
    }
    SetLibraryPath(QdxString(kCompanionFolder.c_str()));

    SendFromTwoThreads(calls / 10);
    long const residentEarly = ResidentKiB();
    SendFromTwoThreads(calls - calls / 10);
    long const residentLate = ResidentKiB();

    long const descriptorsBefore = EntriesOf("/proc/self/fd"), threadsBefore = EntriesOf("/proc/self/task");
    JsonValue ping;
    for (long cycle = 0; cycle < cycles; ++cycle) {
        OnShutdown();
        Expect(HeartBeat("s", HeartBeatType_Machine));
        Expect(InternalProcessMessage("QdxSDKUI.Ping", ping));
        Expect(InternalProcessMessage("GlintCore.Ping", ping));
    }
    long const descriptorsAfter = EntriesOf("/proc/self/fd"), threadsAfter = EntriesOf("/proc/self/task");

    std::printf("calls: %ld from two threads, %ld failed\n", calls, s_failedCalls.load());
    std::printf("resident memory: %ld KiB after %ld calls, %ld KiB after %ld\n", residentEarly, calls / 10,
                residentLate, calls);
    std::printf("after %ld cycles of shut-down and reload: descriptors %ld -> %ld, threads %ld -> %ld\n", cycles,
                descriptorsBefore, descriptorsAfter, threadsBefore, threadsAfter);
    bool passed = s_failedCalls == 0 && descriptorsAfter == descriptorsBefore && threadsAfter == threadsBefore;
#ifdef QDX_SOAK_SANITIZED
    std::printf("resident memory not judged: the sanitizer's allocator holds freed memory back\n");
#else
    passed = passed && residentLate - residentEarly <= 1024;
#endif
    std::printf("%s\n", passed ? "soak: ok" : "FAIL");
    return passed ? 0 : 1;
}
