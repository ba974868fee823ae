#!/usr/bin/env bash
# Installs the dependencies and checks formatting and clang-tidy
# (scripts/lint.sh), then builds and tests the project three times:
#   1. release build, warnings as errors, and the Debian packages made,
#      installed and run (amd64; arm64 from a cross build, under qemu);
#   2. debug build under AddressSanitizer and UndefinedBehaviorSanitizer,
#      then the read-ahead and engine tests under ThreadSanitizer;
#   3. AArch64 cross build under the same sanitizers, tests and the fuzz
#      seed corpora run under qemu user emulation;
# then builds the libFuzzer targets with clang and runs each briefly on its
# seed corpus (FUZZ_SECONDS each, default 30).
# Fails when any build, test or sanitizer report fails.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)

bash scripts/install-deps.sh --arm64

jobs=$(nproc)
summary=()

stage() {  # name, build dir, cmake arguments...
    local name=$1 dir=$2
    shift 2
    local start=$SECONDS
    echo "=== ${name}: configure and build"
    cmake -S "$root" -B "$dir" -G Ninja -DICT_WERROR=ON "$@" >/dev/null
    cmake --build "$dir" -j "$jobs"
    echo "=== ${name}: tests"
    local log
    log=$(mktemp)
    if ! (cd "$dir" && ctest -j "$jobs" --output-on-failure --timeout 900) | tee "$log"; then
        rm -f "$log"
        echo "=== ${name}: FAILED" >&2
        exit 1
    fi
    # Under emulation a CTest entry is a whole test binary, so count the
    # GoogleTest cases that actually ran.
    local entries cases skipped
    entries=$(grep -oE '[0-9]+ tests failed out of [0-9]+' "$log" | grep -oE '[0-9]+$' || echo 0)
    cases=$(grep -ohE '\[  PASSED  \] [0-9]+ tests?' "$dir/Testing/Temporary/LastTest.log" |
            awk '{ n += $4 } END { print n + 0 }')
    rm -f "$log"
    skipped=$({ grep -ohE '\[  SKIPPED \] [0-9]+ tests?' "$dir/Testing/Temporary/LastTest.log" || true; } |
               awk '{ n += $4 } END { print n + 0 }')
    summary+=("${name}: ${entries} CTest entries, ${cases} test cases passed, ${skipped} skipped, $(( (SECONDS - start) / 60 )) min $(( (SECONDS - start) % 60 )) s")
}

# Operators and packagers run the suite from their own directories, often
# ones only they may enter (a home directory is 0700): run the end-to-end
# tests once more on programs and temporary files in such a directory.
private_run() {  # name, build dir, emulator command...
    local name=$1 dir=$2
    shift 2
    echo "=== ${name}: end-to-end tests from a private directory"
    local private
    private=$(mktemp -d)
    cp "$dir"/source/integrity_checker "$dir"/source/integrity_check_tool "$dir"/source/integrity_tester \
        "$dir"/source/sign/integrity_sign "$dir"/tests/e2e/e2e_tests "$private"/
    # One shard of the tests a core: under emulation they take minutes.
    local shard pids=() failed=0
    for ((shard = 0; shard < jobs; shard++)); do
        ICT_TEST_PROGRAM_DIR="$private" TMPDIR="$private" GTEST_TOTAL_SHARDS=$jobs GTEST_SHARD_INDEX=$shard \
            "$@" "$private"/e2e_tests --gtest_brief=1 &
        pids+=($!)
    done
    for pid in "${pids[@]}"; do
        wait "$pid" || failed=1
    done
    rm -rf "$private"
    if [ "$failed" -ne 0 ]; then
        echo "=== ${name}: FAILED from a private directory" >&2
        exit 1
    fi
}

# Lint first: a formatting or clang-tidy finding fails in minutes, before
# any build. clang-tidy reads the release configuration's compilation
# database, which the release stage then builds.
release_args=(-DCMAKE_BUILD_TYPE=Release -DICT_ALLOW_DEMO_ROOTS=ON -DCMAKE_EXPORT_COMPILE_COMMANDS=ON)
lint_start=$SECONDS
cmake -S "$root" -B build/release -G Ninja -DICT_WERROR=ON "${release_args[@]}" >/dev/null
bash scripts/lint.sh build/release
summary+=("lint: clang-format and clang-tidy clean, $(( (SECONDS - lint_start) / 60 )) min $(( (SECONDS - lint_start) % 60 )) s")

stage "native release" build/release "${release_args[@]}"
private_run "native release" build/release

# Debian packages: amd64 from the release build, arm64 from a cross build
# of the programs, then installed and run as an operator would. A build
# that trusts the demo hierarchy is packaged only when it says so.
packages_start=$SECONDS
echo "=== packages: refused without ICT_ALLOW_DEMO_ROOTS"
cmake -S "$root" -B build/package-refused -G Ninja -DICT_BUILD_TESTS=OFF >/dev/null
if refusal=$(cd build/package-refused && cpack 2>&1); then
    echo "a build with the demo roots was packaged without ICT_ALLOW_DEMO_ROOTS" >&2
    exit 1
fi
grep -q "Refusing to package a build that trusts the demo hierarchy" <<<"$refusal"
(cd build/release && rm -rf packages && cpack >/dev/null)
bash scripts/package.sh arm64 -- -DICT_ALLOW_DEMO_ROOTS=ON -DICT_WERROR=ON
bash scripts/check-packages.sh build/release/packages build/package-arm64/packages
summary+=("packages: amd64 installed and run, arm64 checked under qemu, $(( (SECONDS - packages_start) / 60 )) min $(( (SECONDS - packages_start) % 60 )) s")

export ASAN_OPTIONS=abort_on_error=1:detect_leaks=1:strict_string_checks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
stage "sanitizers" build/sanitize -DCMAKE_BUILD_TYPE=Debug -DICT_SANITIZE=ON
unset ASAN_OPTIONS UBSAN_OPTIONS

# The read-ahead workers under ThreadSanitizer: its own tests and the
# end-to-end runs of the engine, whose programs then run instrumented too.
echo "=== threads (ThreadSanitizer): configure and build"
tsan_start=$SECONDS
cmake -S "$root" -B build/tsan -G Ninja -DICT_WERROR=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DICT_SANITIZE_THREAD=ON >/dev/null
cmake --build build/tsan -j "$jobs" --target zel_tests data_object_tests e2e_tests
echo "=== threads (ThreadSanitizer): tests"
tsan_log=$(mktemp)
if ! TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
    bash -c 'build/tsan/tests/zel/zel_tests --gtest_brief=1 &&
             build/tsan/tests/data_object/data_object_tests --gtest_brief=1 &&
             build/tsan/tests/e2e/e2e_tests --gtest_brief=1 --gtest_filter="Parallel*:Engine*"' | tee "$tsan_log"; then
    rm -f "$tsan_log"
    echo "=== threads (ThreadSanitizer): FAILED" >&2
    exit 1
fi
tsan_cases=$(grep -ohE '\[  PASSED  \] [0-9]+ tests?' "$tsan_log" | awk '{ n += $4 } END { print n + 0 }')
rm -f "$tsan_log"
summary+=("threads (ThreadSanitizer): ${tsan_cases} test cases passed, $(( (SECONDS - tsan_start) / 60 )) min $(( (SECONDS - tsan_start) % 60 )) s")

# The fuzz targets' seeds, replayed under emulation below and fuzzed from
# natively at the end.
corpus=$(mktemp -d)
bash fuzz/make_corpus.sh "$corpus" >/dev/null

# AArch64: an optimised build under AddressSanitizer and
# UndefinedBehaviorSanitizer (LeakSanitizer does not work under qemu), with
# the fuzz targets as programs that replay their seed corpora.
export ASAN_OPTIONS=detect_leaks=0:abort_on_error=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
stage "aarch64 (qemu, ASan+UBSan)" build/aarch64 -DCMAKE_BUILD_TYPE=RelWithDebInfo -DICT_SANITIZE=ON \
    -DICT_BUILD_FUZZ_REPLAY=ON -DCMAKE_TOOLCHAIN_FILE="$root/cmake/aarch64-linux-gnu.cmake"

emulator=(qemu-aarch64 -L /)  # as in cmake/aarch64-linux-gnu.cmake
private_run "aarch64 (qemu)" build/aarch64 "${emulator[@]}"

echo "=== aarch64 (qemu, ASan+UBSan): fuzz seed corpora"
for fuzzer in build/aarch64/fuzz/*_fuzzer; do
    name=$(basename "$fuzzer")
    printf '%s: ' "$name"
    "${emulator[@]}" "$fuzzer" "$corpus/$name"
done

echo "=== aarch64: program checks"
for program in integrity_checker integrity_check_tool integrity_tester; do
    description=$(file -b "build/aarch64/source/$program")
    echo "$program: $description"
    case "$description" in
        *"ARM aarch64"*) ;;
        *) echo "$program is not an AArch64 executable" >&2; exit 1 ;;
    esac
done
native=$(build/release/source/integrity_checker --version)
emulated=$("${emulator[@]}" build/aarch64/source/integrity_checker --version)
if [ "$native" != "$emulated" ]; then
    printf 'version output differs:\nnative:\n%s\nemulated:\n%s\n' "$native" "$emulated" >&2
    exit 1
fi
printf '%s\n' "$emulated"
unset ASAN_OPTIONS UBSAN_OPTIONS

echo "=== fuzz: build (clang, ASan+UBSan)"
fuzz_start=$SECONDS
CC=clang CXX=clang++ cmake -S "$root" -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DICT_BUILD_FUZZ=ON -DICT_SANITIZE=ON -DICT_BUILD_TESTS=OFF >/dev/null
# Only the fuzz targets: the programs and the signing tool are built and
# tested by every stage above.
mapfile -t fuzzers < <(cd fuzz && ls -- *_fuzzer.cpp | sed 's/\.cpp$//')
cmake --build build/fuzz -j "$jobs" --target "${fuzzers[@]}"
# A fuzzer keeps one core busy: run one per core, each for the full time.
run_fuzzer() {  # name
    local name=$1
    mkdir -p "$corpus/$name"
    if ! "build/fuzz/fuzz/$name" -max_total_time="${FUZZ_SECONDS:-30}" -print_final_stats=1 \
        "$corpus/$name" 2>"$corpus/$name.log"; then
        tail -n 60 "$corpus/$name.log" >&2
        echo "=== fuzz: $name FAILED" >&2
        return 1
    fi
    echo "=== fuzz: $name $(grep -E 'stat::number_of_executed_units' "$corpus/$name.log" || true)"
}
export -f run_fuzzer
export corpus
if ! printf '%s\n' "${fuzzers[@]}" | xargs -P "$jobs" -I{} bash -c 'run_fuzzer "$1"' _ {}; then
    exit 1
fi
fuzz_runs=${#fuzzers[@]}
rm -rf "$corpus"
summary+=("fuzz: ${fuzz_runs} targets run, no findings, $(( (SECONDS - fuzz_start) / 60 )) min $(( (SECONDS - fuzz_start) % 60 )) s")

echo
echo "=== Summary"
printf '%s\n' "${summary[@]}"
