#!/usr/bin/env bash
# Formats the C++ sources with the repository's .clang-format, using Debian's
# clang-format-14, the one that matches the machine's clang.
#
#   scripts/format.sh           formats every file in place
#   scripts/format.sh --check   changes nothing; fails, naming each place, when
#                               a file is not formatted (the test command runs it)
#
# The files are every C++ source, header and C++ template (*.cpp, *.h,
# *.cpp.in, *.h.in) that git tracks or would add, in any folder, except the
# fuzz corpora; build folders are ignored by git. Other templates (the CMake
# and pkg-config ones) are not C++ and are left alone.
set -euo pipefail
cd "$(dirname "$0")/.."

formatter=clang-format-14
mode=${1:-}
case "$mode" in
"" | --check) ;;
*) echo "usage: $0 [--check]" >&2; exit 2 ;;
esac
command -v "$formatter" >/dev/null || {
    echo "$formatter is missing: install clang-format-14 (scripts/setup.sh does)" >&2
    exit 1
}

files=()
while IFS= read -r -d '' file; do
    [[ -f "$file" && "$file" != fuzz/corpus/* ]] && files+=("$file")
done < <(git ls-files -z --cached --others --exclude-standard -- '*.cpp' '*.h' '*.cpp.in' '*.h.in' | sort -zu)
((${#files[@]} > 0)) || { echo "no C++ files found" >&2; exit 1; }

if [[ "$mode" == --check ]]; then
    if ! printf '%s\0' "${files[@]}" | xargs -0 "$formatter" --style=file --dry-run --Werror; then
        echo "Files above are not formatted: run scripts/format.sh" >&2
        exit 1
    fi
    echo "formatting: ${#files[@]} files as .clang-format says"
else
    printf '%s\0' "${files[@]}" | xargs -0 "$formatter" --style=file -i
    echo "formatted ${#files[@]} files"
fi
