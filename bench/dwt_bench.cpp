// Wavelet rows: ehw_DWT and ehw_DWTinv next to a copy of the same bytes and PyWavelets
// (periodization, from bench/dwt_pywt.py run once by this program) on the same data.
// Cases "<fwd|inv>_L<taps>_e<end condition>_<shape>"; the shapes are one long signal, the rows
// of a 1024 x 1024 matrix, its columns (data skip 1024) and one signal that fits in cache.
// Samples per second are in the console lines (items_per_second); the table gives CPU ns per
// call.
#include <benchmark/benchmark.h>

#include <time.h>


#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "hw.h"

namespace {

struct Shape {
    const char *name;
    int32_t n, count;
    bool columns;  // signal t is column t of an n x count matrix
};

const Shape kShapes[] = {{"2^20x1", 1 << 20, 1, false},
                         {"1024x1024", 1024, 1024, false},
                         {"cols1024x1024", 1024, 1024, true},
                         {"2^14x1", 1 << 14, 1, false}};
const int32_t kTaps[] = {2, 4, 8, 20};

struct Case {
    bool inverse;
    int32_t taps, end_flag;
    Shape shape;
    std::string key() const {
        return std::string(inverse ? "inv" : "fwd") + "_L" + std::to_string(taps) + "_e" + std::to_string(end_flag) +
               "_" + shape.name;
    }
};

// Taps 0 and 1 keep the 2 x 2 window system well conditioned and the later taps small, so end
// conditions 0 and 1 rebuild stable values; the periodic rows use the same masks.
std::vector<double> mask(int32_t taps, bool high) {
    std::vector<double> m(taps);
    for (int32_t j = 0; j < taps; ++j) m[j] = 0.2 * std::cos(0.7 * j + (high ? 0.1 : 1.3)) / taps;
    m[0] = high ? 1.0 : -0.25;
    m[1] = high ? 0.25 : 1.0;
    return m;
}

// The layouts of one case: samples and both coefficient sets.
struct Layout {
    int32_t skip, tskip;
};

struct Buffers {
    std::vector<double> data, first, second, h, g;
    Layout x, c;
};

Buffers buffers(const Case &cs) {
    const Shape &s = cs.shape;
    const int32_t half = (s.n + 1) / 2;
    Buffers b;
    b.data.resize(size_t(s.n) * s.count);
    for (size_t i = 0; i < b.data.size(); ++i) b.data[i] = std::sin(0.001 * double(i));
    b.first.resize(size_t(half) * s.count);
    b.second.resize(b.first.size());
    b.h = mask(cs.taps, true);
    b.g = mask(cs.taps, false);
    b.x = s.columns ? Layout{s.count, 1} : Layout{1, s.n};
    b.c = s.columns ? Layout{s.count, 1} : Layout{1, half};
    return b;
}

int32_t forward(Buffers &b, const Case &cs) {
    return ehw_DWT(b.data.data(), b.x.skip, b.x.tskip, 0, cs.shape.n, cs.shape.count, b.h.data(), b.g.data(),
                   cs.taps, cs.end_flag, b.first.data(), b.c.skip, b.c.tskip, 0, b.second.data(), b.c.skip,
                   b.c.tskip, 0);
}

int32_t inverse(Buffers &b, const Case &cs) {
    return ehw_DWTinv(b.data.data(), b.x.skip, b.x.tskip, 0, cs.shape.n, cs.shape.count, b.h.data(), b.g.data(),
                      cs.taps, cs.end_flag, b.first.data(), b.c.skip, b.c.tskip, 0, b.second.data(), b.c.skip,
                      b.c.tskip, 0);
}

// The calling thread's CPU time: the machine is shared, and time spent descheduled is no one's.
double thread_seconds() {
    timespec ts;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + 1e-9 * double(ts.tv_nsec);
}

// Every row is timed by hand in CPU time (the PyWavelets rows cannot be otherwise), so that all
// three implementations of a case carry the same name suffix and meet in one table row.
void run_libhw(benchmark::State &state, Case cs) {
    Buffers b = buffers(cs);
    forward(b, cs);
    if (cs.inverse && inverse(b, cs) != 0) state.SkipWithError("the inverse engine refused the masks");
    for (auto _ : state) {
        const double start = thread_seconds();
        cs.inverse ? inverse(b, cs) : forward(b, cs);
        benchmark::DoNotOptimize(b.data.data());
        benchmark::DoNotOptimize(b.first.data());
        benchmark::ClobberMemory();
        state.SetIterationTime(thread_seconds() - start);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * cs.shape.n * cs.shape.count);
}

// The hardware's figure: the samples copied once, as a transform reads and writes them.
void run_copy(benchmark::State &state, Case cs) {
    const std::vector<double> from = buffers(cs).data;
    std::vector<double> to(from.size());
    for (auto _ : state) {
        const double start = thread_seconds();
        std::memcpy(to.data(), from.data(), from.size() * sizeof(double));
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
        state.SetIterationTime(thread_seconds() - start);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * cs.shape.n * cs.shape.count);
}

// PyWavelets' samples per second for every periodic case, from one run of the script.
std::map<std::string, double> pywt_rates() {
    std::map<std::string, double> rates;
    std::string script = __FILE__;
    script.replace(script.rfind('/') + 1, std::string::npos, "dwt_pywt.py");
    const std::string command = "/usr/bin/python3 " + script + " 2>/dev/null";
    FILE *p = popen(command.c_str(), "r");
    if (p == nullptr) return rates;
    char key[128];
    double rate;
    while (std::fscanf(p, "%127s %lf", key, &rate) == 2) rates[key] = rate;
    pclose(p);
    return rates;
}

void run_pywt(benchmark::State &state, Case cs, double rate) {
    const double seconds = double(cs.shape.n) * cs.shape.count / rate;
    for (auto _ : state) state.SetIterationTime(seconds);
    state.SetItemsProcessed(int64_t(state.iterations()) * cs.shape.n * cs.shape.count);
}

const int registered = [] {
    const std::map<std::string, double> rates = pywt_rates();
    for (bool inv : {false, true})
        for (int32_t taps : kTaps)
            for (int32_t end_flag : {0, 1, 2})
                for (const Shape &s : kShapes) {
                    const Case cs{inv, taps, end_flag, s};
                    const std::string key = cs.key();
                    benchmark::RegisterBenchmark(("dwt/libhw/" + key).c_str(), run_libhw, cs)
                        ->MinTime(0.05)
                        ->UseManualTime();
                    benchmark::RegisterBenchmark(("dwt/copy/" + key).c_str(), run_copy, cs)
                        ->MinTime(0.05)
                        ->UseManualTime();
                    const auto it = rates.find(key);
                    if (it != rates.end())
                        benchmark::RegisterBenchmark(("dwt/pywt/" + key).c_str(), run_pywt, cs, it->second)
                            ->MinTime(0.05)
                            ->UseManualTime();
                }
    return 0;
}();

}  // namespace
