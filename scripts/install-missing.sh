#!/usr/bin/env bash
# Installs those of the named Debian packages that are not installed yet.
#   scripts/install-missing.sh PACKAGE...
set -euo pipefail

todo=()
for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
        todo+=("$package")
done
[ "${#todo[@]}" -gt 0 ] || exit 0

sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${todo[@]}"
