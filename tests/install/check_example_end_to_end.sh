#!/usr/bin/env bash
# The README's first run, checked: installs the build (library, local core,
# qdxsdk) into a fresh prefix, builds examples/report_usage against it, runs
# it with no setting at all (the library finds the core beside itself), and
# checks with `qdxsdk events --json` exactly what the core kept. Runs inside
# tests/isolate.sh: the home folder the core writes into is the test's own.
set -euo pipefail
build_dir=$1
examples_dir=$2
compiler=$3

[[ -n "${QDX_TEST_ISOLATED:-}" ]] || { echo "needs tests/isolate.sh (private home folder): skipped"; exit 0; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"
fail() { echo "FAIL: $*" >&2; exit 1; }

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
for file in lib/QdxSDKCore.so lib/QdxSDKCore.dialog-strings.json bin/qdxsdk; do
    [[ -f "$prefix/$file" ]] || fail "not installed: $file"
done
cmake -S "$examples_dir" -B "$work/examples" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
cmake --build "$work/examples" >/dev/null

"$work/examples/report_usage" >"$work/run.out" || fail "report_usage failed"
cat "$work/run.out"
for call in Initialize SetOptedIn IsOptedIn "TrackEvent open" "TrackEvent save" HeartBeat FlushEvent UnInitialize; do
    grep -Eq "^$call +0 " "$work/run.out" || fail "$call did not answer 0"
done

"$prefix/bin/qdxsdk" events --json >"$work/events.jsonl" || fail "qdxsdk events failed"
cat "$work/events.jsonl"
session=$(sed -n 's/^  session //p' "$work/run.out")
[[ $(wc -l <"$work/events.jsonl") -eq 3 ]] || fail "expected 3 records"
expect() { sed -n "${1}p" "$work/events.jsonl" | grep -q -- "$2" || fail "record $1 lacks $2"; }
for line in 1 2 3; do
    expect $line "\"session_id\":\"$session\""
    expect $line '"time":"[0-9-]*T[0-9:]*\.[0-9][0-9][0-9]Z"'
    expect $line '"_sdk_api_version":"5.5.34.5"'
done
expect 1 '"name":"TrackEvent"'
expect 1 '"operation_name":"open"'
expect 1 '"content_type":"text/markdown"'
expect 1 '"content_size":2048'
expect 1 '"document_editing_length_ms":'
expect 1 '"_moreData":{"trigger":"recent-files"}'
expect 2 '"name":"TrackEvent"'
expect 2 '"operation_name":"save"'
expect 2 '"content_size":4096'
expect 3 '"name":"HeartBeat"'
expect 3 '"_type":"user"'

# A user who declines: nothing is kept, and what was kept is deleted.
"$work/examples/report_usage" --decline >"$work/decline.out" || fail "report_usage --decline failed"
grep -Eq '^TrackEvent open +103 ' "$work/decline.out" || fail "a declined event was not refused with 103"
[[ -z "$("$prefix/bin/qdxsdk" events --json)" ]] || fail "records remain after opting out"
echo "example end to end: ok"
