#!/usr/bin/env bash
# System calls per operation of a benchmark program, by name, counted by
# strace over COUNT runs of the operation less a run of none (the program's
# own start and end).
#   bench/syscall_count.sh build/default/bench/absent/absent_companion_bench 10000 absent_call
set -euo pipefail
program=$1
count=$2
operation=$3
summary=$(mktemp)
trap 'rm -f "$summary"' EXIT

calls() {  # COUNT: "syscall calls" per line, from strace's summary
    strace -f -c -o "$summary" "$program" --instructions="$operation:$1" >/dev/null
    awk '$NF ~ /^[a-z_0-9]+$/ && $NF != "total" && $NF != "syscall" { print $NF, $4 }' "$summary"
}

declare -A base
while read -r name number; do base[$name]=$number; done < <(calls 0)
total=0
printf '%-16s %10s\n' syscall per-operation
while read -r name number; do
    extra=$((number - ${base[$name]:-0}))
    ((extra > 0)) || continue
    total=$((total + extra))
    awk -v n="$name" -v e="$extra" -v c="$count" 'BEGIN { printf "%-16s %10.2f\n", n, e / c }'
done < <(calls "$count")
awk -v t="$total" -v c="$count" 'BEGIN { printf "%-16s %10.2f\n", "total", t / c }'
