#!/usr/bin/env bash
# Runs the benchmarks (scripts/bench.sh) with repetitions in interleaved order, keeps the best
# time of each, and redraws the ratio charts: docs/bench/ratios.json (the tables),
# docs/bench/ratios.png and the chart block of README.md. Extra arguments go to hw_bench,
# e.g. --benchmark_filter='fft/' to measure only some families (the chart then shows only those).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh charts
bash scripts/bench.sh --benchmark_repetitions="${HW_BENCH_REPETITIONS:-3}" \
  --benchmark_enable_random_interleaving=true --table_json="$PWD/docs/bench/ratios.json" "$@"
/usr/bin/python3 scripts/bench-chart.py docs/bench/ratios.json docs/bench/ratios.png --readme README.md
echo "chart: docs/bench/ratios.png"
