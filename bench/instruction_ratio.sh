#!/usr/bin/env bash
# Instructions per operation of the library's JSON conversion and of the
# parser library's own, counted by callgrind (repeatable on a busy machine),
# and their ratios.
#   bench/instruction_ratio.sh build/default/bench/json_text_bench [count]
set -euo pipefail
program=$1
count=${2:-2000}

instructions() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null --collect-atstart=no \
        --toggle-collect=qdx_measured_loop "$program" --instructions="$1:$count" 2>&1 |
        sed -n 's/.*Collected : \([0-9]*\).*/\1/p'
}

printf '%-12s %14s %14s %7s\n' operation library raw ratio
for pair in write:write parse:parse round_trip:round_trip deep_copy:write; do
    ours=$(instructions "library_${pair%%:*}")
    theirs=$(instructions "raw_${pair##*:}")
    awk -v name="${pair%%:*}" -v a="$ours" -v b="$theirs" -v n="$count" \
        'BEGIN { printf "%-12s %14.0f %14.0f %7.3f\n", name, a / n, b / n, a / b }'
done
