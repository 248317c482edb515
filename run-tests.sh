#!/usr/bin/env bash
# Builds with warnings as errors and runs every test under a private session bus; then the image
# and extraction tests again under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-dependencies.sh
cmake -S . -B build-tests -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTORNEL_WERROR=ON
cmake --build build-tests -j"$(nproc)"
# A session bus of the run's own, so that nothing reaches the user's; the automation tests start
# one more each, with the build's activation file.
dbus-run-session -- ctest --test-dir build-tests --output-on-failure -j"$(nproc)"

sanitized=(tornel_imagen_tests tornel_busqueda_tests)
cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTORNEL_WERROR=ON -DTORNEL_SANITIZE=ON \
    -DTORNEL_BENCHMARKS=OFF
cmake --build build-asan -j"$(nproc)" --target "${sanitized[@]}"
labels=$(IFS='|'; echo "${sanitized[*]}")
ctest --test-dir build-asan --output-on-failure -j"$(nproc)" -L "^(${labels})\$"
