// TrackEvent of a core facet container with four facets and 25 fields,
// through a core companion that answers at once, beside the parser library's
// own round trip (write, then parse) of the body that TrackEvent sends; with
// one and two threads, to show that nothing on the sending path waits for
// another thread. The companion is found in this program's own folder.
// --instructions=NAME:COUNT counts one operation (see instruction_ratio.sh).
#include "CoreEvent.h"
#include "InstructionCount.h"
#include "RawRoundTrip.h"
#include "QdxEvents.h"
#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "values/RapidJson.h"

#include <benchmark/benchmark.h>

#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

struct Fixture {
    Facet::Core core{nullptr, false};
    QdxString sessionId{"4f6c2a9e-7d31-4b8e-9c55-0e2f1a7b3d64"};
    JsonDocument sentBody;  // what TrackEvent sends, as the parser library's document

    Fixture()
    {
        QdxBench::FillCoreEvent(core);
        JsonValue body = core.Build(JsonValue());
        body["session_id"] = sessionId;
        body["_sdk_api_version"] = "5.5.34.5";
        sentBody.Parse(body.GetJsonString().c_str());
    }
};

// One per thread, as each application thread fills its own events.
Fixture& Shared()
{
    static thread_local Fixture fixture;
    return fixture;
}

void TrackOne()
{
    benchmark::DoNotOptimize(TrackEvent(Shared().sessionId, Shared().core, nullptr));
}

void RawRoundTrip()
{
    QdxBench::RawRoundTrip(Shared().sentBody);
}

QdxBench::Operations const& Operations()
{
    static QdxBench::Operations const operations = {{"track_event", &TrackOne}, {"raw_round_trip", &RawRoundTrip}};
    return operations;
}

char const* NotReady()
{
    return TrackEvent(Shared().sessionId, Shared().core, nullptr) == 0
               ? nullptr
               : "the instant companion did not answer (is QdxSDKCore.so beside this program?)";
}

}  // namespace

int main(int argc, char** argv)
{
    for (auto const& [name, operation] : Operations())
        benchmark::RegisterBenchmark((name + "_threads").c_str(), QdxBench::RunOperation, operation, NotReady)
            ->Threads(1)
            ->Threads(2)
            ->UseRealTime();
    return QdxBench::Main(argc, argv, Operations(), NotReady);
}
