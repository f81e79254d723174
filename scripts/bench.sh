#!/usr/bin/env bash
# Builds the benchmark program in release mode and runs it. Extra arguments go to hw_bench.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh bench
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DHW_BUILD_BENCH=ON -DHW_BUILD_TESTS=OFF
cmake --build build-bench -j "$(nproc)" --target hw_bench
build-bench/bench/hw_bench "$@"
# Reference figures for the wavelet rows, with Debian's interpreter where python3-pywt lives.
/usr/bin/python3 bench/dwt_pywt.py
