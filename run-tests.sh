#!/usr/bin/env bash
# Builds with warnings as errors and runs every test.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-dependencies.sh
cmake -S . -B build-tests -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTORNEL_WERROR=ON
cmake --build build-tests -j"$(nproc)"
ctest --test-dir build-tests --output-on-failure -j"$(nproc)"
