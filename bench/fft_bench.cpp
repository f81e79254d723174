// ehw_FFT next to FFTW 3 (plans made with FFTW_MEASURE and FFTW_ESTIMATE outside the timed
// loop) on the same data. Each timed iteration restores the input (one copy, the same for
// every implementation) and transforms it in place, so the values stay bounded.
#include <benchmark/benchmark.h>
#include <fftw3.h>

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

void run_libhw(benchmark::State &state, Shape s) {
    const std::vector<double> input = input_for(s);
    std::vector<double> data(input.size());
    uint32_t radices[32];
    const uint32_t count = ehw_RadixDec(s.n, radices);
    const uint32_t last = radices[count - 1];
    const uint32_t generic = hw::fft::needs_generic_butterfly(last) ? last : 0;
    std::vector<double> work(4 * size_t{generic} + 2);
    for (auto _ : state) {
        std::memcpy(data.data(), input.data(), input.size() * sizeof(double));
        ehw_RadixDec(s.n, radices);  // the in-place reordering rewrites the list
        ehw_FFT(s.n, radices, count, 3.141592653589793, data.data(), work.data(), work.data() + 2 * generic, 0, 0,
                s.stride, 1);
        benchmark::DoNotOptimize(data.data());
        benchmark::ClobberMemory();
    }
}

void run_fftw(benchmark::State &state, Shape s, unsigned flags) {
    const std::vector<double> input = input_for(s);
    auto *data = static_cast<fftw_complex *>(fftw_malloc(sizeof(fftw_complex) * s.n * s.stride));
    const int n = static_cast<int>(s.n);
    fftw_plan plan = fftw_plan_many_dft(1, &n, static_cast<int>(s.stride), data, nullptr, static_cast<int>(s.stride), 1,
                                        data, nullptr, static_cast<int>(s.stride), 1, FFTW_FORWARD, flags);
    for (auto _ : state) {
        std::memcpy(data, input.data(), input.size() * sizeof(double));
        fftw_execute(plan);
        benchmark::DoNotOptimize(data);
        benchmark::ClobberMemory();
    }
    fftw_destroy_plan(plan);
    fftw_free(data);
}

void run_copy_only(benchmark::State &state, Shape s) {
    const std::vector<double> input = input_for(s);
    std::vector<double> data(input.size());
    for (auto _ : state) {
        std::memcpy(data.data(), input.data(), input.size() * sizeof(double));
        benchmark::DoNotOptimize(data.data());
        benchmark::ClobberMemory();
    }
}

const int registered = [] {
    const Shape shapes[] = {{16, 1},   {64, 1},  {256, 1}, {1024, 1}, {4096, 1}, {65536, 1}, {1u << 20, 1},
                            {1000, 1}, {210, 1}, {1029, 1}, {539, 1}, {97, 1},   {997, 1},   {64, 1024}};
    for (const Shape &s : shapes) {
        const std::string tag = std::to_string(s.n) + (s.stride > 1 ? "x" + std::to_string(s.stride) : "");
        benchmark::RegisterBenchmark(("fft/libhw/" + tag).c_str(), run_libhw, s);
        benchmark::RegisterBenchmark(("fft/fftw_measure/" + tag).c_str(), run_fftw, s, FFTW_MEASURE);
        benchmark::RegisterBenchmark(("fft/fftw_estimate/" + tag).c_str(), run_fftw, s, FFTW_ESTIMATE);
        benchmark::RegisterBenchmark(("fft/copy_only/" + tag).c_str(), run_copy_only, s);
    }
    return 0;
}();

}  // namespace
