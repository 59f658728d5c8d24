#ifndef QDX_BENCH_INSTRUCTION_COUNT_H
#define QDX_BENCH_INSTRUCTION_COUNT_H

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>

// Instruction counting starts and stops at this function (callgrind --toggle-collect).
extern "C" __attribute__((noinline)) inline void qdx_measured_loop(std::function<void()> const* operation, long count)
{
    for (long i = 0; i < count; ++i)
        (*operation)();
}

namespace QdxBench {

using Operations = std::map<std::string, std::function<void()>>;

/// With the single argument --instructions=NAME:COUNT, runs the operation
/// NAME once (first-use costs stay outside the count), then COUNT times in
/// qdx_measured_loop, and returns true with the exit code in `exitCode` (2
/// for an unknown name). Otherwise returns false: run the benchmarks.
inline bool RunForInstructionCount(int argc, char** argv, Operations const& operations, int& exitCode)
{
    char const prefix[] = "--instructions=";
    if (argc != 2 || std::strncmp(argv[1], prefix, sizeof prefix - 1) != 0)
        return false;
    std::string const request = argv[1] + sizeof prefix - 1;
    std::string const name = request.substr(0, request.find(':'));
    auto const operation = operations.find(name);
    exitCode = operation == operations.end() ? 2 : 0;
    if (operation != operations.end()) {
        operation->second();
        qdx_measured_loop(&operation->second, std::atol(request.c_str() + name.size() + 1));
    }
    return true;
}

/// Tells why the benchmarks cannot run (a companion that did not load), or
/// null when they can.
using ReadinessCheck = char const* (*)();

/// One benchmark of an operation: run in the loop, counted as items.
inline void RunOperation(benchmark::State& state, std::function<void()> const& operation, ReadinessCheck notReady)
{
    if (char const* const reason = notReady != nullptr ? notReady() : nullptr)
        state.SkipWithError(reason);
    for (auto _ : state)
        operation();
    state.SetItemsProcessed(state.iterations());
}

/// The main program of a benchmark of operations: counts instructions when
/// asked (see RunForInstructionCount), else registers every operation as a
/// benchmark and runs the benchmarks, those registered before included.
inline int Main(int argc, char** argv, Operations const& operations, ReadinessCheck notReady = nullptr)
{
    int exitCode;
    if (RunForInstructionCount(argc, argv, operations, exitCode))
        return exitCode;
    for (auto const& [name, operation] : operations)
        benchmark::RegisterBenchmark(name.c_str(), RunOperation, operation, notReady);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

}  // namespace QdxBench

#endif
