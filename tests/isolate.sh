#!/usr/bin/env bash
# Runs a test program in a private mount namespace with fresh, empty tmpfs
# mounts over /tmp, the user's home folder and /opt, so that the marker files,
# home-folder files and /opt files the library reads and writes are the
# test's own and the machine's real ones are never touched. The source and
# build trees stay visible even when they lie under one of those folders.
#
#   isolate.sh SOURCE_DIR BUILD_DIR PROGRAM [ARGUMENTS...]
#
# Without the right to create a namespace (not root) the program runs as it
# is, and QDX_TEST_ISOLATED stays unset so that tests needing isolation skip.
set -euo pipefail

if [[ "${1:-}" == "--inside" ]]; then
    shift
    source_dir=$1 build_dir=$2
    shift 2
    home=$(getent passwd "$(id -u)" | cut -d: -f6)
    covered=(/tmp /opt)
    for folder in "$home" "${HOME:-}"; do
        [[ -n "$folder" && "$folder" != / && -d "$folder" && ! " ${covered[*]} " =~ " $folder " ]] && covered+=("$folder")
    done
    # Keep a handle on the trees that a tmpfs is about to hide, to bind them back.
    kept=()
    for tree in "$source_dir" "$build_dir"; do
        for folder in "${covered[@]}"; do
            if [[ "$tree/" == "$folder/"* ]]; then
                exec {fd}<"$tree"
                kept+=("$fd:$tree")
                break
            fi
        done
    done
    for folder in "${covered[@]}"; do
        mount -t tmpfs -o mode=1777 qdx-test "$folder"
    done
    for entry in "${kept[@]}"; do
        fd=${entry%%:*} tree=${entry#*:}
        mkdir -p "$tree"
        mount --no-canonicalize --bind "/proc/self/fd/$fd" "$tree"
        exec {fd}<&-
    done
    export QDX_TEST_ISOLATED=1
    exec "$@"
fi

source_dir=$1 build_dir=$2
shift 2
if [[ $(id -u) -eq 0 ]] && unshare -m --propagation private true 2>/dev/null; then
    exec unshare -m --propagation private -- "$0" --inside "$source_dir" "$build_dir" "$@"
fi
exec "$@"
