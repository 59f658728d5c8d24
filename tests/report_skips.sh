#!/usr/bin/env bash
# Reports the tests that the last run skipped, with the reason each gave, and
# fails when one of them is not allowed to skip. A test may skip only when
# tests/allowed_skips.txt names it; everything else is expected to run, so
# a skipped test means that the run proved less than it seems to.
#   tests/report_skips.sh BUILD_DIR     (reads BUILD_DIR/junit.xml, which the test presets write)
set -euo pipefail
junit=$1/junit.xml
build=$(basename "$1")
allowed=$(dirname "$0")/allowed_skips.txt
[[ -f "$junit" ]] || { echo "no test results in $junit: run ctest through a test preset first" >&2; exit 2; }

# One line per skipped test: NAME<TAB>REASON. The reason is the line after a
# GoogleTest "Skipped" marker or a line beginning "skipped:", else the way
# CTest recognised the skip.
skips=$(awk '
    function unescape(text) {
        gsub(/&lt;/, "<", text); gsub(/&gt;/, ">", text); gsub(/&quot;/, "\"", text)
        gsub(/&apos;/, "\047", text); gsub(/&amp;/, "\\&", text); return text
    }
    /<testcase / {
        name = $0; sub(/.*<testcase name="/, "", name); sub(/".*/, "", name)
        skipped = $0 ~ /status="notrun"/; reason = ""; marker = 0; output = 0
    }
    skipped && /<skipped message=/ { how = $0; sub(/.*message="/, "", how); sub(/".*/, "", how) }
    skipped && /<system-out>/ { output = 1; sub(/.*<system-out>/, "") }
    skipped && output && reason == "" {
        if (marker) reason = $0
        else if ($0 ~ /^skipped: /) reason = substr($0, 10)
        marker = $0 ~ /: Skipped$/
    }
    skipped && /<\/testcase>/ { print unescape(name) "\t" unescape(reason != "" ? reason : how); skipped = 0 }
' "$junit")

if [[ -z "$skips" ]]; then
    echo "skipped tests: none"
    exit 0
fi
count=$(wc -l <<<"$skips")
echo "skipped tests: $count"
unexpected=0
while IFS=$'\t' read -r name reason; do
    permission=$(grep -v '^#' "$allowed" | while read -r pattern why; do
        subject=$name
        [[ "$pattern" == *:* ]] && subject="$build:$name"
        [[ -n "$pattern" ]] && [[ "$subject" =~ ^${pattern}$ ]] && { echo "${why#\# }"; break; }
    done || true)
    if [[ -n "$permission" ]]; then
        echo "  $name: $reason (allowed: $permission)"
    else
        echo "  $name: $reason (NOT ALLOWED: expected to run)"
        unexpected=$((unexpected + 1))
    fi
done <<<"$skips"
if ((unexpected > 0)); then
    echo "FAIL: $unexpected of the skipped tests are expected to run (tests/allowed_skips.txt lists those that may skip)"
    exit 1
fi
