#!/usr/bin/env bash
# What the report and the metrics cost a verification, measured in one run.
#   bench/verify/report_cost.sh [build-dir]     (default build/bench-verify)
# Environment:
#   RUNS        timed rounds, default 5; every figure is the median
#   FILES       files in the tree, default 20000
#   NO_TARGETS  1: print everything and exit 0 even when the target is missed
# Builds the Release programs (a configured build directory as it is) and makes
# the tree of run.sh (tree.py, without its large files), generates a SHA-256 manifest,
# then over a warm page cache interleaves rounds of
#   integrity_tester --without-signature MANIFEST
# without and with INTEGRITY_CHECK_REPORT and INTEGRITY_CHECK_METRICS set.
# Target: with both on, at most 5% slower.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/bench-verify}
runs=${RUNS:-5}
files=${FILES:-20000}
no_targets=${NO_TARGETS:-0}
limit=1.05
unset INTEGRITY_CHECK_REPORT INTEGRITY_CHECK_METRICS INTEGRITY_CHECK_THREADS

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A configured build directory is used as it is.
[ -f "$build/build.ninja" ] ||
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DICT_BUILD_TESTS=OFF \
        >"$work/cmake.log" 2>&1 || { tail -n 40 "$work/cmake.log" >&2; exit 1; }
ninja -C "$build" -j2 integrity_check_tool integrity_tester >"$work/ninja.log" 2>&1 ||
    { tail -n 40 "$work/ninja.log" >&2; exit 1; }
bin=$build/source

python3 "$root/bench/verify/tree.py" "$work" "$files" 0 0 >/dev/null
cat >"$work/config.xml" <<XML
<Manifest productName="Bench" productVersion="1.0.0.0">
    <Files path="%ProductRoot%/tree" />
</Manifest>
XML
"$bin/integrity_check_tool" -g -c "$work/config.xml" -m "$work/tree.xml" --check-type Sha256 >/dev/null

# Seconds of one verification; with "report" it writes both files.
verify() {
    local start end
    start=$(date +%s.%N)
    if [ "$1" = report ]; then
        INTEGRITY_CHECK_REPORT=$work/report.jsonl INTEGRITY_CHECK_METRICS=$work/metrics.prom \
            "$bin/integrity_tester" --without-signature "$work/tree.xml" >/dev/null
    else
        "$bin/integrity_tester" --without-signature "$work/tree.xml" >/dev/null
    fi
    end=$(date +%s.%N)
    awk -v a="$start" -v b="$end" 'BEGIN { printf "%.6f\n", b - a }'
}
median() { printf '%s\n' "$@" | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

verify plain >/dev/null  # warms the page cache
plain=() reported=()
for _ in $(seq "$runs"); do
    plain+=("$(verify plain)")
    reported+=("$(verify report)")
done
p=$(median "${plain[@]}")
r=$(median "${reported[@]}")
ratio=$(awk -v a="$r" -v b="$p" 'BEGIN { printf "%.4f", a / b }')
records=$(wc -l <"$work/report.jsonl")
printf 'files %d, rounds %d, medians: without %.3f s, with report and metrics %.3f s\n' \
    "$files" "$runs" "$p" "$r"
printf 'ratio %.3f (target <= %s); report %d records, %d bytes\n' "$ratio" "$limit" "$records" \
    "$(wc -c <"$work/report.jsonl")"
if awk -v a="$ratio" -v b="$limit" 'BEGIN { exit !(a > b) }' && [ "$no_targets" != 1 ]; then
    echo "target missed" >&2
    exit 1
fi
