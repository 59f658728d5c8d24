#!/usr/bin/env bash
# Installs the build into a fresh prefix, checks what lands there (the
# library with its version stamp, headers, CMake package, pkg-config file),
# then builds the examples against it with CMake and with pkg-config and
# runs them.
set -euo pipefail
build_dir=$1
examples_dir=$2
compiler=$3
version=$4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix="$work/prefix"

fail() { echo "FAIL: $*" >&2; exit 1; }

cmake --install "$build_dir" --prefix "$prefix" >/dev/null
library="$prefix/lib/libQdxSDKWrapper.so"
for file in "$library" "$prefix/include/QdxDesktopSDK/QdxDesktopSDK.h" \
            "$prefix/lib/cmake/QdxSDKWrapper/QdxSDKWrapperConfig.cmake" \
            "$prefix/lib/cmake/QdxSDKWrapper/QdxSDKWrapperConfigVersion.cmake" \
            "$prefix/lib/pkgconfig/qdxsdkwrapper.pc"; do
    [[ -f "$file" ]] || fail "not installed: $file"
done
readelf -d "$library" | grep -q 'Library soname: \[libQdxSDKWrapper.so\]' || fail "wrong SONAME"

# The stamp: a local data object in the full symbol table, read back from the
# file at its address inside its section.
read -r address size < <(nm -S --defined-only "$library" | awk '$4 == "_ZL7version" { print $1, $2 }')
[[ -n "${address:-}" ]] || fail "no _ZL7version in the symbol table"
offset=""
while read -r _ _ section_address section_offset section_size _; do
    start=$((16#$section_address)); end=$((start + 16#$section_size))
    if ((start != 0 && 16#$address >= start && 16#$address < end)); then
        offset=$((16#$address - start + 16#$section_offset))
        break
    fi
done < <(readelf -S -W "$library" | sed -n 's/^ *\[ *[0-9]*\] //p')
[[ -n "$offset" ]] || fail "no section holds _ZL7version"
stamp=$(dd if="$library" bs=1 skip="$offset" count=$((16#$size)) status=none | tr -d '\0')
[[ "$stamp" == "\$Id: QdxSDKWrapper,v $version "*" \$" ]] || fail "unexpected stamp: $stamp"
echo "stamp: $stamp"

# Through the CMake package.
cmake -S "$examples_dir" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
"$work/cmake-build/values_tour" >"$work/cmake.out" || fail "example built with CMake failed"

# Through pkg-config.
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
[[ "$(pkg-config --modversion qdxsdkwrapper)" == "$version" ]] || fail "pkg-config reports another version"
# shellcheck disable=SC2046
"$compiler" -std=c++17 -o "$work/values_tour" "$examples_dir/values_tour.cpp" $(pkg-config --cflags --libs qdxsdkwrapper) \
    -Wl,-rpath,"$(pkg-config --variable=libdir qdxsdkwrapper)"
"$work/values_tour" >"$work/pkg-config.out" || fail "example built with pkg-config failed"

cmp -s "$work/cmake.out" "$work/pkg-config.out" || fail "the two builds of the example printed different output"
grep -q '"event_name": "launch"' "$work/cmake.out" || fail "the example printed unexpected output"
echo "install and use: ok"
