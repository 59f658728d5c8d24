#!/usr/bin/env bash
# Runs a test program in a private mount namespace with fresh, empty tmpfs
# mounts over /tmp, the user's home folder and /opt, so that the marker files,
# home-folder files and /opt files the library reads and writes are the
# test's own and the machine's real ones are never touched. The source and
# build trees stay visible even when they lie under one of those folders.
#
#   isolate.sh SOURCE_DIR BUILD_DIR PROGRAM [ARGUMENTS...]
#
# QDX_TEST_LAUNCHER, when set, names a program that runs PROGRAM inside the
# namespace (tests/memcheck.sh).
#
# Root gets the namespace directly. An ordinary user gets it inside a user
# namespace of its own, which the kernel allows unless user namespaces are
# switched off: the user keeps its ids there (so a test sees the same user
# and home folder as outside) and holds, within the namespace, the
# capabilities that root has, kept across exec (unshare --keep-caps), for
# the mounts that this launcher and some tests make. Where neither works,
# the program runs as it is, and QDX_TEST_ISOLATED stays unset so that tests
# needing isolation skip.
set -euo pipefail

if [[ "${1:-}" == "--inside" ]]; then
    source_dir=$2 build_dir=$3
    shift 3
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
    [[ -n "${QDX_TEST_LAUNCHER:-}" ]] && set -- "$QDX_TEST_LAUNCHER" "$@"
    exec "$@"
fi

source_dir=$1 build_dir=$2
shift 2
if [[ $(id -u) -eq 0 ]]; then
    namespace=(unshare -m --propagation private)
else
    namespace=(unshare --user --map-user="$(id -u)" --map-group="$(id -g)" --keep-caps -m --propagation private)
fi
if "${namespace[@]}" true 2>/dev/null; then
    exec "${namespace[@]}" -- "$0" --inside "$source_dir" "$build_dir" "$@"
fi
[[ -n "${QDX_TEST_LAUNCHER:-}" ]] && set -- "$QDX_TEST_LAUNCHER" "$@"
exec "$@"
