#!/usr/bin/env bash
# Fails unless the core exports exactly its five entry points, nothing of the
# code it is built from, and carries its version stamp "_ZL7version" in its
# full symbol table with the version given, since loaders choose between
# copies of the core by reading it there.
#
#   check_core_symbols.sh CORE_FILE VERSION
set -euo pipefail
core=$1
version=$2

wanted=$(printf '%s\n' Finalize_QdxSDKCore FreeMessage_QdxSDKCore InitializeEx_QdxSDKCore Initialize_QdxSDKCore \
    ProcessMessage_QdxSDKCore | LC_ALL=C sort)
actual=$(nm -D --defined-only "$core" | awk '{ print $NF }' | LC_ALL=C sort -u)
if [[ "$actual" != "$wanted" ]]; then
    echo "the core's exported symbols differ ('>' exported but not an entry point, '<' missing):"
    diff <(echo "$wanted") <(echo "$actual") | grep '^[<>]' || true
    exit 1
fi

read -r address size _ < <(nm -S "$core" | awk '$NF == "_ZL7version" { print $1, $2 }') || true
if [[ -z "${address:-}" ]]; then
    echo "no _ZL7version in the symbol table of $core"
    exit 1
fi
# The stamp's bytes, from the section that holds its address.
offset=
while read -r _ _ section_address section_offset section_size _; do
    if (( 16#$address >= 16#$section_address && 16#$address < 16#$section_address + 16#$section_size )); then
        offset=$(( 16#$address - 16#$section_address + 16#$section_offset ))
        break
    fi
done < <(readelf -SW "$core" | sed -n 's/^ *\[ *[0-9]*\] *//p' | awk '$2 == "PROGBITS"')
stamp=$(dd if="$core" bs=1 skip="$offset" count=$(( 16#$size )) status=none | tr -d '\0')
if [[ "$stamp" != "\$Id: QdxSDKCore,v $version "* ]]; then
    echo "the stamp reads \"$stamp\", not \"\$Id: QdxSDKCore,v $version ...\""
    exit 1
fi
echo "five entry points exported; stamp: $stamp"
