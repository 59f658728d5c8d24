#!/usr/bin/env bash
# Fails when a header of the given folder (the headers that get installed)
# shows an application more than the interface: anything of the JSON parser,
# a standard header other than <cstddef> and <string>, or a standard-library
# name other than std::size_t and std::string. A standard container in a
# declaration ties applications to the library's standard-library layout;
# std::string stays only because the key-path lookups of JsonKeyPath.h take
# it. Comments do not count: each header is read as the compiler sees it,
# without its includes expanded.
set -euo pipefail
include_dir=$1
compiler=${2:-c++}

allowed_headers='^(cstddef|string)$'
allowed_std_names='^(size_t|string)$'
failures=0
report() { echo "$1: $2" >&2; failures=$((failures + 1)); }

shopt -s nullglob
headers=("$include_dir"/*.h)
((${#headers[@]} > 0)) || { echo "no headers in $include_dir" >&2; exit 1; }
for header in "${headers[@]}"; do
    name=$(basename "$header")
    code=$("$compiler" -x c++ -fpreprocessed -dD -E -P -w "$header")
    if grep -qi 'rapidjson' <<<"$code"; then
        report "$name" "names the JSON parser"
    fi
    while read -r included; do
        [[ "$included" =~ $allowed_headers ]] || report "$name" "includes <$included>"
    done < <(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*<\([^>]*\)>.*/\1/p' <<<"$code")
    while read -r used; do
        [[ "$used" =~ $allowed_std_names ]] || report "$name" "names std::$used"
    done < <(grep -o '\bstd[[:space:]]*::[[:space:]]*[A-Za-z_][A-Za-z_0-9]*' <<<"$code" | sed 's/.*:[[:space:]]*//' | sort -u)
    if grep -q '\busing[[:space:]]\+namespace[[:space:]]\+std\b' <<<"$code"; then
        report "$name" "opens namespace std"
    fi
done
if ((failures > 0)); then
    echo "$failures finding(s): installed headers must show the interface only" >&2
    exit 1
fi
echo "installed headers: ${#headers[@]} show the interface only"
