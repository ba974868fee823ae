#!/usr/bin/env bash
# The systemd units as the integrity-checker package installs them: they
# load, their command exists and is executable, and the service's sandbox
# keeps its exposure low. Installed into a temporary root, which also gets
# this machine's targets and slices for the dependencies every unit has;
# systemd need not run.
#   units_test.sh CMAKE BUILD_DIR
set -euo pipefail
cmake=$1
build=$2

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
DESTDIR=$root "$cmake" --install "$build" --component checker --prefix /usr >/dev/null
units=$root/usr/lib/systemd/system
cp -n /lib/systemd/system/*.target /lib/systemd/system/*.slice "$units"/

# verify reports a bad setting only as a warning: any output fails.
out=$(systemd-analyze verify --man=no --root="$root" integrity-check.service integrity-check.timer 2>&1) ||
    { echo "$out" >&2; exit 1; }
[ -z "$out" ] || { echo "$out" >&2; echo "systemd-analyze verify warned" >&2; exit 1; }

# Exposure at most 2.0 of 10 (the threshold is in tenths).
if ! out=$(systemd-analyze security --offline=yes --threshold=20 --root="$root" integrity-check.service 2>&1); then
    echo "$out" >&2
    echo "integrity-check.service is exposed more than the threshold allows" >&2
    exit 1
fi
grep -q '^ExecStart=/usr/lib/integrity-check/integrity-check-run$' "$units/integrity-check.service"
[ -x "$root/usr/lib/integrity-check/integrity-check-run" ] && [ -x "$root/usr/bin/integrity_checker" ]
[ -f "$root/etc/default/integrity-check" ]
echo "units: OK"
