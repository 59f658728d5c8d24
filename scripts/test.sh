#!/usr/bin/env bash
# The test command. Installs what is missing, checks that the sources are
# formatted, builds with warnings as errors, runs the whole suite in a normal
# build (with the binary compatibility gate; the interface tests also under
# valgrind's memcheck), runs each fuzz target briefly (when clang is there)
# and runs the whole suite again under AddressSanitizer with
# UndefinedBehaviorSanitizer and under ThreadSanitizer. After each run it
# reports the skipped tests and fails when one of them was expected to run.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
scripts/format.sh --check

run_suite() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1"
    local result=0
    ctest --preset "$1" || result=$?
    tests/report_skips.sh "build/$1"
    return "$result"
}

run_suite ci

if command -v clang++ >/dev/null; then
    cmake --preset ci-fuzz >/dev/null
    cmake --build --preset ci-fuzz
    fuzz/run-fuzzers.sh build/ci-fuzz "${QDX_FUZZ_SECONDS:-20}"
else
    echo "clang++ not found: fuzz targets not run"
fi

run_suite ci-tsan
run_suite ci-asan
