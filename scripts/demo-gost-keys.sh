#!/usr/bin/env bash
# DEMO MATERIAL ONLY. Writes the GOST R 34.10-2012 demo keys that a default
# build trusts for "vorn2" signatures; anyone can read these private keys, so
# never sign anything real with them. Production builds name their own public
# keys with ICT_GOST_REGULAR_KEYS and ICT_GOST_ALTERNATIVE_KEYS.
#
#   scripts/demo-gost-keys.sh OUT_DIR            (OUT_DIR is normally pki/demo)
#   source scripts/demo-gost-keys.sh OUT_DIR     (from the main demo script)
#
# Writes OUT_DIR/{regular,alternative}/gost{256,512}.key (PKCS#8 PEM) and
# gost{256,512}.pub.pem (SubjectPublicKeyInfo PEM) with the openssl command
# and Debian's GOST engine (package libengine-gost-openssl). The two sets use
# different parameter sets so that both curve families are exercised.

ict_demo_gost_key() {
    local algorithm=$1 paramset=$2 key=$3 pub=$4
    openssl genpkey -engine gost -algorithm "$algorithm" -pkeyopt "paramset:$paramset" \
        -out "$key" 2>/dev/null || return 1
    chmod 600 "$key"
    openssl pkey -engine gost -in "$key" -pubout -out "$pub" 2>/dev/null || return 1
}

ict_demo_gost_keys() {
    local out=${1:?usage: demo-gost-keys.sh OUT_DIR}
    if ! openssl engine gost >/dev/null 2>&1; then
        echo "demo-gost-keys.sh: the GOST engine for OpenSSL is missing" \
            "(apt-get install libengine-gost-openssl)" >&2
        return 1
    fi
    mkdir -p "$out/regular" "$out/alternative" || return 1
    # TC26 parameter sets: 256-bit A and 512-bit A for the regular set,
    # 256-bit B and 512-bit C for the alternative one.
    ict_demo_gost_key gost2012_256 TCA "$out/regular/gost256.key" "$out/regular/gost256.pub.pem" &&
        ict_demo_gost_key gost2012_512 A "$out/regular/gost512.key" "$out/regular/gost512.pub.pem" &&
        ict_demo_gost_key gost2012_256 TCB "$out/alternative/gost256.key" \
            "$out/alternative/gost256.pub.pem" &&
        ict_demo_gost_key gost2012_512 C "$out/alternative/gost512.key" \
            "$out/alternative/gost512.pub.pem"
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
    set -euo pipefail
    ict_demo_gost_keys "$@"
else
    ict_demo_gost_keys "$@" || return 1
fi
