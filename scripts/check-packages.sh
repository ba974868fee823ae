#!/usr/bin/env bash
# Checks the Debian packages the way an operator meets them:
#   bash scripts/check-packages.sh AMD64_PACKAGE_DIR [ARM64_PACKAGE_DIR]
# amd64: installs integrity-checker with dpkg, verifies a manifest signed with
# the demo hierarchy from the installed paths, refuses a tampered one, shows
# the man page, checks the systemd units and runs the service's command,
# then installs integrity-sign, signs with the installed tool, and purges
# both. arm64: the package lists AArch64 executables only, depends
# on the libraries they link, and its checker runs under qemu.
# Needs root (or sudo) for dpkg, and packages built with -DICT_ALLOW_DEMO_ROOTS=ON.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
amd64=$1
arm64=${2:-}

sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
fail() { echo "check-packages: $*" >&2; exit 1; }
# Whether text $1 has a line matching $2. Output is taken whole first: with
# pipefail, a "grep -q" that stops reading early fails its writer.
contains() { grep -q -- "$2" <<<"$1"; }
one() { local f; f=$(ls "$1"/"$2"_*.deb); [ "$(echo "$f" | wc -l)" -eq 1 ] || fail "expected one $2 package in $1"; echo "$f"; }

work=$(mktemp -d)
chmod 755 "$work"
cleanup() {
    "${sudo_cmd[@]}" dpkg -P integrity-sign integrity-checker >/dev/null 2>&1 || true
    rm -rf "$work"
}
trap cleanup EXIT

# A small installation and its manifest, signed with the demo leaf.
mkdir -p "$work/product/bin"
echo "tool" > "$work/product/bin/tool"
printf '<Manifest>\n    <File path="%%ProductRoot%%/bin/tool">\n        <Check type="Sha256" value="%s"/>\n    </File>\n</Manifest>\n' \
    "$(openssl dgst -sha256 -binary "$work/product/bin/tool" | base64)" > "$work/product/integrity_check.xml"
pki=$root/pki/demo/regular
# Signed with stock OpenSSL here; the installed signing tool comes later.
manifest=$work/product/integrity_check.xml
openssl cms -sign -binary -in "$manifest" -signer "$pki/leaf.pem" -inkey "$pki/leaf.key" \
    -certfile "$pki/inter.pem" -outform DER -out "$work/manifest.p7s"
len=$(wc -c < "$work/manifest.p7s")
be32=$(printf '\\%03o' $((len >> 24 & 255)) $((len >> 16 & 255)) $((len >> 8 & 255)) $((len & 255)))
{ cat "$work/manifest.p7s"; printf "$be32"; printf '\000LUMSIG\001'; } >> "$manifest"

echo "=== packages (amd64): install integrity-checker"
checker=$(one "$amd64" integrity-checker)
signer=$(one "$amd64" integrity-sign)
contains "$(dpkg-deb -f "$checker" Depends)" libssl3 || fail "integrity-checker does not depend on libssl3"
"${sudo_cmd[@]}" dpkg -i "$checker" >/dev/null
[ -x /usr/bin/integrity_checker ] && [ -x /usr/bin/integrity_check_tool ] || fail "programs not installed in /usr/bin"
[ ! -e /usr/bin/integrity_sign ] || fail "the checker package brought the signing tool"
# The programs print the package's upstream version, then their build suffix.
upstream=$(dpkg-deb -f "$checker" Version)
upstream=${upstream%-*}
contains "$(/usr/bin/integrity_checker --version)" "^Version ${upstream//./\\.}-" ||
    fail "integrity_checker --version does not name version $upstream"
contains "$(/usr/bin/integrity_checker "$manifest")" '^SUCCEEDED$' || fail "verification failed"
sed 's/Sha256/Value/' "$manifest" > "$work/product/tampered.xml"
if /usr/bin/integrity_checker "$work/product/tampered.xml" >/dev/null 2>&1; then fail "a tampered manifest passed"; fi
[ "$(man -w integrity_checker)" = /usr/share/man/man1/integrity_checker.1.gz ] || fail "no man page for integrity_checker"
contains "$(man -P cat integrity_checker 2>/dev/null)" '--signature-type' || fail "the man page does not render"
[ -f /usr/share/doc/integrity-checker/README.md ] && [ -f /usr/share/doc/integrity-checker/security.md ] && [ -f /usr/share/doc/integrity-checker/release.md ] || fail "no documentation installed"

echo "=== packages (amd64): the scheduled check"
units=/usr/lib/systemd/system
[ -f $units/integrity-check.service ] && [ -f $units/integrity-check.timer ] || fail "no systemd units installed"
[ -x /usr/lib/integrity-check/integrity-check-run ] || fail "the service's command is not installed"
contains "$(dpkg-deb -I "$checker" conffiles)" '^/etc/default/integrity-check$' ||
    fail "/etc/default/integrity-check is not a conffile"
# The operator enables the timer after naming the manifests, not the package.
if dpkg-deb -I "$checker" postinst >/dev/null 2>&1; then fail "integrity-checker has a postinst"; fi
contains "$(INTEGRITY_CHECK_MANIFESTS=$manifest /usr/lib/integrity-check/integrity-check-run)" '^SUCCEEDED$' ||
    fail "the service's command failed"

echo "=== packages (amd64): install integrity-sign, sign, remove both"
"${sudo_cmd[@]}" dpkg -i "$signer" >/dev/null
/usr/bin/integrity_sign --type lum-with-filename --key "$pki/leaf.key" --cert "$pki/leaf.pem" \
    --chain "$pki/inter.pem" --replace "$manifest" >/dev/null
contains "$(/usr/bin/integrity_checker --signature-type lum-with-filename "$manifest")" '^SUCCEEDED$' ||
    fail "a manifest signed by the installed integrity_sign failed"
man -w integrity_sign >/dev/null || fail "no man page for integrity_sign"
"${sudo_cmd[@]}" dpkg -P integrity-sign integrity-checker >/dev/null
[ ! -e /usr/bin/integrity_checker ] || fail "dpkg -P left integrity_checker behind"
[ ! -e /etc/default/integrity-check ] || fail "dpkg -P left /etc/default/integrity-check behind"

if [ -n "$arm64" ]; then
    echo "=== packages (arm64): contents, dependencies, the checker under qemu"
    for package in integrity-checker integrity-sign; do
        deb=$(one "$arm64" "$package")
        [ "$(dpkg-deb -f "$deb" Architecture)" = arm64 ] || fail "$deb is not for arm64"
        contains "$(dpkg-deb -f "$deb" Depends)" libssl3 || fail "$deb does not depend on libssl3"
        dpkg-deb -c "$deb" | awk '{ print $6 }'
        dpkg-deb -x "$deb" "$work/arm64"
    done
    for program in "$work"/arm64/usr/bin/*; do
        contains "$(file -b "$program")" 'ARM aarch64' || fail "$program is not an AArch64 executable"
    done
    contains "$(qemu-aarch64 -L / "$work/arm64/usr/bin/integrity_checker" --version)" '^Version ' ||
        fail "the arm64 checker does not run under qemu"
    contains "$(qemu-aarch64 -L / "$work/arm64/usr/bin/integrity_checker" --signature-type lum-with-filename \
        "$manifest")" '^SUCCEEDED$' || fail "the arm64 checker refused the signed manifest"
fi
echo "=== packages: OK"
