// Path::Compare beside a plain strcasecmp of the same two texts. Compare
// canonicalises both sides (realpath of each, the current folder for a
// relative one), so the ratio shows what the file-system round trips cost
// over the text comparison itself, for paths that exist (written the same or
// differently), paths in another case (which the system does not find) and
// paths that do not exist.
#include "support/Path.h"

#include <benchmark/benchmark.h>

#include <strings.h>

using Norvane::QDXDesktopSDK::Path;

namespace {

struct Pair {
    char const* left;
    char const* right;
};

Pair const kIdentical{"/usr/lib/os-release", "/usr/lib/os-release"};
Pair const kEqual{"/usr/lib", "/usr/lib/"};
Pair const kDifferentCase{"/usr/lib", "/USR/LIB"};
Pair const kMissing{"/no/such/folder/file.so", "/No/Such/Folder/File.so"};
Pair const kRelative{"no/such/file.so", "No/Such/File.so"};

void PathCompare(benchmark::State& state, Pair pair)
{
    Path const left(pair.left);
    Path const right(pair.right);
    for (auto _ : state)
        benchmark::DoNotOptimize(left.Compare(right));
}

void TextCompare(benchmark::State& state, Pair pair)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(pair.left);
        benchmark::DoNotOptimize(pair.right);
        benchmark::DoNotOptimize(strcasecmp(pair.left, pair.right));
    }
}

}  // namespace

BENCHMARK_CAPTURE(PathCompare, identical, kIdentical);
BENCHMARK_CAPTURE(TextCompare, identical, kIdentical);
BENCHMARK_CAPTURE(PathCompare, equal, kEqual);
BENCHMARK_CAPTURE(TextCompare, equal, kEqual);
BENCHMARK_CAPTURE(PathCompare, different_case, kDifferentCase);
BENCHMARK_CAPTURE(TextCompare, different_case, kDifferentCase);
BENCHMARK_CAPTURE(PathCompare, missing, kMissing);
BENCHMARK_CAPTURE(TextCompare, missing, kMissing);
BENCHMARK_CAPTURE(PathCompare, relative, kRelative);
BENCHMARK_CAPTURE(TextCompare, relative, kRelative);

BENCHMARK_MAIN();
