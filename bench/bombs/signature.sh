#!/usr/bin/env bash
# Signature and pseudo-file bombs: a signed manifest whose CMS carries 16 MB
# of junk CRLs, one with 100,000 duplicate certificates, and
# /proc/self/pagemap (size 0, hundreds of GB to read) as a manifest and as
# listed files. Prints "seconds s  peak-KB KB", the exit status and the
# verdict of each run; every run is cut at 30 s and 4 GB of address space so
# that a regression cannot take the machine down. Needs python3.
#   bench/bombs/signature.sh [build-dir]     (default build/release, configured
#   with -DICT_ALLOW_DEMO_ROOTS=ON; or a directory of programs laid out as built)
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/release}
if [[ -f $build/build.ninja ]]; then
    ninja -C "$build" integrity_checker integrity_tester integrity_check_tool integrity_sign >/dev/null
fi
bin=$build/source

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

pki=$root/pki/demo/regular
printf x >"$work/agent"
printf '<Manifest productName="Demo" productVersion="1.0"><File path="%s/agent"><Check type="Value" value="eA=="/></File></Manifest>\n' \
    "$work" >"$work/signed.xml"
"$bin/sign/integrity_sign" --type lum --key "$pki/leaf.key" --cert "$pki/leaf.pem" \
    --chain "$pki/inter.pem" "$work/signed.xml" >/dev/null

# Rewrites the CMS of a signed file: copies of its last certificate, a CRL.
cat >"$work/bomb.py" <<'PY'
import struct, sys

def header(data, at):
    tag, length, at = data[at], data[at + 1], at + 2
    if length & 0x80:
        count = length & 0x7F
        length, at = int.from_bytes(data[at:at + count], "big"), at + count
    return tag, at, length

def children(data):
    at, out = 0, []
    while at < len(data):
        tag, start, length = header(data, at)
        out.append((tag, data[start:start + length], data[at:start + length]))
        at = start + length
    return out

def tlv(tag, content):
    n = len(content)
    size = bytes([n]) if n < 0x80 else bytes([0x80 | ((n.bit_length() + 7) // 8)]) + \
        n.to_bytes((n.bit_length() + 7) // 8, "big")
    return bytes([tag]) + size + content

source, target, copies, crl_bytes = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
data = open(source, "rb").read()
der_size = struct.unpack(">I", data[-12:-8])[0]
content, der = data[:-12 - der_size], data[-12 - der_size:-12]
(_, info, _), = children(der)
oid, (_, signed_data, _) = children(info)
(_, fields, _), = children(signed_data)
fields = children(fields)
out = b""
for index, (tag, body, whole) in enumerate(fields):
    if tag == 0xA0:
        certificates = [c[2] for c in children(body)]
        body = b"".join(certificates) + certificates[-1] * copies
        whole = tlv(0xA0, body)
    if index == len(fields) - 1 and crl_bytes:  # before signerInfos
        # One CRL of tiny revoked entries: serial and date, 21 bytes each.
        entry = tlv(0x30, tlv(0x02, b"\x01") + tlv(0x17, b"260101000000Z"))
        algorithm = tlv(0x30, tlv(0x06, bytes.fromhex("2a8648ce3d040302")))
        tbs = tlv(0x30, tlv(0x02, b"\x01") + algorithm + tlv(0x30, b"") +
                  tlv(0x17, b"260101000000Z") + tlv(0x30, entry * (crl_bytes // len(entry))))
        out += tlv(0xA1, tlv(0x30, tbs + algorithm + tlv(0x03, b"\x00\x00")))
    out += whole
der = tlv(0x30, oid[2] + tlv(0xA0, tlv(0x30, out)))
open(target, "wb").write(content + der + struct.pack(">I", len(der)) + data[-8:])
PY
python3 "$work/bomb.py" "$work/signed.xml" "$work/crls.xml" 0 $((16 * 1024 * 1024))
python3 "$work/bomb.py" "$work/signed.xml" "$work/certificates.xml" 100000 0

printf '<Manifest><File path="/proc/self/pagemap"><Check type="Sha256" value="AA=="/></File></Manifest>\n' \
    >"$work/hash.xml"
printf '<Manifest><File path="/proc/self/pagemap"><Check type="Value" value="AA=="/></File></Manifest>\n' \
    >"$work/value.xml"

run() {  # name, program, arguments...
    local name=$1
    shift
    local status=0
    (ulimit -v 4000000 && /usr/bin/time -o "$work/time" -f '%e s %M KB' \
        timeout -s KILL 30 "$@" >"$work/out" 2>&1) || status=$?
    local verdict
    # The reason of a refusal, else the last line (SUCCEEDED, FAILED).
    verdict=$({ grep -m1 -oE "(Reason|Flags): .*|Can't create IO.*|\((Out|File)[^)]*\)|std::bad_alloc" "$work/out" ||
        grep -v '^[[:space:]]*$' "$work/out" | tail -1 || true; } | cut -c1-90)
    printf '%-26s %-18s exit %-3s %s\n' "$name" "$(tail -1 "$work/time" 2>/dev/null)" "$status" \
        "${verdict//$work/}"
}

printf '%-26s %s\n' "plain signed manifest" "$(stat -c %s "$work/signed.xml") bytes"
printf '%-26s %s\n' "junk CRLs" "$(stat -c %s "$work/crls.xml") bytes"
printf '%-26s %s\n' "duplicate certificates" "$(stat -c %s "$work/certificates.xml") bytes"
run "plain signed manifest" "$bin/integrity_checker" "$work/signed.xml"
run "junk CRLs" "$bin/integrity_checker" "$work/crls.xml"
run "duplicate certificates" "$bin/integrity_checker" "$work/certificates.xml"
run "pagemap manifest (lum)" "$bin/integrity_checker" /proc/self/pagemap
run "pagemap manifest (xml)" "$bin/integrity_tester" --without-signature /proc/self/pagemap
run "pagemap listed, Sha256" "$bin/integrity_tester" --without-signature "$work/hash.xml"
run "pagemap listed, Value" "$bin/integrity_tester" --without-signature "$work/value.xml"
run "pagemap, tool -z" "$bin/integrity_check_tool" -z /proc/self/pagemap
run "pagemap, tool sha256" "$bin/integrity_check_tool" --calc-hash-sha256 /proc/self/pagemap
