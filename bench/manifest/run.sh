#!/usr/bin/env bash
# Manifest load against TinyXML's bare parse of the same 100,000-entry
# manifest: time in one benchmark run, peak memory in separate processes.
#   bash bench/manifest/run.sh [build-dir]     (default build/bench-manifest)
# Targets: our load takes at most 1.5 times TinyXML's parse, the process
# doing it peaks under 200 MB, and checking the manifest's signature (signed
# with the demo hierarchy) adds at most 10% to the load. Exits 1 when a
# target is missed.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/bench-manifest}
jobs=${JOBS:-2}
max_ratio=1.5
max_peak_mb=200

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DICT_BUILD_BENCH=ON \
    -DICT_BUILD_TESTS=OFF >/dev/null
ninja -C "$build" -j "$jobs" manifest_bench manifest_load integrity_sign >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
manifest=$work/integrity_check.xml
load=$build/bench/manifest/manifest_load

echo "Manifest: $("$load" generate "$manifest")"
pki=$root/pki/demo/regular
"$build/source/sign/integrity_sign" --type lum --key "$pki/leaf.key" --cert "$pki/leaf.pem" \
    --chain "$pki/inter.pem" --output "$work/signed.xml" "$manifest" >/dev/null

# Repetitions interleaved at random, so that load from other work on the
# machine falls on both sides alike; the verdict compares the medians, the
# best repetition of each is shown beside them.
"$build/bench/manifest/manifest_bench" --benchmark_repetitions=9 \
    --benchmark_enable_random_interleaving=true --benchmark_format=csv \
    "$manifest" "$work/signed.xml" >"$work/times.csv" 2>/dev/null
# CPU milliseconds of benchmark $1 over the repetitions: "best" or "median" ($2).
cpu_ms() {
    awk -F, -v name="$1" -v pick="$2" '
        NR == 1 { next }
        { gsub(/"/, "", $1); sub(/\/iterations:[0-9]+/, "", $1) }
        $1 == name && (best == "" || $4 + 0 < best) { best = $4 + 0 }
        $1 == name "_median" { median = $4 + 0 }
        END { printf "%.1f", pick == "best" ? best : median }' "$work/times.csv"
}
tiny_best=$(cpu_ms BM_TinyXmlParse best)
tiny_median=$(cpu_ms BM_TinyXmlParse median)
ours_best=$(cpu_ms BM_OurLoad best)
ours_median=$(cpu_ms BM_OurLoad median)
signed_best=$(cpu_ms BM_OurLoadSigned best)
signed_median=$(cpu_ms BM_OurLoadSigned median)

# One cold load per process, three of each taken in turn; each line reads
# "<mode> <ms> ms <peak> MB <count>". The median time and the highest peak.
for _ in 1 2 3; do
    "$load" tinyxml "$manifest" >>"$work/cold.txt"
    "$load" ours "$manifest" >>"$work/cold.txt"
done
cold() {
    awk -v mode="$1" -v pick="$2" '$1 == mode { ms[n++] = $2; if ($4 > peak) peak = $4; files = $6 }
        END {
            if (pick == "peak") { printf "%.1f", peak; exit }
            if (pick == "files") { print files; exit }
            for (i = 0; i < n; ++i) for (j = i + 1; j < n; ++j) if (ms[j] < ms[i]) {
                t = ms[i]; ms[i] = ms[j]; ms[j] = t }
            printf "%.1f", ms[int(n / 2)] }' "$work/cold.txt"
}
tiny_cold=$(cold tinyxml ms)
tiny_peak=$(cold tinyxml peak)
ours_cold=$(cold ours ms)
ours_peak=$(cold ours peak)
ours_files=$(cold ours files)

row() { printf '%-46s %9s %9s %9s %9s\n' "$@"; }
echo
row "" "median" "best" "cold" "peak"
row "" "CPU ms" "CPU ms" "ms" "MB"
row "TinyXML: read + TiXmlDocument::Parse" "$tiny_median" "$tiny_best" "$tiny_cold" "$tiny_peak"
row "ours: load, collapse, expand ($ours_files files)" "$ours_median" "$ours_best" "$ours_cold" \
    "$ours_peak"
row "ours, signature checked first" "$signed_median" "$signed_best" "" ""
row "ratio ours / TinyXML" \
    "$(awk -v a="$ours_median" -v b="$tiny_median" 'BEGIN { printf "%.2f", a / b }')" \
    "$(awk -v a="$ours_best" -v b="$tiny_best" 'BEGIN { printf "%.2f", a / b }')" \
    "$(awk -v a="$ours_cold" -v b="$tiny_cold" 'BEGIN { printf "%.2f", a / b }')" ""
echo

verdict=0
awk -v ours="$ours_median" -v tiny="$tiny_median" -v max="$max_ratio" 'BEGIN {
        ok = ours / tiny <= max
        printf "Time:   median ratio %.2f <= %.1f   %s\n", ours / tiny, max, ok ? "PASS" : "FAIL"
        exit !ok }' || verdict=1
awk -v signed="$signed_median" -v plain="$ours_median" 'BEGIN {
        ok = signed / plain <= 1.10
        printf "Signature: signed load / load %.3f <= 1.10   %s\n", signed / plain, ok ? "PASS" : "FAIL"
        exit !ok }' || verdict=1
awk -v peak="$ours_peak" -v max="$max_peak_mb" 'BEGIN {
        ok = peak < max
        printf "Memory: our peak %.1f MB < %d MB   %s\n", peak, max, ok ? "PASS" : "FAIL"
        exit !ok }' || verdict=1
exit "$verdict"
