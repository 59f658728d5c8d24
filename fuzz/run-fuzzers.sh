#!/usr/bin/env bash
# Runs every fuzz target of a build for a fixed time each, starting from its
# seed corpus (copied, so that the repository's corpus stays as it is).
set -euo pipefail
build_dir=$1
seconds=$2
corpora="$(dirname "$0")/corpus"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
artifacts="$build_dir/fuzz-artifacts"  # inputs that failed are kept here
mkdir -p "$artifacts"
status=0
for target in "$build_dir"/fuzz/*_fuzz; do
    name=$(basename "$target")
    mkdir -p "$work/$name"
    cp -r "$corpora/$name/." "$work/$name/" 2>/dev/null || true
    echo "fuzzing $name for ${seconds}s"
    if ! "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
            -artifact_prefix="$artifacts/" "$work/$name" 2>"$work/$name.log"; then
        tail -n 60 "$work/$name.log"
        status=1
    else
        grep -E '^stat::number_of_executed_units' "$work/$name.log" || true
    fi
done
exit $status
