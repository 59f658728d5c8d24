// One message through a loaded fake companion that answers at once with the
// argument text itself, beside the same text's round trip through the value
// types alone, through the parser library alone, and a direct call of the
// companion's entry point; and the cost of a first message: locating the
// companion among candidate folders by their version stamps, loading and
// initialising it. --instructions=NAME:COUNT counts one operation (see
// instruction_ratio.sh).
#include "EventBody.h"
#include "FakeCompanions.h"
#include "InstructionCount.h"
#include "RawRoundTrip.h"
#include "companion/LibraryMessageSender.h"
#include "companion/LibraryPathManager.h"
#include "values/RapidJson.h"

#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <unistd.h>

#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

struct Fixture {
    void* fake = dlopen(FakeCompanions::kFakeCore_2_0, RTLD_LAZY);
    LibraryMessageSender sender{"QdxSDKCore.so", "_QdxSDKCore", nullptr};
    JsonValue body = QdxBench::MakeEventBody();
    std::string text = body.GetJsonString().c_str();
    JsonDocument document;
    MessageSender::ProcessMessageFunction process = nullptr;
    MessageSender::FreeMessageFunction release = nullptr;

    Fixture()
    {
        // The fake answers with what it receives, and keeps no record of it.
        reinterpret_cast<void (*)(int)>(dlsym(fake, "FakeSetEcho"))(1);
        reinterpret_cast<void (*)(int)>(dlsym(fake, "FakeSetRecording"))(0);
        sender.LoadLibraryWithPath(Path(FakeCompanions::kFakeCore_2_0).Parent());
        process = reinterpret_cast<MessageSender::ProcessMessageFunction>(dlsym(fake, "ProcessMessage_QdxSDKCore"));
        release = reinterpret_cast<MessageSender::FreeMessageFunction>(dlsym(fake, "FreeMessage_QdxSDKCore"));
        document.Parse(text.c_str());
    }
};

Fixture& Shared()
{
    static Fixture fixture;
    return fixture;
}

QdxBench::Operations const& Operations()
{
    static QdxBench::Operations const operations = {
        {"channel_round_trip",
         [] {
             JsonValue result;
             benchmark::DoNotOptimize(Shared().sender.SendMessage("TrackEvent", Shared().body, result));
         }},
        {"value_round_trip",
         [] {
             JsonValue result;
             benchmark::DoNotOptimize(result.FromJsonString(Shared().body.GetJsonString()));
         }},
        {"raw_round_trip", [] { QdxBench::RawRoundTrip(Shared().document); }},
        {"direct_call", [] { Shared().release(Shared().process("TrackEvent", Shared().text.c_str())); }},
    };
    return operations;
}

char const* NotReady()
{
    return Shared().sender.IsLoaded() ? nullptr : "the fake companion did not load";
}

// Three candidate folders: a configured one and an extra one holding copies of
// different versions, and this program's own folder, which holds none.
void FirstMessage(benchmark::State& state)
{
    Path const root("/tmp/qdx-channel-bench-" + std::to_string(getpid()));
    Path const configured = root.Append("configured");
    Path const extra = root.Append("extra");
    Path(FakeCompanions::kFakeCore_1_0).CopyFile(configured.Append("QdxSDKCore.so"));
    Path(FakeCompanions::kFakeCore_2_1).CopyFile(extra.Append("QdxSDKCore.so"));
    LibraryPathManager::SSetWorkingPath(root);
    LibraryMessageSender::SetLibraryPath(configured, false);
    for (auto _ : state) {
        LibraryMessageSender sender("QdxSDKCore.so", "_QdxSDKCore", nullptr);
        sender.SetWorkingPath(root);
        benchmark::DoNotOptimize(sender.LoadLibraryWithPath(sender.LocateLibrary(false, true, extra.c_str())));
    }
    root.Delete(true, nullptr, nullptr);
}

}  // namespace

int main(int argc, char** argv)
{
    benchmark::RegisterBenchmark("first_message", FirstMessage)->Unit(benchmark::kMicrosecond);
    return QdxBench::Main(argc, argv, Operations(), NotReady);
}
