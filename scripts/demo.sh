#!/usr/bin/env bash
# Installs the dependencies, builds the programs and runs the demo: a sample
# installation gets its manifest generated and signed with the demo
# hierarchy (pki/demo: demo material only), the checker verifies it, then a
# tampered manifest and a changed file are both refused.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release -DICT_BUILD_TESTS=OFF >/dev/null
cmake --build build/demo -j "$(nproc)"
bin=$(pwd)/build/demo/source

demo=$(mktemp -d)
trap 'rm -rf "$demo"' EXIT
product=$demo/product

step() { printf '\n\033[1m== %s\033[0m\n' "$*"; }

step "A sample installation in $product"
mkdir -p "$product/bin" "$product/lib/plugins" "$product/share/doc"
printf '#!/bin/sh\necho agent\n' > "$product/bin/agent"
for i in $(seq 1 20); do
    head -c $((i * 512)) /dev/zero | tr '\0' "$(printf "\\$(printf '%03o' $((97 + i % 26)))")" \
        > "$product/lib/plugins/plugin$i.so"
done
echo "Release notes" > "$product/share/doc/README"
find "$product" -type f | sort

step "What the manifest must cover (generation input)"
cat > "$demo/config.xml" <<'XML'
<Manifest productName="Demo Agent" productVersion="1.0.0.1">
    <Environment key="Bin" value="%ProductRoot%/bin" />
    <File path="%Bin%/agent">
        <Check type="Sha256" />
    </File>
    <File path="%ProductRoot%/bin/debug-shell">
        <Check type="NotExists" />
    </File>
    <Files path="%ProductRoot%/lib" />
    <Files path="%ProductRoot%/share" />
</Manifest>
XML
cat "$demo/config.xml"

step "integrity_check_tool --generate"
"$bin/integrity_check_tool" -g -c "$demo/config.xml" -m "$product/integrity_check.xml"
head -n 20 "$product/integrity_check.xml"
echo "..."

pki=$(pwd)/pki/demo/regular
step "integrity_sign: sign the manifest with the demo code-signing certificate"
"$bin/sign/integrity_sign" --type lum --key "$pki/leaf.key" --cert "$pki/leaf.pem" --chain "$pki/inter.pem" \
    "$product/integrity_check.xml"
tail -c 12 "$product/integrity_check.xml" | od -An -tx1

step "integrity_checker (signed manifest, untouched installation)"
"$bin/integrity_checker" "$product/integrity_check.xml"

expect_failure() {  # runs the command, which must exit with 1
    local status=0
    "$@" || status=$?
    echo "exit status: $status (a failed verification exits with 1)"
    [ "$status" -eq 1 ]
}

step "A tampered copy of the signed manifest (its product version edited)"
LC_ALL=C sed 's/productVersion="1.0.0.1"/productVersion="9.0.0.1"/' "$product/integrity_check.xml" \
    > "$product/tampered.xml"
expect_failure "$bin/integrity_checker" "$product/tampered.xml"
rm "$product/tampered.xml"

step "Changing one file and dropping in a forbidden one"
echo "patched" >> "$product/lib/plugins/plugin7.so"
touch "$product/bin/debug-shell"
expect_failure "$bin/integrity_checker" "$product/integrity_check.xml"

step "integrity_checker --version"
"$bin/integrity_checker" --version
