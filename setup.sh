#!/usr/bin/env bash
# The whole set-up on a fresh Debian machine: dependencies, build, the default database, and a first
# solve of a sample field.
set -euo pipefail
cd "$(dirname "$0")"
scripts/install-dependencies.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DTORNEL_TESTS=OFF -DTORNEL_BENCHMARKS=OFF
cmake --build build -j"$(nproc)"
# The default database: the Tycho-2 star list and OpenNGC from Debian, built into the program folder.
build/herramientas/tornel-db default
build/consola/tornel-cli
scripts/solve-sample.sh
