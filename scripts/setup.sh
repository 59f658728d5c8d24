#!/usr/bin/env bash
# Installs the Debian packages that building and testing need. As root it
# installs what is missing with apt-get; otherwise it names the packages to
# install and fails. Then it installs the npm packages of the upload tests'
# receiver (tests/upload/receiver), as its package-lock.json pins them.
set -euo pipefail
cd "$(dirname "$0")/.."

# abigail-tools for the binary compatibility gate (abidw, abidiff),
# clang-format-14 for the formatting check, valgrind for the memcheck run.
required=(cmake ninja-build g++ pkg-config binutils util-linux rapidjson-dev libattr1-dev
          libgtest-dev libbenchmark-dev libsqlite3-dev libzstd-dev libssl-dev libcli11-dev
          libcurl4-openssl-dev zlib1g-dev abigail-tools clang-format-14 valgrind)
# clang for the fuzz targets (the test command skips them without it), gcovr
# for scripts/coverage.sh, strace for bench/syscall_count.sh.
optional=(clang libclang-rt-14-dev gcovr strace)

missing=()
for package in "${required[@]}" "${optional[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [[ "$status" == "installed" ]] || missing+=("$package")
done
# node and npm run the receiver of the upload tests. Any node of 18 or later
# will do (a machine may have one from elsewhere); Debian's when there is none.
if ! command -v node >/dev/null || ! command -v npm >/dev/null; then
    required+=(nodejs npm)
    missing+=(nodejs npm)
fi

install_receiver() {
    local folder=tests/upload/receiver
    # npm ci starts afresh each time; skip it while the installed tree is the locked one.
    if [[ ! "$folder/package-lock.json" -nt "$folder/node_modules/.package-lock.json" ]]; then
        return 0
    fi
    echo "Installing the receiver's npm packages ($folder)"
    (cd "$folder" && npm ci --ignore-scripts --no-audit --no-fund --loglevel=error)
}

if ((${#missing[@]} == 0)); then
    install_receiver
    exit 0
fi

if [[ $(id -u) -ne 0 ]]; then
    echo "Missing packages: ${missing[*]}" >&2
    echo "Install them with: sudo apt-get install ${missing[*]}" >&2
    exit 1
fi

echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
install_packages() { apt-get install -y -qq --no-install-recommends "$@" >/dev/null; }
install_packages "${missing[@]}" || {
    # Optional packages must not stand in the way of the required ones.
    for package in "${missing[@]}"; do
        if printf '%s\n' "${required[@]}" | grep -qx "$package"; then
            install_packages "$package"
        else
            install_packages "$package" || echo "Optional package $package could not be installed" >&2
        fi
    done
}
install_receiver
