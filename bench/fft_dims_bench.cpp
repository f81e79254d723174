// hw_FFT through the reference host over every dimension of an array (or over a long vector),
// next to FFTW 3's in-place plan of the same shape (FFTW_MEASURE and FFTW_ESTIMATE, planned
// outside the timed loop). Each timed call restores the input (one copy, the same for both) and
// transforms it in place. Every libhw row also reports the run's peak resident set so far
// (getrusage), so the last rows show the peak of the whole family. Run one family at a time:
// the largest shapes hold 256 MiB of data.
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "hw.h"
#include "refhost/ref_host.h"

namespace {

struct Shape {
    std::vector<int32_t> lengths;  // row-major, slowest first
    int32_t storage;               // hw_FFT's storage flag
    std::string tag;
};

size_t total_of(const Shape &s) {
    size_t total = 1;
    for (const int32_t l : s.lengths) total *= static_cast<size_t>(l);
    return total;
}

std::vector<double> input_for(size_t total) {
    std::mt19937_64 rng(total);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> v(2 * total);
    for (double &x : v) x = u(rng);
    return v;
}

double peak_rss_mib() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;  // kilobytes on Linux
}

void run_libhw(benchmark::State &state, const Shape &s) {
    const size_t total = total_of(s);
    const std::vector<double> input = input_for(total);
    refhost::Host host(refhost::ErrorMode::Exception);
    refhost::RTableShape shape;
    for (const int32_t l : s.lengths) shape.bounds.emplace_back(1, l);
    const HostValue data = host.rtable(shape);
    // Working storage of the caller, so that no call creates a host rtable: twice the longest
    // length covers a generic radix's buffers and a whole length.
    refhost::RTableShape work_shape;
    work_shape.bounds = {{1, 2 * *std::max_element(s.lengths.begin(), s.lengths.end())}};
    const HostValue work = host.rtable(work_shape);
    const HostValue dimension = host.integer(s.lengths.size() == 1 ? s.lengths[0] : 0);
    auto *values = static_cast<double *>(host.data(data));
    for (auto _ : state) {
        std::memcpy(values, input.data(), input.size() * sizeof(double));
        const refhost::CallResult r =
            host.call(hw_FFT, {dimension, data, host.integer(0), host.integer(s.storage), host.integer(0), work});
        if (!r.ok) state.SkipWithError(r.error.c_str());
        host.log.clear();
        benchmark::DoNotOptimize(values);
        benchmark::ClobberMemory();
    }
    state.counters["peak_rss_MiB"] = peak_rss_mib();
}

void run_fftw(benchmark::State &state, const Shape &s, unsigned flags) {
    const size_t total = total_of(s);
    const std::vector<double> input = input_for(total);
    auto *data = static_cast<fftw_complex *>(fftw_malloc(sizeof(fftw_complex) * total));
    const fftw_plan plan = fftw_plan_dft(static_cast<int>(s.lengths.size()), s.lengths.data(), data, data,
                                         FFTW_FORWARD, flags);
    for (auto _ : state) {
        std::memcpy(data, input.data(), input.size() * sizeof(double));
        fftw_execute(plan);
        benchmark::DoNotOptimize(data);
        benchmark::ClobberMemory();
    }
    fftw_destroy_plan(plan);
    fftw_free(data);
}

const int registered = [] {
    std::vector<Shape> shapes = {{{256, 256}, 0, "256x256"},           {{1024, 1024}, 0, "1024x1024"},
                                 {{4096, 4096}, 0, "4096x4096"},       {{64, 64, 64}, 0, "64x64x64"},
                                 {{128, 128, 128}, 0, "128x128x128"},  {{100, 100, 100}, 0, "100x100x100"},
                                 {{3, 5, 7, 11, 13, 17}, 0, "3x5x7x11x13x17"}};
    for (const int32_t n : {1 << 20, 1 << 22, 3 << 18, 1000000})
        for (const int32_t storage : {0, 1})
            shapes.push_back({{n}, storage, std::to_string(n) + (storage ? "_s1" : "_s0")});
    for (const Shape &s : shapes) {
        const bool large = total_of(s) >= (size_t{1} << 22);
        auto *a = benchmark::RegisterBenchmark(("fftnd/libhw/" + s.tag).c_str(), run_libhw, s);
        auto *b = benchmark::RegisterBenchmark(("fftnd/fftw_measure/" + s.tag).c_str(), run_fftw, s,
                                               unsigned{FFTW_MEASURE});
        auto *c = benchmark::RegisterBenchmark(("fftnd/fftw_estimate/" + s.tag).c_str(), run_fftw, s,
                                               unsigned{FFTW_ESTIMATE});
        for (auto *bench : {a, b, c}) {
            bench->Unit(benchmark::kMillisecond);
            if (large) bench->Iterations(4);  // a few calls each: the planning and the copies dominate
        }
    }
    return 0;
}();

}  // namespace
