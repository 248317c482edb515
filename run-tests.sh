#!/usr/bin/env bash
# Builds with warnings as errors and runs every test under a private session bus; then the test
# programs of the readers and the searches again built with AddressSanitizer and
# UndefinedBehaviorSanitizer (TORNEL_SANITIZED=all: the whole suite); then every fuzz target for a
# bounded time (TORNEL_FUZZ_SECONDS each, 10 by default; 0 skips them).
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-dependencies.sh
jobs="$(nproc)"

cmake -S . -B build-tests -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTORNEL_WERROR=ON
cmake --build build-tests -j"$jobs"
# A session bus of the run's own, so that nothing reaches the user's; the automation tests start
# one more each, with the build's activation file.
dbus-run-session -- ctest --test-dir build-tests --output-on-failure -j"$jobs"

# The same suite sanitized. Programs the tests start that are not ours (indiserver, dbus-daemon) run
# as they are; what they drive is sanitized. Leaks inside the libraries we call are not ours to fix.
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTORNEL_WERROR=ON -DTORNEL_SANITIZE=ON \
    -DTORNEL_BENCHMARKS=OFF
sanitized=(tornel_imagen_tests tornel_busqueda_tests tornel_catalogo_tests tornel_automatizacion_tests)
if [ "${TORNEL_SANITIZED:-}" = all ]; then
    cmake --build build-asan -j"$jobs"
    labels=".*"
else
    cmake --build build-asan -j"$jobs" --target "${sanitized[@]}"
    labels="^($(IFS='|'; echo "${sanitized[*]}"))\$"
fi
export ASAN_OPTIONS="detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1"
export LSAN_OPTIONS="suppressions=$PWD/scripts/sanitizer-leaks.supp:print_suppressions=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
dbus-run-session -- ctest --test-dir build-asan --output-on-failure -j"$jobs" --timeout 600 -L "$labels"

seconds="${TORNEL_FUZZ_SECONDS:-10}"
if [ "$seconds" -gt 0 ]; then
    CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTORNEL_WERROR=ON \
        -DTORNEL_FUZZ=ON -DTORNEL_TESTS=OFF -DTORNEL_BENCHMARKS=OFF
    cmake --build build-fuzz -j"$jobs" --target fuzz_targets
    scripts/run-fuzzers.sh build-fuzz "$seconds"
fi
