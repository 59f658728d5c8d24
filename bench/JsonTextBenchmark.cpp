// The JSON text conversion of a typical event body beside the parser
// library's own writing and parsing of the same document, in one program so
// that ratios can be quoted. Run with --instructions=NAME:COUNT to execute one
// operation COUNT times outside the benchmark framework, for instruction
// counting (see instruction_ratio.sh).
#include "EventBody.h"
#include "JsonValue.h"
#include "values/RapidJson.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
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
    JsonTextBuffer buffer;
    JsonPrettyWriter writer(buffer);
    Shared().document.Accept(writer);
    JsonDocument document;
    document.Parse(buffer.GetString());
    benchmark::DoNotOptimize(document.HasParseError());
}

std::map<std::string, std::function<void()>> const& Operations()
{
    static std::map<std::string, std::function<void()>> const operations = {
        {"library_write", LibraryWrite}, {"library_parse", LibraryParse},
        {"library_round_trip", LibraryRoundTrip}, {"library_deep_copy", LibraryDeepCopy},
        {"raw_write", RawWrite}, {"raw_parse", RawParse}, {"raw_round_trip", RawRoundTrip}};
    return operations;
}

void Run(benchmark::State& state, std::function<void()> const& operation)
{
    for (auto _ : state)
        operation();
}

}  // namespace

// Instruction counting starts and stops at this function (callgrind --toggle-collect).
extern "C" __attribute__((noinline)) void qdx_measured_loop(std::function<void()> const* operation, long count)
{
    for (long i = 0; i < count; ++i)
        (*operation)();
}

int main(int argc, char** argv)
{
    char const prefix[] = "--instructions=";
    if (argc == 2 && std::strncmp(argv[1], prefix, sizeof prefix - 1) == 0) {
        std::string const request = argv[1] + sizeof prefix - 1;
        std::string const name = request.substr(0, request.find(':'));
        auto const operation = Operations().find(name);
        if (operation == Operations().end())
            return 2;
        Shared();
        operation->second();  // first-use costs stay outside the count
        qdx_measured_loop(&operation->second, std::atol(request.c_str() + name.size() + 1));
        return 0;
    }
    for (auto const& [name, operation] : Operations())
        benchmark::RegisterBenchmark(name.c_str(), Run, operation);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
