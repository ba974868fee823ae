#!/usr/bin/env bash
# Time and peak memory of the checker on hostile revocation containers: a
# gzip container holding one CRL in the demo root's name, with a zero
# signature and padded with identical entries to the given inflated sizes;
# the same CRL stored plain; one with an issuer name of a million parts;
# and millions of empty databases. Every case
# must be refused, within 2 s and 256 MB.
#   bench/bombs/crl_bomb.sh [build-dir] [inflated-MiB ...]
#   (defaults: build/release, 15 250)
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/release}
shift || true
sizes=("$@")
[ ${#sizes[@]} -gt 0 ] || sizes=(15 250)

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
pki=$root/pki/demo/regular
sign=$build/source/sign/integrity_sign
checker=$build/source/integrity_checker

# A signed one-file product.
mkdir -p "$work/product"
printf x >"$work/product/agent"
printf '<Manifest productName="Demo" productVersion="1.0"><File path="%%ProductRoot%%/agent"><Check type="Value" value="eA=="/></File></Manifest>\n' \
    >"$work/product/integrity_check.xml"
"$sign" --type lum --key "$pki/leaf.key" --cert "$pki/leaf.pem" --chain "$pki/inter.pem" \
    "$work/product/integrity_check.xml" >/dev/null

# A genuine CRL of the root, whose fields the bombs copy.
"$sign" --make-crl --ca-cert "$pki/root.pem" --ca-key "$pki/root.key" --output "$work/real.pem" >/dev/null
openssl crl -in "$work/real.pem" -outform DER -out "$work/real.der"
serial=$(openssl x509 -in "$pki/root.pem" -noout -serial | cut -d= -f2)

# make_container OUT MIB COMPRESS [name]: a container of one CRL carrying
# the genuine CRL's header, about MIB MiB of revoked entries (or, with
# "name", of issuer name components) and a zero signature.
make_container() {
    python3 - "$work/real.der" "$serial" "$1" "$2" "$3" "${4:-}" <<'PY'
import gzip, struct, sys
der = open(sys.argv[1], "rb").read()
hid = bytes.fromhex(sys.argv[2])
out, mib, compress = sys.argv[3], int(sys.argv[4]), sys.argv[5] == "1"
padding = mib * 1024 * 1024

def tlv(tag, body):
    n = len(body)
    if n < 0x80:
        return bytes([tag, n]) + body
    size = n.to_bytes((n.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(size)]) + size + body

def children(data):
    items, i = [], 0
    while i < len(data):
        tag, first = data[i], data[i + 1]
        if first < 0x80:
            n, head = first, 2
        else:
            k = first & 0x7F
            n, head = int.from_bytes(data[i + 2:i + 2 + k], "big"), 2 + k
        items.append(data[i:i + head + n])
        i += head + n
    return items

def body(item):
    first = item[1]
    return item[2 + (first & 0x7F if first >= 0x80 else 0):]

tbs, algorithm, _ = children(body(der))
version, inner, issuer, this_update, next_update = children(body(tbs))[:5]
if sys.argv[6] == "name":
    component = tlv(0x31, tlv(0x30, tlv(0x06, b"\x55\x04\x03") + tlv(0x0C, b"a")))
    issuer = tlv(0x30, component * (padding // len(component)))
    revoked = b""
else:
    entry = tlv(0x30, tlv(0x02, b"\x01\x23") + tlv(0x17, b"250101000000Z"))
    revoked = tlv(0x30, entry * (padding // len(entry)))
tbs = tlv(0x30, version + inner + issuer + this_update + next_update + revoked)
crl = tlv(0x30, tbs + algorithm + tlv(0x03, b"\x00" + bytes(72)))
container = b"LUMRDB01" + struct.pack(">I", 1) + struct.pack(">I", len(hid)) + hid
container += struct.pack(">I", len(crl)) + crl
open(out, "wb").write(gzip.compress(container, 9) if compress else container)
PY
}

# run NAME: times the checker on the container in $work/crl.
run() {
    local size
    size=$(stat -c %s "$work/crl/lumcrl.rdb")
    set +e
    /usr/bin/time -f "%e %M" -o "$work/time" "$checker" --crl "$work/crl" \
        "$work/product/integrity_check.xml" >/dev/null 2>"$work/err"
    local status=$?
    set -e
    read -r seconds kib < <(tail -n 1 "$work/time")
    printf '%-34s %10s bytes  exit %d  %6s s  %7d MiB peak  %s\n' "$1" "$size" "$status" \
        "$seconds" $((kib / 1024)) "$(sed -n 's/^std::exception::what: //p' "$work/err" | head -n 1)"
}

mkdir -p "$work/crl"
for mib in "${sizes[@]}"; do
    make_container "$work/crl/lumcrl.rdb" "$mib" 1
    run "gzip, ${mib} MiB inflated"
done
make_container "$work/crl/lumcrl.rdb" 15 0
run "plain, 15 MiB"
make_container "$work/crl/lumcrl.rdb" 15 1 name
run "gzip, 15 MiB issuer name"
# Nearly 16 MiB of empty databases of an unknown hierarchy, compressed.
python3 - "$work/crl/lumcrl.rdb" <<'PY'
import gzip, struct, sys
count = (16 * 1024 * 1024 - 12) // 9
database = struct.pack(">I", 1) + b"\x01" + struct.pack(">I", 0)
container = b"LUMRDB01" + struct.pack(">I", count) + database * count
open(sys.argv[1], "wb").write(gzip.compress(container, 9))
PY
run "gzip, $(((16 * 1024 * 1024 - 12) / 9)) empty databases"
