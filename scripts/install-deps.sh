#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the demo need.
#   scripts/install-deps.sh           native toolchain and libraries
#   scripts/install-deps.sh --arm64   also the AArch64 cross toolchain, qemu and :arm64 libraries
set -euo pipefail

arm64=0
for arg in "$@"; do
    case "$arg" in
        --arm64) arm64=1 ;;
        *) echo "unknown argument: $arg" >&2; exit 2 ;;
    esac
done

sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)

libs=(libboost-dev libboost-program-options-dev libboost-filesystem-dev
      libboost-regex-dev libboost-date-time-dev
      libtinyxml-dev libssl-dev zlib1g-dev libgtest-dev libgmock-dev libcurl4-openssl-dev)

# softhsm2, opensc and the pkcs11 engine: signing with keys in a token and its
# tests. Native only: their arm64 builds can't be installed beside the
# native ones (not multi-arch), so the emulated stage skips those tests.
native=(build-essential cmake ninja-build pkg-config file man-db openssl faketime python3 libengine-gost-openssl rhash clang xxd
        clang-format clang-tidy softhsm2 opensc libengine-pkcs11-openssl systemd ansible
        python3-jsonschema curl prometheus-node-exporter prometheus
        libbenchmark-dev "${libs[@]}")

export DEBIAN_FRONTEND=noninteractive
if [ "$arm64" -eq 1 ]; then
    if ! dpkg --print-foreign-architectures | grep -qx arm64; then
        "${sudo_cmd[@]}" dpkg --add-architecture arm64
    fi
fi

wanted=("${native[@]}")
if [ "$arm64" -eq 1 ]; then
    wanted+=(g++-aarch64-linux-gnu qemu-user)
    for l in "${libs[@]}"; do wanted+=("$l:arm64"); done
fi

bash "$(dirname "$0")/install-missing.sh" "${wanted[@]}"
