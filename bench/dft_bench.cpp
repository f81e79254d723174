// ehw_DFT next to the straightforward engine of the tests, in real multiply-adds per second and
// as a share of this core's peak, measured first in the same run: independent vector
// multiplies and adds (not fused) on the widest vectors the CPU has. The counters take the
// fastest call (the machine is shared); the table below them the mean.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "hw.h"
#include "tests/dft_reference.h"

namespace {

double g_peak_madds = 0;  // multiply-adds per second, set by the first benchmark

typedef double v8 __attribute__((vector_size(64)));
typedef double v4 __attribute__((vector_size(32)));
typedef double v2 __attribute__((vector_size(16)));

// kChains independent multiplies and as many independent adds per round, on vectors of
// doubles; each multiply and add pair counts as one multiply-add.
constexpr int kChains = 12;

template <class vec>
struct PeakLoop {
    __attribute__((always_inline)) static double run(long rounds, double factor, double step) {
        vec m[kChains], a[kChains];
        for (int i = 0; i < kChains; ++i) m[i] = a[i] = vec{} + (1.0 + i);
        const vec f = vec{} + factor, s = vec{} + step;
        for (long r = 0; r < rounds; ++r) {
#pragma GCC unroll 12
            for (int i = 0; i < kChains; ++i) {
                m[i] = m[i] * f;
                a[i] = a[i] + s;
            }
        }
        double sum = 0;
        for (int i = 0; i < kChains; ++i) sum += m[i][0] + a[i][0];
        return sum;
    }
};

__attribute__((target("avx512f"))) double peak_avx512(long r, double f, double s) { return PeakLoop<v8>::run(r, f, s); }
__attribute__((target("avx2"))) double peak_avx2(long r, double f, double s) { return PeakLoop<v4>::run(r, f, s); }
double peak_sse2(long r, double f, double s) { return PeakLoop<v2>::run(r, f, s); }

void run_peak(benchmark::State &state) {
    const int lanes = __builtin_cpu_supports("avx512f") ? 8 : __builtin_cpu_supports("avx2") ? 4 : 2;
    auto *loop = lanes == 8 ? peak_avx512 : lanes == 4 ? peak_avx2 : peak_sse2;
    const long rounds = 1 << 18;
    volatile double factor = 1.0000001, step = 1e-9;
    double best = 1e30;  // seconds of the fastest round
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(loop(rounds, factor, step));
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    const double madds = double(kChains) * lanes * rounds;
    g_peak_madds = madds / best;
    state.counters["Gmadd/s"] = g_peak_madds * 1e-9;
}

// Every output pair (X[k], X[n-k]) with k = 1 .. h-1 takes h-1 steps over the input pairs,
// each with four real multiply-adds.
double dft_madds(uint32_t n) {
    const double h = (n + 1) / 2;
    return 4.0 * (h - 1) * (h - 1);
}

struct Shape {
    uint32_t n, stride;
};

template <bool Library>
void run_dft(benchmark::State &state, Shape s) {
    std::mt19937 rng(s.n);
    std::uniform_real_distribution<double> u(-1, 1);
    std::vector<hwtest::cplx> in(size_t{s.n} * s.stride), out(in.size()), roots((s.n + 1) / 2);
    for (hwtest::cplx &x : in) x = {u(rng), u(rng)};
    double best = 1e30;  // seconds of the fastest call: the machine is shared
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (Library)
            ehw_DFT(s.n, 3.141592653589793, reinterpret_cast<const double *>(in.data()),
                    reinterpret_cast<double *>(out.data()), reinterpret_cast<double *>(roots.data()), 0, s.stride, 1,
                    0);
        else
            hwtest::reference_dft(s.n, 3.141592653589793, in.data(), out.data(), roots.data(), 0, s.stride, 1, 0);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
        best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    const double madds = dft_madds(s.n) * s.stride;
    state.counters["best_ns"] = best * 1e9;
    state.counters["Gmadd/s"] = madds / best * 1e-9;
    state.counters["%peak"] = madds / best * 100 / g_peak_madds;
}

// Named "<family>/<implementation>/<case>" for the comparison tables; the peak comes first.
const bool registered = [] {
    benchmark::RegisterBenchmark("peak/vector_mul_add", run_peak)->MinTime(0.5);
    for (Shape s : {Shape{101, 1}, Shape{1009, 1}, Shape{4001, 1}, Shape{1000, 64}, Shape{1000, 1}}) {
        const std::string tag = std::to_string(s.n) + (s.stride > 1 ? "x" + std::to_string(s.stride) : "");
        for (int repeat = 0; repeat < 2; ++repeat) {  // A B A B
            benchmark::RegisterBenchmark(("DFT/libhw/" + tag).c_str(), run_dft<true>, s);
            benchmark::RegisterBenchmark(("DFT/straightforward/" + tag).c_str(), run_dft<false>, s);
        }
    }
    return true;
}();

}  // namespace
