// The trigonometry: one correctly rounded sin_cos (alone and in each level's batch) next to
// glibc's sincos, and batches of roots of unity (every level, and the whole circle) next to
// glibc's sincos of the same angles, 1024 values per call; and the direct transform's roots
// table of orders 101 and 1009 by the multiples of one angle or by the batch of the angles.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "simd/isa.h"
#include "trig/trig.h"

namespace {

constexpr int kCount = 1024;
const double kTwoPi = 3.141592653589793 + 3.141592653589793;

std::vector<double> angles() {
    std::mt19937_64 rng(1);
    std::uniform_real_distribution<double> u(0, kTwoPi);
    std::vector<double> x(kCount);
    for (double &v : x) v = u(rng);
    return x;
}

void run_sin_cos(benchmark::State &state, bool libhw) {
    const std::vector<double> x = angles();
    std::vector<double> out(2 * kCount);
    for (auto _ : state) {
        for (int i = 0; i < kCount; ++i) {
            if (libhw) hw::trig::sin_cos(x[i], &out[2 * i], &out[2 * i + 1]);
            else sincos(x[i], &out[2 * i], &out[2 * i + 1]);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}

// The same angles through the sin_cos batch of one level.
void run_sin_cos_batch(benchmark::State &state, hw::simd::Isa isa) {
    const std::vector<double> x = angles();
    std::vector<double> out(2 * kCount);
    for (auto _ : state) {
        HW_PICK(isa, sin_cos_batch)(x.data(), kCount, out.data(), out.data() + kCount);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}

// The roots exp(2*pi*i*t/n) for t = 0 .. 1023 of the order n: glibc's sincos of the angles, the
// batch of one level, or the whole circle (n = 1024) from its first eighth.
enum class Roots { glibc, batch, circle };

void run_roots(benchmark::State &state, Roots how, hw::simd::Isa isa, uint64_t n) {
    std::vector<double> out(2 * kCount);
    for (auto _ : state) {
        if (how == Roots::batch) {
            HW_PICK(isa, unit_roots)(n, 0, 1, kCount, out.data());
        } else if (how == Roots::circle) {
            HW_PICK(isa, unit_roots_circle)(kCount, out.data());
        } else {
            for (int t = 0; t < kCount; ++t) sincos(t * kTwoPi / static_cast<double>(n), &out[2 * t + 1], &out[2 * t]);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
}

// The direct transform's roots table of order n: cos and -sin of fl(m*(2pi/n)) for m < (n+1)/2,
// by the rotations of sin_cos_multiples or (as before them) the sin_cos batch of the angles.
void run_multiples(benchmark::State &state, bool rotations, hw::simd::Isa isa, uint32_t n) {
    const uint32_t h = (n + 1) / 2;
    const double theta = kTwoPi / static_cast<double>(n);
    std::vector<double> angle(h), sine(h), out(2 * h);
    for (auto _ : state) {
        if (rotations) {
            HW_PICK(isa, sin_cos_multiples)(theta, h, -1.0, out.data());
        } else {
            for (uint32_t m = 0; m < h; ++m) angle[m] = static_cast<double>(m) * theta;
            HW_PICK(isa, sin_cos_batch)(angle.data(), h, sine.data(), out.data());
            for (uint32_t m = 0; m < h; ++m) out[h + m] = -sine[m];
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.counters["ns_per_entry"] = benchmark::Counter(h, benchmark::Counter::kIsIterationInvariantRate |
                                                               benchmark::Counter::kInvert);
}

// Named "<family>/<implementation>/<case>" for the comparison tables.
const bool registered = [] {
    benchmark::RegisterBenchmark("trig/libhw/sin_cos_x1024", run_sin_cos, true);
    benchmark::RegisterBenchmark("trig/glibc/sin_cos_x1024", run_sin_cos, false);
    const hw::simd::Isa best = hw::simd::best_isa();
    for (hw::simd::Isa isa : hw::simd::kAllIsas)
        if (hw::simd::cpu_has(isa))
            benchmark::RegisterBenchmark(("trig/" + std::string(hw::simd::isa_name(isa)) + "/sin_cos_x1024").c_str(),
                                         run_sin_cos_batch, isa);
    benchmark::RegisterBenchmark("trig/libhw/circle1024", run_roots, Roots::circle, best, uint64_t{1024});
    benchmark::RegisterBenchmark("trig/glibc/circle1024", run_roots, Roots::glibc, best, uint64_t{1024});
    for (uint64_t n : {1024, 8192}) {
        const std::string tag = "roots" + std::to_string(n) + "_x1024";
        benchmark::RegisterBenchmark(("trig/libhw/" + tag).c_str(), run_roots, Roots::batch, best, n);
        benchmark::RegisterBenchmark(("trig/glibc/" + tag).c_str(), run_roots, Roots::glibc, best, n);
        for (hw::simd::Isa isa : hw::simd::kAllIsas)
            if (hw::simd::cpu_has(isa))
                benchmark::RegisterBenchmark(("trig/" + std::string(hw::simd::isa_name(isa)) + "/" + tag).c_str(),
                                             run_roots, Roots::batch, isa, n);
    }
    for (uint32_t n : {101u, 1009u})
        for (hw::simd::Isa isa : hw::simd::kAllIsas)
            if (hw::simd::cpu_has(isa))
                for (bool rotations : {false, true})
                    benchmark::RegisterBenchmark(("trig/" + std::string(hw::simd::isa_name(isa)) +
                                                  (rotations ? "_rotations" : "_batch") + "/dft_table" + std::to_string(n))
                                                     .c_str(),
                                                 run_multiples, rotations, isa, n);
    return true;
}();

}  // namespace
