// ehw_FFT next to FFTW 3 on the same data: plans made with FFTW_MEASURE and FFTW_ESTIMATE
// outside the timed loop, and "cold" (plan, execute and destroy on every call, which is what a
// caller without plans pays). Each timed iteration restores the input (one copy, the same for
// every implementation) and transforms it in place, so the values stay bounded. For n <= 4096
// the rms error of libhw and of FFTW against a long-double DFT is reported as the counter "rms".
// Run with --benchmark_repetitions=N --benchmark_enable_random_interleaving=true: the table
// keeps the best repetition of each row.
#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "fft/radix_kinds.h"
#include "hw.h"

namespace {

struct Shape {
    uint32_t n, stride;  // stride interleaved sequences of length n (batch 1)
};

std::vector<double> input_for(const Shape &s) {
    std::mt19937_64 rng(s.n);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> v(size_t{2} * s.n * s.stride);
    for (double &x : v) x = u(rng);
    return v;
}

// rms over all values of |got - exact| / rms |exact|, the exact forward DFT in long double.
double rms_error(const Shape &s, const double *got) {
    if (s.n > 4096) return NAN;
    const std::vector<double> x = input_for(s);
    const uint32_t n = s.n;
    std::vector<long double> cs(n), sn(n);
    for (uint32_t j = 0; j < n; ++j) {
        const long double angle = 6.283185307179586476925286766559L * j / n;
        cs[j] = std::cos(angle);
        sn[j] = -std::sin(angle);
    }
    long double err = 0, norm = 0;
    for (uint32_t t = 0; t < s.stride; ++t)
        for (uint32_t k = 0; k < n; ++k) {
            long double re = 0, im = 0;
            for (uint32_t j = 0; j < n; ++j) {
                const size_t at = 2 * (size_t{j} * s.stride + t), w = size_t{j} * k % n;
                re += x[at] * cs[w] - x[at + 1] * sn[w];
                im += x[at] * sn[w] + x[at + 1] * cs[w];
            }
            const size_t at = 2 * (size_t{k} * s.stride + t);
            err += (got[at] - re) * (got[at] - re) + (got[at + 1] - im) * (got[at + 1] - im);
            norm += re * re + im * im;
        }
    return static_cast<double>(std::sqrt(err / norm));
}

void run_libhw(benchmark::State &state, Shape s) {
    const std::vector<double> input = input_for(s);
    std::vector<double> data(input.size());
    uint32_t list[32], radices[32];
    const uint32_t count = ehw_RadixDec(s.n, list);
    const uint32_t generic = hw::fft::needs_generic_butterfly(list[count - 1]) ? list[count - 1] : 0;
    std::vector<double> work(4 * size_t{generic} + 2);
    for (auto _ : state) {
        std::memcpy(data.data(), input.data(), input.size() * sizeof(double));
        std::memcpy(radices, list, sizeof radices);  // the in-place reordering rewrites the list
        ehw_FFT(s.n, radices, count, 3.141592653589793, data.data(), work.data(), work.data() + 2 * generic, 0, 0,
                s.stride, 1);
        benchmark::DoNotOptimize(data.data());
        benchmark::ClobberMemory();
    }
    state.counters["rms"] = rms_error(s, data.data());
}

void run_fftw(benchmark::State &state, Shape s, unsigned flags, bool cold) {
    const std::vector<double> input = input_for(s);
    auto *data = static_cast<fftw_complex *>(fftw_malloc(sizeof(fftw_complex) * s.n * s.stride));
    const int n = static_cast<int>(s.n), stride = static_cast<int>(s.stride);
    const auto make_plan = [&] {
        return fftw_plan_many_dft(1, &n, stride, data, nullptr, stride, 1, data, nullptr, stride, 1, FFTW_FORWARD,
                                  flags);
    };
    fftw_plan plan = cold ? nullptr : make_plan();
    for (auto _ : state) {
        std::memcpy(data, input.data(), input.size() * sizeof(double));
        if (cold) {
            fftw_plan once = make_plan();
            fftw_execute(once);
            fftw_destroy_plan(once);
        } else {
            fftw_execute(plan);
        }
        benchmark::DoNotOptimize(data);
        benchmark::ClobberMemory();
    }
    if (!cold) {
        state.counters["rms"] = rms_error(s, reinterpret_cast<const double *>(data));
        fftw_destroy_plan(plan);
    }
    fftw_free(data);
}

const int registered = [] {
    const Shape shapes[] = {{16, 1},   {64, 1},   {256, 1},  {1024, 1}, {4096, 1}, {16384, 1}, {65536, 1},
                            {12, 1},   {60, 1},   {210, 1},  {1000, 1}, {1029, 1}, {539, 1},   {6000, 1},
                            {97, 1},   {997, 1},  {1024, 64}};
    for (const Shape &s : shapes) {
        const std::string tag = std::to_string(s.n) + (s.stride > 1 ? "x" + std::to_string(s.stride) : "");
        benchmark::RegisterBenchmark(("fft/libhw/" + tag).c_str(), run_libhw, s);
        benchmark::RegisterBenchmark(("fft/fftw_measure/" + tag).c_str(), run_fftw, s, FFTW_MEASURE, false);
        benchmark::RegisterBenchmark(("fft/fftw_estimate/" + tag).c_str(), run_fftw, s, FFTW_ESTIMATE, false);
        benchmark::RegisterBenchmark(("fft/fftw_cold/" + tag).c_str(), run_fftw, s, FFTW_ESTIMATE, true);
    }
    return 0;
}();

}  // namespace
