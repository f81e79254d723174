// ehw_DFT: the direct transform's speed in real multiply-adds per second, next to the
// machine's peak for one core.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "hw.h"

namespace {

// One core's peak in double-precision multiply-adds per second: the clock from
// /proc/cpuinfo times two fused multiply-add pipes of four doubles (256-bit vectors).
double core_peak_madds() {
    double mhz = 0;
    if (FILE *f = std::fopen("/proc/cpuinfo", "r")) {
        char line[256];
        while (std::fgets(line, sizeof line, f))
            if (std::strncmp(line, "cpu MHz", 7) == 0 && std::sscanf(std::strchr(line, ':') + 1, "%lf", &mhz) == 1) break;
        std::fclose(f);
    }
    return mhz * 1e6 * 2 * 4;
}

// Every output pair (X[k], X[n-k]) with k = 1 .. h-1 takes h-1 steps over the input
// pairs, each with four real multiply-adds.
double dft_madds(uint32_t n) {
    const double h = (n + 1) / 2;
    return 4.0 * (h - 1) * (h - 1);
}

void run_dft(benchmark::State &state, uint32_t n, uint32_t batch) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<double> in(size_t{2} * n * batch), out(in.size()), roots(size_t{2} * ((n + 1) / 2));
    for (double &x : in) x = u(rng);
    for (auto _ : state) {
        ehw_DFT(n, 3.141592653589793, in.data(), out.data(), roots.data(), 0, 1, batch, 0);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.counters["madd/s"] =
        benchmark::Counter(dft_madds(n) * batch * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["peak/s"] = core_peak_madds();
}

// Named "<family>/<implementation>/<case>" for the comparison tables.
const bool registered = [] {
    benchmark::RegisterBenchmark("DFT/libhw/101", run_dft, 101u, 1u);
    benchmark::RegisterBenchmark("DFT/libhw/1009", run_dft, 1009u, 1u);
    benchmark::RegisterBenchmark("DFT/libhw/1000x64", run_dft, 64u, 1000u);
    return true;
}();

}  // namespace
