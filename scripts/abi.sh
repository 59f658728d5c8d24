#!/usr/bin/env bash
# The binary compatibility gate of libQdxSDKWrapper.so (see docs/abi.md).
#
#   scripts/abi.sh accept
#       builds the library in the ci preset and rewrites the baseline
#       abi/libQdxSDKWrapper.abi from it: the one way to accept a deliberate
#       change of the exported interface.
#   scripts/abi.sh compare BASELINE LIBRARY [HEADERS]
#       the gate: describes LIBRARY (built from the headers in HEADERS, by
#       default include/) and compares it with the description BASELINE.
#       Exit 0 when they match or LIBRARY only adds symbols (the additions
#       are printed), 1 on any other change (abidiff's report is printed).
#   scripts/abi.sh describe LIBRARY OUTPUT [HEADERS]
#       writes the ABI description of LIBRARY to OUTPUT.
#
# Descriptions are made with abidw (abigail-tools) from the debug information
# of a RelWithDebInfo build with g++. They hold what an application can
# reach: the exported symbols and every type declared in the installed
# headers that their signatures lead to, with its size, data members and
# virtual functions. Types declared elsewhere, such as the classes behind the
# single-pointer handles, are left out on purpose: the library may change
# them at will.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
baseline="$root/abi/libQdxSDKWrapper.abi"

fail() { echo "abi: $*" >&2; exit 1; }

require_tools()
{
    command -v abidw >/dev/null && command -v abidiff >/dev/null ||
        fail "abidw and abidiff are missing: install abigail-tools (scripts/setup.sh does)"
}

# describe LIBRARY OUTPUT HEADERS
describe()
{
    local library=$1 output=$2 headers
    headers=$(cd "$3" && pwd)
    [[ -f "$library" ]] || fail "no library at $library"
    # No source locations and no build folders: the description depends on
    # the interface, not on where the sources were checked out or built.
    abidw --no-corpus-path --no-comp-dir-path --no-show-locs --drop-undefined-syms --type-id-style hash \
        --exported-interfaces-only --headers-dir "$headers" --drop-private-types \
        --out-file "$output.raw" "$library"
    sed "s|path='$(dirname "$headers")/|path='|" "$output.raw" >"$output"
    rm -f "$output.raw"
}

# compare BASELINE LIBRARY HEADERS
compare()
{
    local old=$1 library=$2 headers=$3 status=0 changes=0
    [[ -f "$old" ]] || fail "no ABI description at $old"
    describe "$library" "$work/new.abi" "$headers"
    # Without the added symbols, abidiff must find nothing at all: besides
    # removed symbols and reordered virtual functions (which its exit status
    # calls incompatible), a changed return type or a changed layout of an
    # exported class breaks applications built earlier too.
    abidiff --no-added-syms "$old" "$work/new.abi" >"$work/without-additions.txt" || status=$?
    abidiff "$old" "$work/new.abi" >"$work/report.txt" || changes=$?
    if ((status != 0)); then
        echo "ABI: INCOMPATIBLE with $old (abidiff status $status):"
        cat "$work/report.txt"
        return 1
    fi
    if ((changes != 0)); then
        echo "ABI: compatible with $old; added:"
        cat "$work/report.txt"
    else
        echo "ABI: unchanged from $old"
    fi
}

accept()
{
    local library="$root/build/ci/src/libQdxSDKWrapper.so"
    (cd "$root" && cmake --preset ci >/dev/null && cmake --build --preset ci --target QdxSDKWrapper)
    if [[ -f "$baseline" ]]; then
        compare "$baseline" "$library" "$root/include" >"$work/accept.txt" || true
        # Rewritten only for a change, so that the file does not churn.
        if grep -q '^ABI: unchanged' "$work/accept.txt"; then
            echo "abi: the baseline already describes this library; left as it is"
            return 0
        fi
        cat "$work/accept.txt"
    fi
    mkdir -p "$(dirname "$baseline")"
    describe "$library" "$baseline" "$root/include"
    echo "abi: rewrote ${baseline#"$root"/}; commit it with the change it accepts"
}

require_tools
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
command=${1:-}
case "$command" in
accept)
    (($# == 1)) || fail "usage: $0 accept"
    accept
    ;;
compare)
    (($# == 3 || $# == 4)) || fail "usage: $0 compare BASELINE LIBRARY [HEADERS]"
    compare "$2" "$3" "${4:-$root/include}"
    ;;
describe)
    (($# == 3 || $# == 4)) || fail "usage: $0 describe LIBRARY OUTPUT [HEADERS]"
    describe "$2" "$3" "${4:-$root/include}"
    ;;
*)
    fail "usage: $0 accept | compare BASELINE LIBRARY [HEADERS] | describe LIBRARY OUTPUT [HEADERS]"
    ;;
esac
