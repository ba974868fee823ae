#!/usr/bin/env bash
# Checks the tree the way CI does, before anything is built:
#   1. every tracked .cpp and .h is formatted as .clang-format says;
#   2. clang-tidy (.clang-tidy) finds nothing in our own translation units
#      (source/, component/), read from a configured build's compilation
#      database.
#   bash scripts/lint.sh [build dir]   (default build/release; configured
#                                        here when it has no database yet)
# Fails listing the offending files, or with clang-tidy's findings.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/release}
jobs=$(nproc)

echo "=== lint: clang-format"
unformatted=$(git ls-files -z -- '*.cpp' '*.h' |
    xargs -0 -P "$jobs" -n 8 sh -c \
        'for f; do clang-format --dry-run --Werror "$f" >/dev/null 2>&1 || echo "$f"; done' sh |
    sort)
if [ -n "$unformatted" ]; then
    printf 'not formatted (run clang-format -i on them):\n%s\n' "$unformatted" >&2
    exit 1
fi

echo "=== lint: clang-tidy"
if [ ! -f "$build/compile_commands.json" ]; then
    cmake -S . -B "$build" -G Ninja -DCMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null
fi
# Our translation units as the database names them; generated sources and
# the tests, benchmarks and fuzz targets are left out.
root=$(pwd)
units=$(python3 - "$build/compile_commands.json" "$root" <<'PY'
import json, sys
root = sys.argv[2].rstrip("/") + "/"
for entry in json.load(open(sys.argv[1])):
    path = entry["file"]
    if path.startswith(root + "source/") or path.startswith(root + "component/"):
        print(path)
PY
)
if [ -z "$units" ]; then
    echo "no translation units of source/ or component/ in $build/compile_commands.json" >&2
    exit 1
fi
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# One clang-tidy a unit, in parallel; -quiet leaves only the findings.
# Compiler warnings are the builds' business; clang 14 would also take the
# literal 0 of every defaulted operator<=> for a null pointer.
if ! printf '%s\n' "$units" | sort -u |
    xargs -P "$jobs" -n 1 clang-tidy -p "$build" -quiet \
        --extra-arg=-Wno-zero-as-null-pointer-constant >"$log" 2>&1; then
    grep -v -E '^[0-9]+ warnings? (and [0-9]+ errors? )?generated\.$' "$log" >&2 || true
    echo "=== lint: clang-tidy found problems" >&2
    exit 1
fi
echo "=== lint: clean ($(printf '%s\n' "$units" | sort -u | wc -l) units)"
