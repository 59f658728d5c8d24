// The cost of a message at a disabled level, the path every message of the
// companion channel takes at the default level, beside formatting the same
// message (the cost that testing the level first avoids).
#include "support/Logger.h"

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace Norvane::QDXDesktopSDK;

namespace {

char const kName[] = "TrackEvent";
char const kData[] = "{\n    \"event_name\": \"document_saved\",\n    \"product_id\": \"QdxEditor\"\n}";

Logger& DisabledLogger(benchmark::State& state)
{
    Logger& logger = *Logger::Instance(Singleton::GetOrCreate);
    logger.SetLogLevel(Logger::LogLevel_Info);
    if (logger.IsLogEnabled(Logger::LogLevel_Dev))
        state.SkipWithError("a marker file in /tmp (qdxdev) or a debugger enables level 6");
    return logger;
}

void TestLevelFirst(benchmark::State& state)
{
    Logger& logger = DisabledLogger(state);
    for (auto _ : state) {
        if (logger.IsLogEnabled(Logger::LogLevel_Dev))
            logger.Log(Logger::LogLevel_Dev, "CallProcessMessage: %s, data: %s", kName, kData);
    }
}
BENCHMARK(TestLevelFirst);

void FormattingVariant(benchmark::State& state)
{
    Logger& logger = DisabledLogger(state);
    for (auto _ : state)
        logger.Log(Logger::LogLevel_Dev, "CallProcessMessage: %s, data: %s", kName, kData);
}
BENCHMARK(FormattingVariant);

void FetchFromRegistryThenTest(benchmark::State& state)
{
    DisabledLogger(state);
    for (auto _ : state) {
        Logger* logger = Logger::Instance(Singleton::GetOrCreate);
        if (logger->IsLogEnabled(Logger::LogLevel_Dev))
            logger->Log(Logger::LogLevel_Dev, "CallProcessMessage: %s, data: %s", kName, kData);
    }
}
BENCHMARK(FetchFromRegistryThenTest);

void ReferenceFormatOnly(benchmark::State& state)
{
    char line[512];
    for (auto _ : state) {
        std::snprintf(line, sizeof line, "CallProcessMessage: %s, data: %s", kName, kData);
        benchmark::DoNotOptimize(line);
    }
}
BENCHMARK(ReferenceFormatOnly);

}  // namespace

BENCHMARK_MAIN();
