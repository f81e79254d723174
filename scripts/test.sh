#!/usr/bin/env bash
# Builds the library and the tests, and runs every test. Extra arguments go to CMake.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${BUILD_DIR:-build}"
bash scripts/install-deps.sh
cmake -S . -B "$build" -DHW_BUILD_TESTS=ON "$@"
cmake --build "$build" -j "$(nproc)"
ctest --test-dir "$build" --output-on-failure
