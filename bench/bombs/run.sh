#!/usr/bin/env bash
# Hostile inputs ("bombs") against the programs: each script beside this one
# builds its inputs at run time and prints the time and peak memory of every
# check. Target: any input up to 16 MB is accepted or refused within 2 s and
# 256 MB.
#   bench/bombs/run.sh [build-dir]     (default build/release)
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
for script in "$here"/*.sh; do
    [[ $script == "$here/run.sh" ]] && continue
    echo "=== $(basename "$script")"
    bash "$script" "$@"
done
