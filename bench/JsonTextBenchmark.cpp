// The JSON text conversion of a typical event body beside the parser
// library's own writing and parsing of the same document, in one program so
// that ratios can be quoted; --instructions=NAME:COUNT counts one operation
// (see instruction_ratio.sh).
#include "EventBody.h"
#include "InstructionCount.h"
#include "RawRoundTrip.h"
#include "JsonValue.h"
#include "values/RapidJson.h"

#include <benchmark/benchmark.h>

#include <string>

using namespace Norvane::QDXDesktopSDK;

namespace {

struct Fixture {
    JsonValue body = QdxBench::MakeEventBody();
    std::string text = body.GetJsonString().c_str();
    JsonDocument document;

    Fixture() { document.Parse(text.c_str()); }
};

Fixture& Shared()
{
    static Fixture fixture;
    return fixture;
}

void LibraryWrite()
{
    QdxString text = Shared().body.GetJsonString();
    benchmark::DoNotOptimize(text);
}

void LibraryParse()
{
    JsonValue value;
    benchmark::DoNotOptimize(value.FromJsonString(Shared().text.c_str()));
}

void LibraryRoundTrip()
{
    JsonValue value;
    benchmark::DoNotOptimize(value.FromJsonString(Shared().body.GetJsonString()));
}

void LibraryDeepCopy()
{
    JsonValue copy(Shared().body);
    benchmark::DoNotOptimize(copy);
}

void RawWrite()
{
    JsonTextBuffer buffer;
    JsonPrettyWriter writer(buffer);
    Shared().document.Accept(writer);
    benchmark::DoNotOptimize(buffer.GetString());
}

void RawParse()
{
    JsonDocument document;
    document.Parse(Shared().text.c_str());
    benchmark::DoNotOptimize(document.HasParseError());
}

void RawRoundTrip()
{
    QdxBench::RawRoundTrip(Shared().document);
}

QdxBench::Operations const& Operations()
{
    static QdxBench::Operations const operations = {{"library_write", LibraryWrite},
                                                    {"library_parse", LibraryParse},
                                                    {"library_round_trip", LibraryRoundTrip},
                                                    {"library_deep_copy", LibraryDeepCopy},
                                                    {"raw_write", RawWrite},
                                                    {"raw_parse", RawParse},
                                                    {"raw_round_trip", RawRoundTrip}};
    return operations;
}

}  // namespace

int main(int argc, char** argv)
{
    return QdxBench::Main(argc, argv, Operations());
}
