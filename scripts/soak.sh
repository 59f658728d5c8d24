#!/usr/bin/env bash
# The soak test at full size: 10^6 exported calls from two threads through
# fake companions, then 1,000 cycles of OnShutdown and reloading (see
# tests/soak/SoakProgram.cpp). The test command runs it briefly.
#   scripts/soak.sh [PRESET]     (default: default)
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-default}
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target qdx_soak
exec tests/isolate.sh "$PWD" "$PWD/build/$preset" "build/$preset/tests/soak/qdx_soak" 1000000 1000
