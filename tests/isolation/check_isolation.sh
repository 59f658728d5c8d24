#!/usr/bin/env bash
# Proves the isolating launcher: files a test writes to /tmp, the home folder
# and /opt stay inside its namespace, the build tree stays reachable, and the
# test runs as the same user as the launcher. Skipped (exit code 77) where the
# launcher cannot isolate.
set -euo pipefail
launcher=$1 source_dir=$2 build_dir=$3

if [[ $("$launcher" "$source_dir" "$build_dir" bash -c 'echo "${QDX_TEST_ISOLATED:-}"') != 1 ]]; then
    echo "skipped: no private mount namespace available here (neither as root nor in a user namespace)"
    exit 77
fi

home=$(getent passwd "$(id -u)" | cut -d: -f6)
probe="qdx-isolation-probe-$$"
"$launcher" "$source_dir" "$build_dir" bash -c '
    set -e
    [[ $(id -u):$(id -g) == "$5" ]] || { echo "runs as $(id -u):$(id -g), not as $5"; exit 1; }
    # Only the way to the source and build trees may be there.
    for entry in /tmp/* /tmp/.[!.]* /opt/* /opt/.[!.]* "$2"/* "$2"/.[!.]*; do
        [[ -e "$entry" ]] || continue
        [[ "$3/" == "$entry/"* || "$4/" == "$entry/"* ]] || { echo "sandbox holds $entry"; exit 1; }
    done
    touch "/tmp/$1" "/opt/$1" "$2/$1"
    [[ -d "$3" && -d "$4" ]] || { echo "source or build tree hidden"; exit 1; }
' _ "$probe" "$home" "$source_dir" "$build_dir" "$(id -u):$(id -g)"

for file in "/tmp/$probe" "/opt/$probe" "$home/$probe"; do
    if [[ -e "$file" ]]; then
        rm -f "$file"
        echo "FAIL: $file escaped the sandbox"
        exit 1
    fi
done
echo "isolation: ok"
