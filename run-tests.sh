#!/usr/bin/env bash
# Builds with warnings as errors and runs every test under a private session bus; then builds again
# with clang, AddressSanitizer, UndefinedBehaviorSanitizer and libFuzzer's coverage, runs the whole
# suite once more in that build and every fuzz target from it for a bounded time
# (TORNEL_FUZZ_SECONDS each, 10 by default; 0 skips them). Each stage's time is printed at the end.
set -euo pipefail
cd "$(dirname "$0")"
jobs="$(nproc)"

stages=()
started=$SECONDS
stage_done() {
    stages+=("$(printf '%-28s %5d s' "$1" $((SECONDS - started)))")
    started=$SECONDS
}
report() {
    echo "--- stage times"
    printf '%s\n' "${stages[@]}"
}
trap report EXIT

scripts/install-dependencies.sh
stage_done "dependencies"

cmake -S . -B build-tests -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTORNEL_WERROR=ON
stage_done "configure"
cmake --build build-tests -j"$jobs"
stage_done "build"
# A session bus of the run's own, so that nothing reaches the user's; the automation tests start
# one more each, with the build's activation file.
dbus-run-session -- ctest --test-dir build-tests --output-on-failure -j"$jobs"
stage_done "test"

# One instrumented build serves both the sanitized suite and the fuzzers, which need clang: the
# coverage that guides the fuzzers costs the tests little. Programs the tests start that are not
# ours (indiserver, dbus-daemon) run as they are; what they drive is sanitized.
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTORNEL_WERROR=ON \
    -DTORNEL_FUZZ=ON -DTORNEL_BENCHMARKS=OFF
stage_done "sanitized: configure"
cmake --build build-fuzz -j"$jobs"
stage_done "sanitized: build"
# Leaks and faults inside the libraries we call are not ours to fix; each suppression says why.
ASAN_OPTIONS="detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1" \
    LSAN_OPTIONS="suppressions=$PWD/scripts/sanitizer-leaks.supp:print_suppressions=0" \
    UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
    dbus-run-session -- ctest --test-dir build-fuzz --output-on-failure -j"$jobs" --timeout 900
stage_done "sanitized: test"

seconds="${TORNEL_FUZZ_SECONDS:-10}"
if [ "$seconds" -gt 0 ]; then
    scripts/run-fuzzers.sh build-fuzz "$seconds"
    stage_done "fuzzing"
fi
