#!/usr/bin/env bash
# The fuzz seed corpora as real inputs: every signed-file seed as a manifest
# of integrity_checker, every container seed as the --crl container beside a
# signed manifest, every XML seed as an unsigned manifest of the tester.
# Prints the count and the slowest run and largest peak of each group.
#   bench/bombs/corpus.sh [build-dir [corpus-dir]]
#   (default build/release and the seeds of fuzz/make_corpus.sh; pass a
#   corpus a fuzzing run has grown to measure that instead)
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/release}
bin=$build/source
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

corpus=${2:-$work/corpus}
[[ $# -ge 2 ]] || bash "$root/fuzz/make_corpus.sh" "$corpus" >/dev/null 2>&1
pki=$root/pki/demo/regular
mkdir -p "$work/product" "$work/crl"
printf '<Manifest productName="Demo" productVersion="1.0"></Manifest>\n' >"$work/product/signed.xml"
"$bin/sign/integrity_sign" --type lum --key "$pki/leaf.key" --cert "$pki/leaf.pem" \
    --chain "$pki/inter.pem" "$work/product/signed.xml" >/dev/null

group() {  # name, corpus directory, command with {} for the input
    local name=$1 dir=$2 count=0 slowest=0 largest=0
    shift 2
    for input in "$dir"/*; do
        local command=()
        for word in "$@"; do command+=("${word//\{\}/$input}"); done
        if [[ $name == containers ]]; then
            cp "$input" "$work/crl/lumcrl.rdb"
            command=("$@")
        fi
        (ulimit -v 4000000 && /usr/bin/time -o "$work/time" -f '%e %M' \
            timeout -s KILL 30 "${command[@]}" >/dev/null 2>&1) || true
        read -r seconds kb < <(tail -1 "$work/time")
        count=$((count + 1))
        slowest=$(awk -v a="$slowest" -v b="$seconds" 'BEGIN { print (b > a) ? b : a }')
        ((kb > largest)) && largest=$kb
    done
    printf '%-12s %4d inputs  slowest %5.2f s  largest peak %6d KB\n' "$name" "$count" \
        "$slowest" "$largest"
}

group signatures "$corpus/lum_signature_fuzzer" "$bin/integrity_checker" {}
group containers "$corpus/lum_container_fuzzer" "$bin/integrity_checker" --crl "$work/crl" \
    "$work/product/signed.xml"
group manifests "$corpus/manifest_xml_fuzzer" "$bin/integrity_tester" --without-signature {}
