#!/usr/bin/env bash
# Instructions per operation of a benchmark program's operations beside their
# references, counted by callgrind (repeatable on a busy machine), and their
# ratios. Each pair names an operation of ours and its reference.
#   bench/instruction_ratio.sh build/default/bench/json_text_bench 2000 \
#       library_round_trip:raw_round_trip library_write:raw_write
#   bench/instruction_ratio.sh build/default/bench/channel_bench 2000 \
#       channel_round_trip:value_round_trip
set -euo pipefail
program=$1
count=$2
shift 2

instructions() {
    valgrind --tool=callgrind --callgrind-out-file=/dev/null --collect-atstart=no \
        --toggle-collect=qdx_measured_loop "$program" --instructions="$1:$count" 2>&1 |
        sed -n 's/.*Collected : \([0-9]*\).*/\1/p'
}

printf '%-22s %-22s %12s %12s %7s\n' operation reference ours theirs ratio
for pair in "$@"; do
    ours=$(instructions "${pair%%:*}")
    theirs=$(instructions "${pair##*:}")
    awk -v a="${pair%%:*}" -v b="${pair##*:}" -v x="$ours" -v y="$theirs" -v n="$count" \
        'BEGIN { printf "%-22s %-22s %12.0f %12.0f %7.3f\n", a, b, x / n, y / n, x / y }'
done
