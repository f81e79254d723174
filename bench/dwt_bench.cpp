// Wavelet rows: ehw_DWT and ehw_DWTinv with four- and eight-tap masks, periodic end condition,
// on 2^20 samples in one signal and on 1024 signals of 1024. Samples per second; the
// PyWavelets figures for the same sizes come from bench/dwt_pywt.py.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "hw.h"

namespace {

struct Shape {
    int32_t length, count;
};

std::vector<double> mask(int32_t taps, double phase) {
    std::vector<double> m(taps);
    for (int32_t j = 0; j < taps; ++j) m[j] = std::cos(phase + 0.7 * j) / taps;
    return m;
}

void run(benchmark::State &state, bool inverse) {
    const int32_t taps = int32_t(state.range(0));
    const Shape shape{int32_t(state.range(1)), int32_t(state.range(2))};
    const int32_t n = shape.length, half = (n + 1) / 2;
    std::vector<double> data(size_t(n) * shape.count), first(size_t(half) * shape.count),
        second(size_t(half) * shape.count);
    for (size_t i = 0; i < data.size(); ++i) data[i] = std::sin(0.001 * double(i));
    const std::vector<double> h = mask(taps, 0.1), g = mask(taps, 1.3);
    ehw_DWT(data.data(), 1, n, 0, n, shape.count, h.data(), g.data(), taps, 2, first.data(), 1, half, 0,
            second.data(), 1, half, 0);
    for (auto _ : state) {
        if (inverse) {
            ehw_DWTinv(data.data(), 1, n, 0, n, shape.count, h.data(), g.data(), taps, 2, first.data(), 1, half, 0,
                       second.data(), 1, half, 0);
        } else {
            ehw_DWT(data.data(), 1, n, 0, n, shape.count, h.data(), g.data(), taps, 2, first.data(), 1, half, 0,
                    second.data(), 1, half, 0);
        }
        benchmark::DoNotOptimize(data.data());
        benchmark::DoNotOptimize(first.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * n * shape.count);
}

void BM_DWT(benchmark::State &state) { run(state, false); }
void BM_DWTinv(benchmark::State &state) { run(state, true); }

// Arguments: taps, samples per signal, signals.
void sizes(benchmark::internal::Benchmark *b) {
    for (int64_t taps : {4, 8}) {
        b->Args({taps, 1 << 20, 1});
        b->Args({taps, 1024, 1024});
    }
    b->ArgNames({"taps", "n", "signals"})->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(BM_DWT)->Apply(sizes);
BENCHMARK(BM_DWTinv)->Apply(sizes);
