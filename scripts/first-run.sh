#!/usr/bin/env bash
# A newcomer's first run: installs what is missing, builds the library,
# installs it into ./_install and runs an example program against that install.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default
cmake --install build/default --prefix _install >/dev/null
cmake -S examples -B build/examples -G Ninja -DCMAKE_PREFIX_PATH="$PWD/_install" >/dev/null
cmake --build build/examples
echo "--- build/examples/values_tour, linked against _install/lib/libQdxSDKWrapper.so"
build/examples/values_tour
