// An exported call (HeartBeat) on a machine without any companion, through
// the shared library as an application links it, beside a single failing
// stat, the unit of what such a call costs now that it searches only when a
// stat shows a change. The program lies in a folder of its own, so that no
// companion is found beside it or beside the library; the configured folder
// is the user's (usually none). --instructions=NAME:COUNT runs one operation
// COUNT times, for counting instructions (instruction_ratio.sh) or system
// calls (syscall_count.sh).
#include "InstructionCount.h"
#include "QdxEvents.h"

#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

using namespace Norvane::QDXDesktopSDK;
namespace fs = std::filesystem;

namespace {

void AbsentCall()
{
    benchmark::DoNotOptimize(HeartBeat("4f6c2a9e-7d31-4b8e-9c55-0e2f1a7b3d64", HeartBeatType_Machine));
}

void OneStat()
{
    static std::string const missing = (fs::read_symlink("/proc/self/exe").parent_path() / "QdxSDKCore.so").string();
    struct stat status;
    benchmark::DoNotOptimize(stat(missing.c_str(), &status));
}

QdxBench::Operations const& Operations()
{
    static QdxBench::Operations const operations = {{"absent_call", &AbsentCall}, {"one_stat", &OneStat}};
    return operations;
}

// The library trusts the stat of a folder only once its last change lies
// three seconds back (file systems stamp changes with a coarse clock), and
// searches in full until then: wait until the folders of the program and of
// the library, freshly built, have settled.
void WaitUntilTheFoldersSettle()
{
    Dl_info library{};
    dladdr(reinterpret_cast<void*>(&HeartBeat), &library);
    for (fs::path const& file : {fs::read_symlink("/proc/self/exe"), fs::path(library.dli_fname)}) {
        auto const settled = fs::last_write_time(fs::absolute(file).parent_path()) + std::chrono::milliseconds(3100);
        std::this_thread::sleep_until(settled);
    }
}

char const* NotReady()
{
    return HeartBeat("s", HeartBeatType_Machine) == 1 ? nullptr : "a companion was found: this measures its absence";
}

}  // namespace

int main(int argc, char** argv)
{
    WaitUntilTheFoldersSettle();
    return QdxBench::Main(argc, argv, Operations(), NotReady);
}
