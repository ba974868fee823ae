#!/usr/bin/env bash
# The fleet playbook end to end on three hosts of this machine: each is
# ansible_connection=local with its own installation root, where the role's
# test mode unpacks the integrity-checker package built from this tree and
# runs the service's command without systemd. One host is untouched, one
# has a changed file, one a manifest whose signature fails; the summary must
# name exactly the last two and what failed on them.
#   playbook_test.sh SOURCE_DIR BUILD_DIR CPACK INTEGRITY_SIGN
set -euo pipefail
source_dir=$1
build=$2
cpack=$3
sign=$4
command -v ansible-playbook >/dev/null || { echo "ansible-playbook is not installed" >&2; exit 77; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
pki=$source_dir/pki/demo/regular

# The package, as scripts/package.sh makes it, from the tested build.
"$cpack" --config "$build/CPackConfig.cmake" -B "$work/packages" >/dev/null
deb=$(ls "$work"/packages/integrity-checker_*.deb)

# The revocation container every host gets: a CRL of the root revoking
# nothing the hosts use.
"$sign" --make-crl --ca-cert "$pki/root.pem" --ca-key "$pki/root.key" --revoke 0123 --output "$work/root.crl" >/dev/null
"$sign" --make-container --root "$pki/root.pem" --output "$work/lumcrl.rdb" "$work/root.crl" >/dev/null

hosts=(untouched changed badsig)
for host in "${hosts[@]}"; do
    product=$work/$host/product
    mkdir -p "$product/bin" "$work/$host/root"
    echo "agent of $host" > "$product/bin/agent"
    printf '<Manifest productName="Demo" productVersion="1.0">\n  <File path="%%ProductRoot%%/bin/agent">\n    <Check type="Sha256" value="%s"/>\n  </File>\n</Manifest>\n' \
        "$(openssl dgst -sha256 -binary "$product/bin/agent" | base64)" > "$product/integrity_check.xml"
    "$sign" --type lum --key "$pki/leaf.key" --cert "$pki/leaf.pem" --chain "$pki/inter.pem" \
        "$product/integrity_check.xml" >/dev/null
done
echo "changed" >> "$work/changed/product/bin/agent"
sed -i 's/productVersion="1.0"/productVersion="1.1"/' "$work/badsig/product/integrity_check.xml"

{
    echo "[fleet]"
    for host in "${hosts[@]}"; do
        echo "$host integrity_check_root=$work/$host/root" \
             "integrity_check_manifests='[\"$work/$host/product/integrity_check.xml\"]'"
    done
    echo "[fleet:vars]"
    echo "ansible_connection=local"
    echo "ansible_python_interpreter=/usr/bin/python3"
} > "$work/inventory.ini"

# Only this test's settings: no ansible.cfg of the directory or the user.
: > "$work/ansible.cfg"
export ANSIBLE_CONFIG=$work/ansible.cfg ANSIBLE_NOCOLOR=1 ANSIBLE_LOCAL_TEMP=$work/ansible-local \
    ANSIBLE_REMOTE_TEMP=$work/ansible-remote ANSIBLE_HOME=$work/ansible-home ANSIBLE_PYTHON_INTERPRETER=/usr/bin/python3
if ! ansible-playbook -i "$work/inventory.ini" "$source_dir/ansible/fleet.yml" \
    -e integrity_check_group=fleet -e "integrity_check_deb=$deb" -e "integrity_check_crl_file=$work/lumcrl.rdb" \
    -e "integrity_check_fleet_dir=$work/fleet" > "$work/playbook.log" 2>&1; then
    cat "$work/playbook.log" >&2
    exit 1
fi

cat "$work/fleet/summary.json" "$work/fleet/summary.txt"
# The untouched host passed with its revocation data in place, the others
# failed with exactly their one finding.
grep -q "^INTEGRITY_CHECK_CRL_DIR=\"$work/untouched/root/etc/integrity-check/crl\"$" \
    "$work/untouched/root/etc/default/integrity-check"
WORK=$work /usr/bin/python3 - "$work/fleet/summary.json" <<'PYTHON'
import json, os, sys
work = os.environ["WORK"]
summary = json.load(open(sys.argv[1]))
changed = work + "/changed/product"
badsig = work + "/badsig/product/integrity_check.xml"
assert (summary["hosts_checked"], summary["hosts_failed"]) == (3, 2), summary
assert summary["hosts"]["untouched"] == {"exit_status": 0, "failures": []}, summary
[failure] = summary["hosts"]["changed"]["failures"]
assert summary["hosts"]["changed"]["exit_status"] == 1
assert (failure["manifest"], failure["kind"], failure["path"]) == \
    (changed + "/integrity_check.xml", "file", changed + "/bin/agent"), failure
assert failure["reason"], failure
[failure] = summary["hosts"]["badsig"]["failures"]
assert summary["hosts"]["badsig"]["exit_status"] == 1
assert (failure["manifest"], failure["kind"], failure["path"]) == (badsig, "manifest", badsig), failure
assert failure["reason"].startswith("Can't verify LUM signature of file " + badsig), failure
PYTHON
text=$(cat "$work/fleet/summary.txt")
[ "$(grep -c '^changed ' <<<"$text")" -eq 1 ] && [ "$(grep -c '^badsig ' <<<"$text")" -eq 1 ]
! grep -q '^untouched' <<<"$text"
grep -q '^3 hosts checked, 2 failed, 2 failures$' <<<"$text"
echo "fleet playbook: OK"
