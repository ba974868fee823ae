#!/usr/bin/env bash
# Seeds for vorn_record_fuzzer: signed files made with the regular demo keys
# (which the fuzzer trusts) and the GOST engine for OpenSSL, plus broken ones.
#   bash fuzz/make_corpus_vorn.sh OUTDIR     writes OUTDIR/vorn_record_fuzzer/
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
out=${1:?usage: make_corpus_vorn.sh OUTDIR}/vorn_record_fuzzer
mkdir -p "$out"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

trailer='\x00\x56\x4f\x52\x4e\x32\x53\x47'
printf '<manifest/>\n' >"$work/content"

# signed VERSION BITS DIGEST: content | version | key id | s || r | length | trailer
signed() {
    local version=$1 bits=$2 digest=$3 key=$root/pki/demo/regular/gost$2
    sed '1d;$d' "$key.pub.pem" | base64 -d >"$work/pub.der"
    tail -c $((bits / 4)) "$work/pub.der" >"$work/xy"
    openssl dgst -engine gost -md_gost12_256 -binary "$work/xy" 2>/dev/null | head -c 8 >"$work/id"
    openssl dgst -engine gost "$digest" -sign "$key.key" -out "$work/sig" "$work/content" 2>/dev/null
    local length=$((1 + 8 + bits / 4 + 4))
    {
        cat "$work/content"
        printf "\\x$(printf %02x "$version")"
        cat "$work/id" "$work/sig"
        printf "\\x00\\x00\\x00\\x$(printf %02x "$length")"
        printf "$trailer"
    } >"$work/signed$bits"
}

if openssl engine gost >/dev/null 2>&1; then
    signed 1 256 -md_gost12_256
    signed 2 512 -md_gost12_512
    cp "$work/signed256" "$out/signed256"
    cp "$work/signed512" "$out/signed512"
    # Wrong version byte, length off by one, record cut short.
    size=$(stat -c %s "$work/signed256")
    { head -c $((size - 8 - 77)) "$work/signed256"; printf '\x03'; tail -c $((77 + 8 - 1)) "$work/signed256"; } >"$out/version3"
    { head -c $((size - 9)) "$work/signed256"; printf '\x4e'; printf "$trailer"; } >"$out/length78"
    { head -c 20 "$work/signed512"; tail -c 40 "$work/signed512"; } >"$out/cut512"
else
    echo "make_corpus_vorn.sh: no GOST engine for OpenSSL; writing unsigned seeds only" >&2
fi
cp "$work/content" "$out/unsigned"
printf "$trailer" >"$out/trailer-only"
{ printf '\x00\x00\x00\x4d'; printf "$trailer"; } >"$out/length-only"
