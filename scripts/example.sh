#!/usr/bin/env bash
# Builds the library and the two example programs, and runs them: a host that loads libhw by
# name and calls its entry points, and a C99 program that calls the engines directly.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh example
cmake -S . -B build -DHW_BUILD_TESTS=OFF -DHW_BUILD_EXAMPLES=ON
cmake --build build -j "$(nproc)" --target hw_example hw_engines_example
build/examples/hw_example
echo
build/examples/hw_engines_example
