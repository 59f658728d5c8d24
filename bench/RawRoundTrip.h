#ifndef QDX_BENCH_RAW_ROUND_TRIP_H
#define QDX_BENCH_RAW_ROUND_TRIP_H

#include "values/RapidJson.h"

#include <benchmark/benchmark.h>

namespace QdxBench {

/// The reference that the benchmarks compare with: the parser library alone
/// writes `document` as pretty text and parses the text back.
inline void RawRoundTrip(Norvane::QDXDesktopSDK::JsonDocument const& document)
{
    Norvane::QDXDesktopSDK::JsonTextBuffer buffer;
    Norvane::QDXDesktopSDK::JsonPrettyWriter writer(buffer);
    document.Accept(writer);
    Norvane::QDXDesktopSDK::JsonDocument parsed;
    parsed.Parse(buffer.GetString());
    benchmark::DoNotOptimize(parsed.HasParseError());
}

}  // namespace QdxBench

#endif
