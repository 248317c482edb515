#!/usr/bin/env bash
# The whole set-up on a fresh Debian machine: dependencies, build, and a first start of the program.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-dependencies.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DTORNEL_TESTS=OFF -DTORNEL_BENCHMARKS=OFF
cmake --build build -j"$(nproc)"
build/consola/tornel-cli
