// TrackEvent of a core facet container with four facets and 25 fields,
// through a core companion that answers at once, beside the parser library's
// own round trip (write, then parse) of the body that TrackEvent sends; with
// one and two threads, to show that nothing on the sending path waits for
// another thread. The companion is found in this program's own folder.
// --instructions=NAME:COUNT counts one operation (see instruction_ratio.sh).
#include "Facet.h"
#include "FacetCore.h"
#include "InstructionCount.h"
#include "RawRoundTrip.h"
#include "QdxEvents.h"
#include "api/LibraryMessageSenderQDXSDKWrapper.h"
#include "values/RapidJson.h"

#include <benchmark/benchmark.h>

#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

void Fill(Facet::Core& core)
{
    JsonValue& product = core.GetFacetByName("product", Facet::Core::FacetCreate)->Data();
    product["product_name"] = "QdxEditor";
    product["product_version"] = "12.3.1.4567";
    product["product_locale"] = "en_US";
    product["product_build"] = 4567;
    product["product_channel"] = "release";
    product["product_platform"] = "linux-x86_64";
    JsonValue& user = core.GetFacetByName("user", Facet::Core::FacetCreate)->Data();
    user["user_guid"] = "9b1d7e52-3a64-4c0f-8e2d-51f7a9c0b3e8";
    user["user_type"] = "individual";
    user["user_region"] = "EU";
    user["user_plan"] = "trial";
    user["user_age_days"] = 12;
    user["user_is_trial"] = true;
    JsonValue& device = core.GetFacetByName("device", Facet::Core::FacetCreate)->Data();
    device["device_id"] = "d2c4e6f8-1a3b-4c5d-9e7f-0a1b2c3d4e5f";
    device["device_os"] = "Linux";
    device["device_os_version"] = "6.1.0-18-amd64";
    device["device_cpu_count"] = 8;
    device["device_memory_mb"] = 16384;
    device["device_screen_scale"] = 1.5;
    JsonValue& content = core.GetFacetByName("content", Facet::Core::FacetCreate)->Data();
    content["content_type"] = "application/pdf";
    content["content_size"] = 2483921;
    content["content_pages"] = 12;
    content["content_name"] = "report.pdf";
    content["content_is_shared"] = false;
    for (char const* tag : {"cloud", "shared", "signed", "large"})
        content["content_tags"][-1] = tag;
    content["content_meta"]["origin"] = "local";
}

struct Fixture {
    Facet::Core core{nullptr, false};
    QdxString sessionId{"4f6c2a9e-7d31-4b8e-9c55-0e2f1a7b3d64"};
    JsonDocument sentBody;  // what TrackEvent sends, as the parser library's document

    Fixture()
    {
        Fill(core);
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

void TrackOne() { benchmark::DoNotOptimize(TrackEvent(Shared().sessionId, Shared().core, nullptr)); }

void RawRoundTrip() { QdxBench::RawRoundTrip(Shared().sentBody); }

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
