#!/usr/bin/env bash
# Cost of a "vorn2" check of a 14 MB manifest next to hashing it with our
# GOST R 34.11-2012, and of a "lum" check with and without a time-stamp
# token, all measured in one run of the benchmark. Needs openssl.
#   bench/signature/run.sh [build-dir]     (default build/bench-release)
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/bench-release}

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DICT_BUILD_BENCH=ON \
    -DICT_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target signature_bench integrity_sign -j2 >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
csv=$work/results.csv

# A 1 MB manifest signed with the demo hierarchy, and a copy stamped by the
# demo TSA through stock openssl.
pki=$root/pki/demo/regular
sign=$build/source/sign/integrity_sign
head -c 1000000 /dev/zero | tr '\0' 'x' >"$work/plain.xml"
"$sign" --type lum --key "$pki/leaf.key" --cert "$pki/leaf.pem" --chain "$pki/inter.pem" \
    "$work/plain.xml" >/dev/null
cp "$work/plain.xml" "$work/stamped.xml"
printf '[ tsa ]\ndefault_tsa = d\n[ d ]\nserial = %s/serial\nsigner_digest = sha256\ndefault_policy = 1.2.3.4\ndigests = sha256\ness_cert_id_alg = sha256\n' \
    "$work" >"$work/tsa.cnf"
"$sign" --tsa-query "$work/q.tsq" "$work/stamped.xml" >/dev/null
openssl ts -reply -config "$work/tsa.cnf" -queryfile "$work/q.tsq" -signer "$pki/tsa.pem" \
    -inkey "$pki/tsa.key" -out "$work/r.tsr" 2>/dev/null
"$sign" --tsa-reply "$work/r.tsr" --tsa-query "$work/q.tsq" "$work/stamped.xml" >/dev/null

ICT_BENCH_LUM_PLAIN=$work/plain.xml ICT_BENCH_LUM_STAMPED=$work/stamped.xml \
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

plain=$(median BM_VerifyLum)
stamped=$(median BM_VerifyLumStamped)
awk -v p="$plain" -v s="$stamped" 'BEGIN {
    printf "lum check of a 1 MB manifest: %.2f ms, with a time-stamp token %.2f ms, difference %.2f ms (budget 2 ms): %s\n",
        p, s, s - p, (s - p <= 2 ? "OK" : "OVER") }'
