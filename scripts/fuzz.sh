#!/usr/bin/env bash
# Builds the libFuzzer target with clang (AddressSanitizer, UndefinedBehaviorSanitizer) and
# runs it on each entry point in turn, HW_FUZZ_SECONDS seconds each (60 by default), from the
# seeds in fuzz/corpus. Any finding stops the run with a nonzero status; the input that
# caused it is left in build-fuzz/findings. docs/fuzzing.md tells how to run it longer.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh fuzz
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DHW_FUZZ=ON -DHW_BUILD_TESTS=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build-fuzz -j "$(nproc)" --target hw_fuzz
mkdir -p build-fuzz/findings
for entry in hw_FFT hw_DFT hw_DWT hw_DWTinv hw_GEMatrixInv Composite; do
  echo "== fuzzing $entry for ${HW_FUZZ_SECONDS:-60} s =="
  corpus="build-fuzz/corpus/$entry"
  mkdir -p "$corpus"
  HW_FUZZ_ENTRY=$entry build-fuzz/fuzz/hw_fuzz -max_total_time="${HW_FUZZ_SECONDS:-60}" -timeout=10 \
    -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix=build-fuzz/findings/ \
    "$corpus" "fuzz/corpus/$entry" 2>&1 | grep -v -E '^#[0-9]+ +(NEW|REDUCE|pulse)'
done
