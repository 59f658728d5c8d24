#!/usr/bin/env bash
# A newcomer's first run: installs what is missing, builds the library, the
# local core and qdxsdk, installs them into ./_install, runs the example
# integration against that install (the library finds the local core beside
# itself) and shows what the core kept, as `qdxsdk events` shows it.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default
cmake --install build/default --prefix _install >/dev/null
cmake -S examples -B build/examples -G Ninja -DCMAKE_PREFIX_PATH="$PWD/_install" >/dev/null
cmake --build build/examples
echo "--- build/examples/report_usage, linked against _install/lib/libQdxSDKWrapper.so"
build/examples/report_usage
echo "--- _install/bin/qdxsdk events: what the local core kept"
_install/bin/qdxsdk events --limit 20
