#!/usr/bin/env bash
# Builds the benchmark program in release mode and runs it. Extra arguments go to hw_bench.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh bench
cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DHW_BUILD_BENCH=ON -DHW_BUILD_TESTS=OFF
cmake --build build-bench -j "$(nproc)" --target hw_bench
# Some machines set OPENBLAS_CORETYPE and OPENBLAS_L2_SIZE for old OpenBLAS builds; they slow a
# current one, so the comparison runs with OpenBLAS's own choice of kernel (the table's label).
env -u OPENBLAS_CORETYPE -u OPENBLAS_L2_SIZE build-bench/bench/hw_bench "$@"
