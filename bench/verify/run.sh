#!/usr/bin/env bash
# Verification time of ours next to the Debian peers, measured in one run.
#   bench/verify/run.sh [build-dir]     (default build/bench-verify)
# Environment: RUNS (timed runs per tool, default 5), FILES (tree size,
# default 20000; the byte count scales with it).
# Installs the peers when missing, builds the Release programs, makes a
# deterministic tree (~300 MB for 20,000 files), writes every tool's list of
# expected hashes, then times each tool over a warm page cache and prints the
# median seconds with the ratios the targets are stated in. Exits 1 when a
# tool fails to verify the untouched tree or a target is missed.
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${1:-$root/build/bench-verify}
runs=${RUNS:-5}
files=${FILES:-20000}

sudo_cmd=()
[ "$(id -u)" -eq 0 ] || sudo_cmd=(sudo)
missing=()
for package in rhash hashdeep aide coreutils python3; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' ||
        missing+=("$package")
done
if [ "${#missing[@]}" -gt 0 ]; then
    export DEBIAN_FRONTEND=noninteractive
    "${sudo_cmd[@]}" apt-get update -qq
    "${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DICT_BUILD_TESTS=OFF >/dev/null
ninja -C "$build" -j2 integrity_checker integrity_check_tool integrity_tester >/dev/null
bin=$build/source

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
tree=$work/tree

# Mostly 1-16 KiB files, one in twelve up to 128 KiB and eight of 2-5 MiB,
# cut from one seeded random pool: the same tree on every run, made in seconds.
python3 - "$tree" "$files" <<'PY'
import os, random, sys
tree, count = sys.argv[1], int(sys.argv[2])
rng = random.Random(20240601)
pool = rng.randbytes(8 << 20)
large = set(rng.sample(range(count), min(8, count)))
for i in range(count):
    if i in large:
        size = rng.randint(2 << 20, 5 << 20)
    elif rng.random() < 1 / 12:
        size = rng.randint(16 << 10, 128 << 10)
    else:
        size = rng.randint(1 << 10, 16 << 10)
    folder = os.path.join(tree, f"d{i % 20:02}", f"s{i // 20 % 20:02}")
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, f"f{i:05}.bin"), "wb") as out:
        while size:
            start = rng.randrange(len(pool) - 1)
            piece = pool[start:start + size]
            out.write(piece)
            size -= len(piece)
PY
mib=$(du -sm --apparent-size "$tree" | cut -f1)

# Ours: manifests beside the tree so that the tree holds nothing else.
cat >"$work/config.xml" <<'XML'
<Manifest productName="Bench" productVersion="1.0.0.0">
    <Files path="%ProductRoot%/tree" />
</Manifest>
XML
"$bin/integrity_check_tool" -g -c "$work/config.xml" -m "$work/sha256.xml" --check-type Sha256 >/dev/null
"$bin/integrity_check_tool" -g -c "$work/config.xml" -m "$work/gost.xml" --check-type Gost2012 >/dev/null

# Peers: absolute paths, so every check runs from anywhere.
rhash --sha256 -r "$tree" >"$work/sha256.rhash"
rhash --gost12-256 -r "$tree" >"$work/gost.rhash"
find "$tree" -type f -print0 | sort -z | xargs -0 sha256sum >"$work/sha256sums"
hashdeep -c sha256 -r "$tree" >"$work/hashdeep.known"
cat >"$work/aide.conf" <<CONF
database_in=file:$work/aide.db
database_out=file:$work/aide.db.new
gzip_dbout=no
log_level=error
report_url=stdout
report_level=minimal
Hash = sha256
$tree Hash
CONF
aide --init -c "$work/aide.conf" >/dev/null
mv "$work/aide.db.new" "$work/aide.db"

names=(ours_sha rhash_sha sha256sum hashdeep hashdeep_j0 aide ours_gost rhash_gost)
declare -A label command
label[ours_sha]="ours SHA-256: integrity_tester"
label[rhash_sha]="rhash --sha256 -c"
label[sha256sum]="sha256sum -c"
label[hashdeep]="hashdeep -a (default threads)"
label[hashdeep_j0]="hashdeep -a -j0 (one thread)"
label[aide]="aide --check"
label[ours_gost]="ours GOST: integrity_tester"
label[rhash_gost]="rhash --gost12-256 -c"
command[ours_sha]="$bin/integrity_tester --without-signature $work/sha256.xml"
command[rhash_sha]="rhash --sha256 -c $work/sha256.rhash"
command[sha256sum]="sha256sum -c --quiet $work/sha256sums"
command[hashdeep]="hashdeep -a -k $work/hashdeep.known -r $tree"
command[hashdeep_j0]="hashdeep -j0 -a -k $work/hashdeep.known -r $tree"
command[aide]="aide --check -c $work/aide.conf"
command[ours_gost]="$bin/integrity_tester --without-signature $work/gost.xml"
command[rhash_gost]="rhash --gost12-256 -c $work/gost.rhash"

# Warm the page cache; the first run of each tool, untimed, must verify.
find "$tree" -type f -print0 | xargs -0 cat >/dev/null
for name in "${names[@]}"; do
    if ! ${command[$name]} >"$work/out" 2>&1; then
        echo "${label[$name]} did not verify the untouched tree:" >&2
        tail -n 20 "$work/out" >&2
        exit 1
    fi
done

# Rounds interleave the tools so that a busy moment of the machine is shared.
declare -A times
for ((round = 1; round <= runs; ++round)); do
    for name in "${names[@]}"; do
        start=$EPOCHREALTIME
        ${command[$name]} >/dev/null 2>&1 || { echo "${label[$name]} failed in round $round" >&2; exit 1; }
        end=$EPOCHREALTIME
        times[$name]+="$(awk -v s="$start" -v e="$end" 'BEGIN { printf "%.4f", e - s }') "
    done
done
declare -A median
for name in "${names[@]}"; do
    read -ra samples <<<"${times[$name]}"
    median[$name]=$(printf '%s\n' "${samples[@]}" | sort -g | awk '{ v[NR] = $1 }
        END { printf "%.3f", NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2 }')
done

# Each target: the tool ours is compared with, and the largest ours/peer ratio
# that passes ("<" or "<=").
declare -A ours_of target
for name in rhash_sha sha256sum hashdeep hashdeep_j0 aide; do ours_of[$name]=ours_sha; done
ours_of[rhash_gost]=ours_gost
target[rhash_sha]="<= 1.30"
target[sha256sum]="< 1"
target[hashdeep]="< 1"
target[hashdeep_j0]="< 1"
target[aide]="< 1"
target[rhash_gost]="< 1"

echo "Verifying $files files, $mib MiB, page cache warm; median of $runs runs"
printf '%-34s %9s %10s %9s  %s\n' tool seconds ours/peer target result
failed=0
for name in "${names[@]}"; do
    if [ -z "${ours_of[$name]:-}" ]; then
        printf '%-34s %9s %10s %9s\n' "${label[$name]}" "${median[$name]}" "" ""
        continue
    fi
    read -r op limit <<<"${target[$name]}"
    line=$(awk -v o="${median[${ours_of[$name]}]}" -v p="${median[$name]}" -v op="$op" -v l="$limit" 'BEGIN {
        r = o / p; ok = op == "<" ? r < l : r <= l
        printf "%.3f %s", r, ok ? "PASS" : "FAIL" }')
    read -r ratio verdict <<<"$line"
    [ "$verdict" = PASS ] || failed=1
    printf '%-34s %9s %10s %9s  %s\n' "${label[$name]}" "${median[$name]}" "$ratio" "${target[$name]}" "$verdict"
done
exit "$failed"
