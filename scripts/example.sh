#!/usr/bin/env bash
# Builds the library and the example host program, and runs it.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build
cmake --build build -j "$(nproc)" --target hw_example
build/examples/hw_example
