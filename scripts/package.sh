#!/usr/bin/env bash
# Builds the Debian packages: integrity-checker and integrity-sign, for each
# architecture named (default: amd64 arm64), in build/package-<arch>/packages/.
#   bash scripts/package.sh [amd64] [arm64] [-- cmake arguments...]
# Production builds pass their trust material after "--", for example
#   bash scripts/package.sh -- -DICT_REGULAR_ROOTS=/secure/root.der \
#       -DICT_ALTERNATIVE_ROOTS=/secure/test-root.der \
#       -DICT_GOST_REGULAR_KEYS="/secure/gost256.pub.pem;/secure/gost512.pub.pem" \
#       -DICT_GOST_ALTERNATIVE_KEYS="/secure/test-gost256.pub.pem;/secure/test-gost512.pub.pem"
# A build that still trusts the demo hierarchy is refused unless
# -DICT_ALLOW_DEMO_ROOTS=ON is passed (demo and test packages).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

arches=()
while [ $# -gt 0 ]; do
    case "$1" in
        amd64|arm64) arches+=("$1") ;;
        --) shift; break ;;
        *) echo "unknown argument: $1 (architectures: amd64 arm64; cmake arguments after --)" >&2; exit 2 ;;
    esac
    shift
done
[ ${#arches[@]} -gt 0 ] || arches=(amd64 arm64)

if [[ " ${arches[*]} " == *" arm64 "* ]]; then
    bash scripts/install-deps.sh --arm64
else
    bash scripts/install-deps.sh
fi

for arch in "${arches[@]}"; do
    dir=build/package-$arch
    toolchain=()
    [ "$arch" = arm64 ] && toolchain=(-DCMAKE_TOOLCHAIN_FILE="$root/cmake/aarch64-linux-gnu.cmake")
    echo "=== package $arch: configure and build"
    cmake -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=Release -DICT_BUILD_TESTS=OFF \
        "${toolchain[@]}" "$@" >/dev/null
    cmake --build "$dir" -j "$(nproc)"
    rm -rf "$dir/packages"
    (cd "$dir" && cpack >/dev/null)
    ls "$dir"/packages/*.deb
done
