#!/usr/bin/env bash
# Proves that the binary compatibility gate bites. Builds the library from a
# scratch copy of the sources, then again for each variant with one change,
# and runs the gate's own comparison (scripts/abi.sh compare) of each
# variant against the unchanged build: a removed export, a changed return
# type, a field added to an exported class and reordered virtual functions
# must be reported as incompatible, an added function as compatible. The
# variants are built incrementally in one build folder, so each costs only
# the files its change touches.
set -euo pipefail
source_dir=$1
work=$2
compiler=$3
generator=$4
library=$5  # the library of the build under test

gate="$source_dir/scripts/abi.sh"
copy="$work/sources"
originals="$work/originals"
build="$work/build"
variant_library="$build/src/libQdxSDKWrapper.so"

fail() { echo "FAIL: $*" >&2; exit 1; }

rm -rf "$work"
mkdir -p "$copy" "$originals"
# The sources as they stand, committed or not, without build folders.
(cd "$source_dir" && git ls-files -z --cached --others --exclude-standard |
    tar --null -T - --ignore-failed-read -cf - 2>/dev/null) | tar -xf - -C "$copy"
[[ -f "$copy/CMakeLists.txt" ]] || fail "could not copy the sources (a git checkout is needed)"

cmake -S "$copy" -B "$build" -G "$generator" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER="$compiler" \
      -DQDX_BUILD_TESTS=OFF -DQDX_BUILD_BENCHMARKS=OFF -DQDX_BUILD_FUZZERS=OFF >/dev/null
build_library() { cmake --build "$build" --target QdxSDKWrapper --parallel 2 >/dev/null; }
build_library
"$gate" describe "$variant_library" "$work/unchanged.abi" "$copy/include"

# A second build of the same sources, elsewhere, is the same interface.
"$gate" compare "$work/unchanged.abi" "$library" >"$work/rebuilt.txt" || fail "$(cat "$work/rebuilt.txt")"
grep -q '^ABI: unchanged' "$work/rebuilt.txt" || fail "a rebuild differs: $(cat "$work/rebuilt.txt")"
echo "unchanged sources built elsewhere: unchanged"

# edit FILE PERL-CODE: changes one file of the copy, keeping its original.
edit()
{
    local file="$copy/$1" original="$originals/$1"
    [[ -f "$original" ]] || { mkdir -p "$(dirname "$original")"; cp "$file" "$original"; }
    perl -0pi -e "$2" "$file"
    ! cmp -s "$file" "$original" || fail "the change to $1 no longer applies: bring this test up to date"
}

# Puts every edited file back, as a change of its own for the next build.
undo()
{
    local original
    while IFS= read -r -d '' original; do
        cp "$original" "$copy/${original#"$originals"/}"
    done < <(find "$originals" -type f -print0)
    rm -rf "$originals"
    mkdir -p "$originals"
}

# expect NAME compatible|incompatible TEXT: builds the edited copy and checks
# the gate's verdict, and that its report names TEXT.
expect()
{
    local name=$1 verdict=$2 text=$3 status=0 report="$work/$1.txt"
    build_library
    "$gate" compare "$work/unchanged.abi" "$variant_library" "$copy/include" >"$report" || status=$?
    case "$verdict" in
    compatible) ((status == 0)) && grep -q '^ABI: compatible' "$report" ||
                    fail "$name: not reported as compatible (status $status): $(cat "$report")" ;;
    incompatible) ((status == 1)) && grep -q '^ABI: INCOMPATIBLE' "$report" ||
                      fail "$name: not reported as incompatible (status $status): $(cat "$report")" ;;
    esac
    grep -qF -- "$text" "$report" || fail "$name: the report does not name '$text': $(cat "$report")"
    echo "$name: $verdict"
    undo
}

edit cmake/QdxSDKWrapper.exports 's/^Norvane::QDXDesktopSDK::OnShutdown\(\)\n//m'
expect removed_function incompatible "Norvane::QDXDesktopSDK::OnShutdown()"

edit include/QdxDialogs.h 's/(\n}  \/\/ namespace QDXDesktopSDKUI\n)/\nQDX_EXPORT void GateProbe();\n$1/'
edit src/api/DialogCalls.cpp 's/\z/\nvoid Norvane::QDXDesktopSDKUI::GateProbe() {}\n/'
edit cmake/QdxSDKWrapper.exports 's/\z/Norvane::QDXDesktopSDKUI::GateProbe()\n/'
expect added_function compatible "Norvane::QDXDesktopSDKUI::GateProbe()"

edit include/QdxSession.h 's/QDX_EXPORT bool IsQDXDisabled\(\);/QDX_EXPORT int IsQDXDisabled();/'
edit src/api/SessionCalls.cpp 's/^bool IsQDXDisabled\(\)/int IsQDXDisabled()/m'
expect changed_return_type incompatible "return type changed"

edit include/FacetCore.h 's/(\n    FacetTable\* m_pFacets;\n)/$1    int m_addedField;\n/'
expect added_field incompatible "'int m_addedField'"

edit include/Facet.h 's/(    virtual char const\* GetFacetName\(\) const = 0;\n)(.*?\n)(    virtual Base\* Clone\(\) const = 0;\n)/$3$2$1/s'
expect reordered_virtual_functions incompatible "vtable offset"

rm -rf "$work"
