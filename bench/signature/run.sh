#!/usr/bin/env bash
# Cost of a "vorn2" check of a 14 MB manifest next to hashing it with our
# GOST R 34.11-2012, both measured in one run of the benchmark.
#   bench/signature/run.sh [build-dir]     (default build/bench-release)
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/bench-release}

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DICT_BUILD_BENCH=ON \
    -DICT_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target signature_bench -j2 >/dev/null

csv=$(mktemp)
trap 'rm -f "$csv"' EXIT
"$build/bench/signature/signature_bench" --benchmark_format=csv --benchmark_repetitions=5 \
    --benchmark_report_aggregates_only=true >"$csv" 2>/dev/null

# Median real time in milliseconds of one benchmark.
median() {
    awk -F, -v name="$1" '{ gsub(/"/, "", $1) } $1 == name "_median" { printf "%.2f", $3 }' "$csv"
}

for bits in 256 512; do
    hash=$(median "BM_HashFile/$bits")
    verify=$(median "BM_VerifyVorn2/$bits")
    awk -v b="$bits" -v h="$hash" -v v="$verify" 'BEGIN {
        printf "%s-bit key, 14 MB manifest: hash %.2f ms, vorn2 check %.2f ms, difference %.2f ms (budget 5 ms): %s\n",
            b, h, v, v - h, (v - h <= 5 ? "OK" : "OVER") }'
done
