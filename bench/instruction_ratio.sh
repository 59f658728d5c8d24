#!/usr/bin/env bash
# Instructions per operation of a benchmark program's operations beside their
# references, counted by callgrind (repeatable on a busy machine), and their
# ratios. Each pair names an operation of ours and its reference.
#   bench/instruction_ratio.sh build/default/bench/json_text_bench 2000 \
#       library_round_trip:raw_round_trip library_write:raw_write
#   bench/instruction_ratio.sh build/default/bench/channel_bench 2000 \
#       channel_round_trip:value_round_trip
# Only the thread that runs the measured loop is counted: callgrind keeps one
# profile per thread (--separate-threads=yes), and collection, switched on and
# off at qdx_measured_loop, is a state of each thread, so the threads of a
# companion (such as the local core's writer) count nothing and are left out.
set -euo pipefail
program=$1
count=$2
shift 2

profiles=$(mktemp -d)
trap 'rm -rf "$profiles"' EXIT

instructions() {
    rm -f "$profiles"/*
    if ! valgrind --tool=callgrind --separate-threads=yes --callgrind-out-file="$profiles/profile" \
        --collect-atstart=no --toggle-collect=qdx_measured_loop "$program" --instructions="$1:$count" \
        >"$profiles/log" 2>&1; then
        echo "$1 failed:" >&2
        cat "$profiles/log" >&2
        return 1
    fi
    sed -n 's/^totals: \([0-9]*\).*/\1/p' $(grep -l 'qdx_measured_loop' "$profiles"/profile-*)
}

printf '%-22s %-22s %12s %12s %7s\n' operation reference ours theirs ratio
for pair in "$@"; do
    ours=$(instructions "${pair%%:*}")
    theirs=$(instructions "${pair##*:}")
    awk -v a="${pair%%:*}" -v b="${pair##*:}" -v x="$ours" -v y="$theirs" -v n="$count" \
        'BEGIN { printf "%-22s %-22s %12.0f %12.0f %7.3f\n", a, b, x / n, y / n, x / y }'
done
