#!/usr/bin/env bash
# (Re)creates the demo trust hierarchies that a default build embeds and that
# the tests sign with. DEMO MATERIAL ONLY: the private keys are committed to
# the repository, so anything they sign proves nothing. Production builds
# name their own root certificates with CMake cache variables.
#
#   bash scripts/make-demo-pki.sh [OUTPUT_DIR]     (default: pki/demo)
#
# Writes, for each of OUTPUT_DIR/regular and OUTPUT_DIR/alternative:
#   root.pem  root.key  root.der   self-signed root CA
#   inter.pem inter.key            intermediate CA (pathlen 0) issued by the root
#   leaf.pem  leaf.key             code-signing certificate issued by the intermediate
#   tsa-root.pem tsa-root.key tsa-root.der   self-signed root of the time-stamping authority
#   tsa.pem tsa.key                         time-stamping certificate issued by tsa-root
# and for the alternative set a second, independent root:
#   root2.pem root2.key root2.der
#
#   bash scripts/make-demo-pki.sh --tsa-only [OUTPUT_DIR]
# (re)makes only the time-stamping material and leaves the rest as it is.
# Keys are ECDSA P-256 (PKCS#8 PEM, unencrypted); certificates are valid for
# 50 years and have random serial numbers. Only the openssl command is used.
set -euo pipefail

tsa_only=0
if [ "${1:-}" = --tsa-only ]; then
    tsa_only=1
    shift
fi
out=${1:-"$(cd "$(dirname "$0")/.." && pwd)/pki/demo"}
days=18250
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat > "$work/extensions.cnf" <<'EOF'
[root]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash

[inter]
basicConstraints = critical, CA:TRUE, pathlen:0
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always

[leaf]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = codeSigning
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always

[tsa]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature, nonRepudiation
extendedKeyUsage = critical, timeStamping
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid:always
EOF

# A positive serial number of 16 random bytes (top bit clear, never zero).
serial() { printf '0x%02x%s' $((0x$(openssl rand -hex 1) & 0x7f | 0x01)) "$(openssl rand -hex 15)"; }

new_key() { openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$1" 2>/dev/null; chmod 0644 "$1"; }

# make_root DIR NAME "COMMON NAME"
make_root() {
    new_key "$1/$2.key"
    openssl req -new -x509 -sha256 -days "$days" -set_serial "$(serial)" \
        -key "$1/$2.key" -subj "/O=Integrity Demo/CN=$3" \
        -config "$work/extensions.cnf" -extensions root -out "$1/$2.pem"
    openssl x509 -in "$1/$2.pem" -outform DER -out "$1/$2.der"
}

# make_issued DIR NAME ISSUER "COMMON NAME" EXTENSION_SECTION
make_issued() {
    new_key "$1/$2.key"
    openssl req -new -sha256 -key "$1/$2.key" -subj "/O=Integrity Demo/CN=$4" \
        -config "$work/extensions.cnf" -out "$work/$2.csr"
    openssl x509 -req -sha256 -days "$days" -set_serial "$(serial)" -in "$work/$2.csr" \
        -CA "$1/$3.pem" -CAkey "$1/$3.key" \
        -extfile "$work/extensions.cnf" -extensions "$5" -out "$1/$2.pem" 2>/dev/null
}

# make_hierarchy SET "Title"
make_hierarchy() {
    local dir=$out/$1
    rm -rf "$dir"
    mkdir -p "$dir"
    make_root "$dir" root "Integrity Demo $2 Root"
    make_issued "$dir" inter root "Integrity Demo $2 Intermediate" inter
    make_issued "$dir" leaf inter "Integrity Demo $2 Code Signing" leaf
    openssl verify -CAfile "$dir/root.pem" -untrusted "$dir/inter.pem" "$dir/leaf.pem" >/dev/null
}

# make_tsa SET "Title": a time-stamping authority with a root of its own.
make_tsa() {
    local dir=$out/$1
    rm -f "$dir"/tsa-root.* "$dir"/tsa.*
    make_root "$dir" tsa-root "Integrity Demo $2 TSA Root"
    make_issued "$dir" tsa tsa-root "Integrity Demo $2 Time Stamping" tsa
    openssl verify -purpose timestampsign -CAfile "$dir/tsa-root.pem" "$dir/tsa.pem" >/dev/null
}

if [ "$tsa_only" -eq 0 ]; then
    make_hierarchy regular Regular
    make_hierarchy alternative Alternative
    make_root "$out/alternative" root2 "Integrity Demo Alternative Second Root"
fi
make_tsa regular Regular
make_tsa alternative Alternative
if [ "$tsa_only" -eq 1 ]; then
    echo "Demo time-stamping authorities written to $out"
    exit 0
fi

# ---- GOST demo keys --------------------------------------------------------
# The GOST R 34.10-2012 demo keys (gost256.key/.pub.pem, gost512.key/.pub.pem
# in both sets) are made by their own script, which needs the GOST provider.
if [ -f "$(dirname "$0")/demo-gost-keys.sh" ]; then
    source "$(dirname "$0")/demo-gost-keys.sh" "$out"
fi
# ---------------------------------------------------------------------------

echo "Demo hierarchies written to $out"
