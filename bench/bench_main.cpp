// The benchmark program's entry point; the benchmarks register themselves from their files.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
