#!/usr/bin/env bash
# Hashing throughput of ours next to the Debian peers, measured in one run.
#   bench/hash/run.sh [build-dir]     (default build/hash-release)
# Installs the peers when missing (rhash, the GOST provider for OpenSSL),
# builds a Release tree with the benchmarks and prints MB/s side by side.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/hash-release}
seconds=3
sample_mib=256

bash "$root/scripts/install-missing.sh" rhash libengine-gost-openssl

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DICT_BUILD_BENCH=ON \
    -DICT_BUILD_TESTS=OFF >/dev/null
ninja -C "$build" hash_bench >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Ours: bytes_per_second of each benchmark, in MB/s (10^6 bytes).
"$build/bench/hash/hash_bench" --benchmark_format=csv >"$work/ours.csv" 2>/dev/null
ours() {
    awk -F, -v name="$1" '{ gsub(/"/, "", $1); sub(/\/.*/, "", $1) }
        $1 == name { printf "%.1f", $6 / 1e6 }' "$work/ours.csv"
}

# `openssl speed` reports thousands of bytes per second.
speed() {
    openssl speed "$@" -bytes 16384 -seconds "$seconds" 2>/dev/null |
        awk 'END { sub(/k$/, "", $NF); printf "%.1f", $NF / 1000 }'
}

# Whole-file hashing of a file in the page cache.
file_rate() {
    local start end
    start=$(date +%s.%N)
    "$@" "$work/sample" >/dev/null
    end=$(date +%s.%N)
    awk -v s="$start" -v e="$end" -v mib="$sample_mib" \
        'BEGIN { printf "%.1f", mib * 1048576 / (e - s) / 1e6 }'
}

head -c "$((sample_mib * 1048576))" /dev/urandom >"$work/sample"
cat "$work/sample" >/dev/null

gost_ours=$(ours BM_Gost2012_256)
gost_portable=$(ours BM_Gost2012_PortableCompression)
gost_speed=$(speed -provider default -provider gostprov -evp md_gost12_256)
gost_dgst=$(file_rate openssl dgst -provider default -provider gostprov -md_gost12_256)
gost_rhash=$(file_rate rhash --gost12-256)
sha_ours=$(ours BM_Sha256)
sha_speed=$(speed -evp sha256)

rate() { printf '  %-60s %9.1f MB/s\n' "$1" "$2"; }
ratio() { awk -v n="$1" -v a="$2" -v b="$3" 'BEGIN { printf "  %-60s %9.2fx\n", n, a / b }'; }

echo "GOST R 34.11-2012, 256-bit digest"
rate "ours: IHash over a memory stream (selected path)" "$gost_ours"
rate "ours: portable table-driven compression alone" "$gost_portable"
rate "openssl speed -evp md_gost12_256, gostprov, 16 KiB blocks" "$gost_speed"
rate "openssl dgst -md_gost12_256, gostprov, ${sample_mib} MiB cached file" "$gost_dgst"
rate "rhash --gost12-256, ${sample_mib} MiB cached file" "$gost_rhash"
ratio "ours (selected) / openssl speed gostprov" "$gost_ours" "$gost_speed"
ratio "ours (selected) / openssl dgst gostprov" "$gost_ours" "$gost_dgst"
ratio "ours (selected) / rhash" "$gost_ours" "$gost_rhash"
ratio "ours (portable) / openssl speed gostprov" "$gost_portable" "$gost_speed"
ratio "ours (portable) / openssl dgst gostprov" "$gost_portable" "$gost_dgst"
ratio "ours (portable) / rhash" "$gost_portable" "$gost_rhash"
echo
echo "SHA-256"
rate "ours: IHash over a memory stream" "$sha_ours"
rate "openssl speed -evp sha256, 16 KiB blocks" "$sha_speed"
ratio "ours / openssl speed" "$sha_ours" "$sha_speed"
