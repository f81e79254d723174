// The signal-by-signal work of ehw_DWTinv on one instruction-set level: the periodic synthesis
// and the back-substitution of end conditions 0 and 1. Each sample receives its terms in the
// order of the definition; the kernels only choose which samples share a vector.
#include "wavelet/dwt_lanes.h"

namespace hw::HW_ISA_NS {
namespace {

constexpr int kBlocks = 2;        // vectors of sample pairs in flight along a signal
constexpr int kSignalBlocks = 4;  // vectors of signals in flight across signals
constexpr int kChains = 4;        // signals solved side by side in scalar registers
// Vectors of contiguous signals side by side: eight signals, three backward streams each, are as
// many as the caches follow (sixteen ran slower than the scalar chains).
constexpr int kRowGroups = kLanes < 8 ? 8 / kLanes : 1;

// ---------------------------------------------------------------- end condition 2

// The windows k whose tap j = (i - 2k) mod n reaches sample i, in the order the definition adds
// their terms (k ascending): first those reaching it directly, then those wrapping past the end.
template <class Term>
inline void for_each_term(ptrdiff_t i, ptrdiff_t n, ptrdiff_t taps, Term term) {
    const ptrdiff_t last_window = n / 2 - 1;
    const ptrdiff_t direct_from = i - taps + 1;
    ptrdiff_t k = direct_from <= 0 ? 0 : (direct_from + 1) / 2;
    for (const ptrdiff_t end = i / 2 < last_window ? i / 2 : last_window; k <= end; ++k) term(k, i - 2 * k);
    k = (i + n - taps + 2) / 2;  // i + n - taps + 1 >= 1: halved and rounded up
    for (const ptrdiff_t end = (i + n) / 2 < last_window ? (i + n) / 2 : last_window; k <= end; ++k)
        term(k, i + n - 2 * k);
}

// The definition itself: every sample of every signal cleared, then each window's terms added
// in memory. For layouts where samples share elements with each other or the coefficients.
void synthesis_in_definition_order(const Transform &w) {
    for (ptrdiff_t t = 0; t < w.count; ++t)
        for (ptrdiff_t i = 0; i < w.n; ++i) w.samples[at(w.x, t, i)] = 0.0;
    for (ptrdiff_t t = 0; t < w.count; ++t)
        for (ptrdiff_t k = 0; k < w.n / 2; ++k)
            for (ptrdiff_t j = 0; j < w.taps; ++j) {
                double &x = w.samples[at(w.x, t, (2 * k + j) % w.n)];
                x = (w.h[j] * w.first[at(w.c, t, k)] + w.g[j] * w.second[at(w.d, t, k)]) + x;
            }
}

double sample_from_terms(const Transform &w, ptrdiff_t t, ptrdiff_t i) {
    double x = 0.0;
    for_each_term(i, w.n, w.taps, [&](ptrdiff_t k, ptrdiff_t j) {
        x = (w.h[j] * w.first[at(w.c, t, k)] + w.g[j] * w.second[at(w.d, t, k)]) + x;
    });
    return x;
}

// Samples 2m .. 2m + 2 * Blocks * kLanes - 1 of one contiguous signal, none of whose terms
// wraps: (taps - 1) / 2 <= m and m + Blocks * kLanes <= n / 2. Lane l of the even vector is
// sample 2(m + l), which takes the even taps from the largest down (windows ascending); the odd
// vector likewise with the odd taps. x is sample 2m, c and d coefficient m; Streamed: x is
// vector_aligned.
template <int Blocks, bool Streamed>
void pairs_along(double *x, const double *c, const double *d, const double *h, const double *g, ptrdiff_t taps) {
    vdouble even[Blocks], odd[Blocks];
    for (int u = 0; u < Blocks; ++u) even[u] = odd[u] = vdouble{};
    for (ptrdiff_t j = (taps - 1) & ~ptrdiff_t{1}; j >= 0; j -= 2) {
        const vdouble hj = broadcast(h[j]), gj = broadcast(g[j]);
        for (int u = 0; u < Blocks; ++u)
            even[u] = (hj * load(c - j / 2 + u * kLanes) + gj * load(d - j / 2 + u * kLanes)) + even[u];
    }
    for (ptrdiff_t j = taps % 2 == 0 ? taps - 1 : taps - 2; j >= 1; j -= 2) {
        const vdouble hj = broadcast(h[j]), gj = broadcast(g[j]);
        for (int u = 0; u < Blocks; ++u)
            odd[u] = (hj * load(c - j / 2 + u * kLanes) + gj * load(d - j / 2 + u * kLanes)) + odd[u];
    }
    for (int u = 0; u < Blocks; ++u) {
        const vdouble low = from_pair<low_interleaved>(even[u], odd[u]);
        const vdouble high = from_pair<high_interleaved>(even[u], odd[u]);
        if (Streamed) {
            stream(x + 2 * u * kLanes, low);
            stream(x + 2 * u * kLanes + kLanes, high);
        } else {
            store(x + 2 * u * kLanes, low);
            store(x + 2 * u * kLanes + kLanes, high);
        }
    }
}

// Masks longer than the staged kernels take: samples, first and second coefficients all with skip 1. With `streamed` (large outputs) the
// vectors go past the caches from the first pair whose samples start a vector on; no line is
// written both ways, since a streamed line written again is read back from memory. Otherwise
// the last whole vectors of pairs are computed partly again, coming out the same.
void synthesis_unstaged(const Transform &w, bool streamed) {
    const ptrdiff_t first_pair = (w.taps - 1) / 2, pairs = w.n / 2;
    constexpr ptrdiff_t step = kBlocks * kLanes;
    streamed = streamed && first_pair + 2 * step <= pairs;
    for (ptrdiff_t t = 0; t < w.count; ++t) {
        double *x = w.samples + at(w.x, t, 0);
        const double *c = w.first + at(w.c, t, 0), *d = w.second + at(w.d, t, 0);
        ptrdiff_t m = first_pair;
        if (streamed && reinterpret_cast<uintptr_t>(x) % (2 * sizeof(double)) == 0) {
            for (; !vector_aligned(x + 2 * m); ++m)
                x[2 * m] = sample_from_terms(w, t, 2 * m), x[2 * m + 1] = sample_from_terms(w, t, 2 * m + 1);
            for (; m + step <= pairs; m += step) pairs_along<kBlocks, true>(x + 2 * m, c + m, d + m, w.h, w.g, w.taps);
        }
        for (; m + step <= pairs; m += step) pairs_along<kBlocks, false>(x + 2 * m, c + m, d + m, w.h, w.g, w.taps);
        if (!streamed && m > first_pair && m < pairs) {
            m = pairs - step;
            pairs_along<kBlocks, false>(x + 2 * m, c + m, d + m, w.h, w.g, w.taps);
            m = pairs;
        }
        for (; m + kLanes <= pairs; m += kLanes) pairs_along<1, false>(x + 2 * m, c + m, d + m, w.h, w.g, w.taps);
        for (ptrdiff_t i = 0; i < 2 * first_pair; ++i) x[i] = sample_from_terms(w, t, i);
        for (ptrdiff_t i = 2 * m; i < w.n; ++i) x[i] = sample_from_terms(w, t, i);
    }
    if (streamed) stream_end();
}

// ---- along one signal from coefficients staged in aligned buffers

constexpr ptrdiff_t kHalo = 16;         // coefficients staged before the first pair: taps / 2 - 1 <= kHalo
constexpr ptrdiff_t kStagedPairs = 256; // pairs per staged stretch

// Samples 2m .. 2m + 2 pairs - 1 (pairs a multiple of Blocks * kLanes) from coefficients staged
// at c and d (coefficient m at c[0], vector_aligned, taps / 2 - 1 before it): as pairs_along,
// each coefficient window shifted into place from aligned vectors and shared by the even
// sample's tap 2p and the odd sample's tap 2p + 1. Streamed: x is vector_aligned.
template <int Taps, int Blocks>
void pairs_staged(double *x, const double *c, const double *d, const double *h, const double *g, ptrdiff_t pairs,
                  bool streamed) {
    constexpr int kPairs = (Taps + 1) / 2, kBefore = (kPairs - 1 + kLanes - 1) / kLanes;
    vdouble hv[Taps], gv[Taps];  // held apart from the samples, which the compiler must assume h and g may be
#pragma GCC unroll 32
    for (int j = 0; j < Taps; ++j) hv[j] = broadcast(h[j]), gv[j] = broadcast(g[j]);
    for (ptrdiff_t m = 0; m < pairs; m += Blocks * kLanes) {
        vdouble cv[kBefore + Blocks], dv[kBefore + Blocks], even[Blocks], odd[Blocks];
#pragma GCC unroll 16
        for (int v = 0; v < kBefore + Blocks; ++v)
            cv[v] = load(c + m + (v - kBefore) * kLanes), dv[v] = load(d + m + (v - kBefore) * kLanes);
#pragma GCC unroll 16
        for (int u = 0; u < Blocks; ++u) even[u] = odd[u] = vdouble{};
        // Pair p from the last down: the even taps, and the odd ones, each from the largest.
        [&]<size_t... I>(std::index_sequence<I...>) {
            ([&] {
                constexpr int p = kPairs - 1 - int(I);
                const vdouble he = hv[2 * p], ge = gv[2 * p];
#pragma GCC unroll 16
                for (int u = 0; u < Blocks; ++u) {
                    const vdouble cw = shifted_window<-p>(cv + kBefore + u), dw = shifted_window<-p>(dv + kBefore + u);
                    even[u] = (he * cw + ge * dw) + even[u];
                    if constexpr (2 * p + 1 < Taps) {
                        const vdouble ho = hv[2 * p + 1], go = gv[2 * p + 1];
                        odd[u] = (ho * cw + go * dw) + odd[u];
                    }
                }
            }(), ...);
        }(std::make_index_sequence<kPairs>{});
#pragma GCC unroll 16
        for (int u = 0; u < Blocks; ++u) {
            const vdouble low = from_pair<low_interleaved>(even[u], odd[u]);
            const vdouble high = from_pair<high_interleaved>(even[u], odd[u]);
            double *out = x + 2 * (m + u * kLanes);
            if (streamed) {
                stream(out, low);
                stream(out + kLanes, high);
            } else {
                store(out, low);
                store(out + kLanes, high);
            }
        }
    }
}

// Coefficients m - taps / 2 + 1 .. m + pairs - 1 of `from` to `to` (coefficient m at to[0]).
inline void stage(double *to, const double *from, ptrdiff_t m, ptrdiff_t pairs, ptrdiff_t taps) {
    for (ptrdiff_t i = -(taps + 1) / 2 + 1; i < 0; ++i) to[i] = from[m + i];
    for (ptrdiff_t i = 0; i < pairs; i += kLanes) store(to + i, load(from + m + i));
}

typedef void StagedKernel(double *, const double *, const double *, const double *, const double *, ptrdiff_t, bool);

template <size_t... T>
constexpr StagedKernel *staged_kernel(ptrdiff_t taps, std::index_sequence<T...>) {
    StagedKernel *kernels[] = {&pairs_staged<int(T) + 1, shifted_blocks(T + 1)>...};
    return kernels[taps - 1];
}

// Pairs m0 .. m1 - 1 (at least kLanes of them, none wrapping) of one contiguous signal in
// vectors as they lie, the last one overlapping the one before where the count is not a
// multiple: ordinary stores, computed partly again, coming out the same.
void pairs_in_vectors(const Transform &w, double *x, const double *c, const double *d, ptrdiff_t m0, ptrdiff_t m1) {
    ptrdiff_t m = m0;
    for (; m + kLanes <= m1; m += kLanes) pairs_along<1, false>(x + 2 * m, c + m, d + m, w.h, w.g, w.taps);
    if (m < m1) m = m1 - kLanes, pairs_along<1, false>(x + 2 * m, c + m, d + m, w.h, w.g, w.taps);
}

// Samples, first and second coefficients all with skip 1. The pairs whose terms do not wrap go
// through the staged kernel from the first pair whose samples start a cache line on (x
// allowing), their coefficients copied a stretch at a time into aligned buffers, up to a whole
// number of lines that leaves at least a vector of pairs; with `streamed` (large outputs) those
// lines go past the caches. The pairs before and after them take vectors as they lie, so no
// line is written both ways; the wrapping samples are computed one by one.
void synthesis_along(const Transform &w, bool streamed) {
    const ptrdiff_t first_pair = (w.taps - 1) / 2, pairs = w.n / 2;
    // Large outputs with at most 4 taps are bound by memory traffic; there the staging copies
    // measured slower than loading the windows as they lie.
    if (w.taps > kShiftedTaps || (streamed && w.taps <= 4)) return synthesis_unstaged(w, streamed);
    StagedKernel *const kernel = staged_kernel(w.taps, std::make_index_sequence<kShiftedTaps>{});
    const ptrdiff_t block = shifted_blocks(w.taps) * kLanes;
    const ptrdiff_t unit = block < 4 ? 4 : block;  // pairs of whole blocks and whole 64-byte lines
    alignas(64) double cs[kHalo + kStagedPairs], ds[kHalo + kStagedPairs];
    for (ptrdiff_t i = 0; i < kHalo; ++i) cs[i] = ds[i] = 0.0;  // lanes shifted out of every window
    bool any_streamed = false;
    for (ptrdiff_t t = 0; t < w.count; ++t) {
        double *x = w.samples + at(w.x, t, 0);
        const double *c = w.first + at(w.c, t, 0), *d = w.second + at(w.d, t, 0);
        ptrdiff_t m = first_pair;
        if (pairs - first_pair >= 2 * unit + 2 * kLanes) {
            ptrdiff_t line = m + kLanes;
            if (reinterpret_cast<uintptr_t>(x) % (2 * sizeof(double)) == 0)
                while (reinterpret_cast<uintptr_t>(x + 2 * line) % 64 != 0) ++line;
            pairs_in_vectors(w, x, c, d, m, line);
            m = line;
            const bool stream_signal = streamed && reinterpret_cast<uintptr_t>(x + 2 * m) % 64 == 0;
            any_streamed = any_streamed || stream_signal;
            for (const ptrdiff_t end = m + (pairs - kLanes - m) / unit * unit; m < end;) {
                const ptrdiff_t stretch = end - m < kStagedPairs ? end - m : kStagedPairs;
                stage(cs + kHalo, c, m, stretch, w.taps);
                stage(ds + kHalo, d, m, stretch, w.taps);
                kernel(x + 2 * m, cs + kHalo, ds + kHalo, w.h, w.g, stretch, stream_signal);
                m += stretch;
            }
        }
        if (pairs - m >= kLanes) {
            pairs_in_vectors(w, x, c, d, m, pairs);
        } else {
            for (; m < pairs; ++m)
                x[2 * m] = sample_from_terms(w, t, 2 * m), x[2 * m + 1] = sample_from_terms(w, t, 2 * m + 1);
        }
        for (ptrdiff_t i = 0; i < 2 * first_pair; ++i) x[i] = sample_from_terms(w, t, i);
        for (ptrdiff_t i = 2 * pairs; i < w.n; ++i) x[i] = sample_from_terms(w, t, i);
    }
    if (any_streamed) stream_end();
}

// Sample i of signals t .. t + Blocks * kLanes - 1 lying side by side (transform skip 1 for
// samples and coefficients).
template <int Blocks>
void sample_across(const Transform &w, ptrdiff_t t, ptrdiff_t i) {
    vdouble x[Blocks];
    for (int u = 0; u < Blocks; ++u) x[u] = vdouble{};
    const double *c = w.first + at(w.c, t, 0), *d = w.second + at(w.d, t, 0);
    for_each_term(i, w.n, w.taps, [&](ptrdiff_t k, ptrdiff_t j) {
        const vdouble hj = broadcast(w.h[j]), gj = broadcast(w.g[j]);
        for (int u = 0; u < Blocks; ++u)
            x[u] = (hj * load(c + k * w.c.skip + u * kLanes) + gj * load(d + k * w.d.skip + u * kLanes)) + x[u];
    });
    for (int u = 0; u < Blocks; ++u) store(w.samples + at(w.x, t + u * kLanes, i), x[u]);
}

// Samples 2m and 2m + 1 of signals t .. t + Blocks * kLanes - 1 lying side by side, none of
// whose terms wraps (taps - 1 <= 2m, m < n / 2): each coefficient row is loaded once for both.
// Both take their terms with k ascending; for odd taps the even sample has one more, first.
template <int Blocks>
void pair_across(const Transform &w, ptrdiff_t t, ptrdiff_t m) {
    vdouble even[Blocks], odd[Blocks], c[Blocks], d[Blocks];
    for (int u = 0; u < Blocks; ++u) even[u] = odd[u] = vdouble{};
    const double *c0 = w.first + at(w.c, t, 0), *d0 = w.second + at(w.d, t, 0);
    if (m + 2 < w.n / 2)  // the rows two pairs on read first: each starts a new stretch of memory
        for (int u = 0; u < Blocks; ++u) {
            __builtin_prefetch(c0 + (m + 2) * w.c.skip + u * kLanes);
            __builtin_prefetch(d0 + (m + 2) * w.d.skip + u * kLanes);
        }
    for (ptrdiff_t k = m - (w.taps - 1) / 2; k <= m; ++k) {
        const ptrdiff_t j = 2 * (m - k);
        for (int u = 0; u < Blocks; ++u)
            c[u] = load(c0 + k * w.c.skip + u * kLanes), d[u] = load(d0 + k * w.d.skip + u * kLanes);
        const vdouble he = broadcast(w.h[j]), ge = broadcast(w.g[j]);
        for (int u = 0; u < Blocks; ++u) even[u] = (he * c[u] + ge * d[u]) + even[u];
        if (j + 1 < w.taps) {
            const vdouble ho = broadcast(w.h[j + 1]), go = broadcast(w.g[j + 1]);
            for (int u = 0; u < Blocks; ++u) odd[u] = (ho * c[u] + go * d[u]) + odd[u];
        }
    }
    for (int u = 0; u < Blocks; ++u) {
        store(w.samples + at(w.x, t + u * kLanes, 2 * m), even[u]);
        store(w.samples + at(w.x, t + u * kLanes, 2 * m + 1), odd[u]);
    }
}

constexpr int kPairBlocks = kLanes == 8 ? 4 : 2;  // eight accumulators, eight rows in registers

// Signals in bands, each band from the first sample to the last, so that the coefficient rows
// a sample reads are still in the first-level cache for the samples after it. Samples in pairs
// where no term wraps.
void synthesis_across(const Transform &w) {
    constexpr ptrdiff_t band = 8 * kSignalBlocks * kLanes;
    for (ptrdiff_t t0 = 0; t0 < w.count; t0 += band) {
        const ptrdiff_t t1 = w.count - t0 < band ? w.count : t0 + band;
        for (ptrdiff_t i = 0; i < w.n; ++i) {
            ptrdiff_t t = t0;
            if (i % 2 == 0 && i >= w.taps - 1 && i / 2 < w.n / 2) {
                for (; t + kPairBlocks * kLanes <= t1; t += kPairBlocks * kLanes) pair_across<kPairBlocks>(w, t, i / 2);
                for (; t + kLanes <= t1; t += kLanes) pair_across<1>(w, t, i / 2);
                for (; t < t1; ++t)
                    for (ptrdiff_t s = i; s < i + 2; ++s) w.samples[at(w.x, t, s)] = sample_from_terms(w, t, s);
                ++i;
                continue;
            }
            for (; t + kSignalBlocks * kLanes <= t1; t += kSignalBlocks * kLanes) sample_across<kSignalBlocks>(w, t, i);
            for (; t + kLanes <= t1; t += kLanes) sample_across<1>(w, t, i);
            for (; t < t1; ++t) w.samples[at(w.x, t, i)] = sample_from_terms(w, t, i);
        }
    }
}

// ---------------------------------------------------------------- end conditions 0 and 1

// Signals t .. t + Signals - 1 in the defined order, side by side in scalar registers so that
// their chains overlap (Signals > 1 only when nothing shares memory). With `registers` (likewise)
// the two samples just solved are taken from registers rather than read back, which takes the
// store-to-load delay out of the chain that runs from each window to the next.
template <int Signals>
void back_substitute_signals(const Transform &w, ptrdiff_t t, ptrdiff_t k_first, bool zero_end_last, double q,
                             bool registers, ptrdiff_t k_last = 0) {
    double *x[Signals];
    const double *c[Signals], *d[Signals];
    for (int s = 0; s < Signals; ++s) {
        x[s] = w.samples + at(w.x, t + s, 0);
        c[s] = w.first + at(w.c, t + s, 0);
        d[s] = w.second + at(w.d, t + s, 0);
    }
    const ptrdiff_t xs = w.x.skip, cs = w.c.skip, ds = w.d.skip;
    const double *h = w.h, *g = w.g;
    if (zero_end_last) {
        const ptrdiff_t last = k_first + 1;
        for (int s = 0; s < Signals; ++s) {
            if (w.n % 2 == 1) {
                x[s][(w.n - 1) * xs] = (g[1] * c[s][last * cs] - h[1] * d[s][last * ds]) * q;
            } else {
                x[s][(w.n - 2) * xs] = (g[1] * c[s][last * cs] - h[1] * d[s][last * ds]) * q;
                x[s][(w.n - 1) * xs] = (h[0] * d[s][last * ds] - g[0] * c[s][last * cs]) * q;
            }
        }
    }
    double right_even[Signals], right_odd[Signals];
    for (int s = 0; s < Signals; ++s) {
        right_even[s] = 2 * k_first + 2 < w.n ? x[s][(2 * k_first + 2) * xs] : 0.0;
        right_odd[s] = 2 * k_first + 3 < w.n ? x[s][(2 * k_first + 3) * xs] : 0.0;
    }
    // Window k: remove the samples already rebuilt to its right, then solve taps 0 and 1.
    for (ptrdiff_t k = k_first; k >= k_last; --k) {
        double cp[Signals], dp[Signals];
        for (int s = 0; s < Signals; ++s) cp[s] = c[s][k * cs], dp[s] = d[s][k * ds];
        if (w.taps > 2 && w.n > 2 * k + 2) {
            for (ptrdiff_t j = 2; j < w.taps && 2 * k + j < w.n; ++j)
                for (int s = 0; s < Signals; ++s) {
                    const double v = !registers || j > 3 ? x[s][(2 * k + j) * xs] : j == 2 ? right_even[s] : right_odd[s];
                    cp[s] = cp[s] - v * h[j];
                    dp[s] = dp[s] - v * g[j];
                }
        }
        for (int s = 0; s < Signals; ++s) {
            right_even[s] = x[s][2 * k * xs] = (cp[s] * g[1] - dp[s] * h[1]) * q;
            right_odd[s] = x[s][(2 * k + 1) * xs] = (dp[s] * h[0] - cp[s] * g[0]) * q;
        }
    }
}

// The same for signals t .. t + Blocks * kLanes - 1 lying side by side (transform skip 1 for
// samples and coefficients), one signal per lane.
template <int Blocks>
void back_substitute_across(const Transform &w, ptrdiff_t t, ptrdiff_t k_first, bool zero_end_last, double q) {
    double *x[Blocks];
    const double *c[Blocks], *d[Blocks];
    for (int u = 0; u < Blocks; ++u) {
        x[u] = w.samples + at(w.x, t + u * kLanes, 0);
        c[u] = w.first + at(w.c, t + u * kLanes, 0);
        d[u] = w.second + at(w.d, t + u * kLanes, 0);
    }
    const ptrdiff_t xs = w.x.skip, cs = w.c.skip, ds = w.d.skip;
    const vdouble h0 = broadcast(w.h[0]), h1 = broadcast(w.h[1]), g0 = broadcast(w.g[0]), g1 = broadcast(w.g[1]);
    const vdouble qv = broadcast(q);
    if (zero_end_last) {
        const ptrdiff_t last = k_first + 1;
        for (int u = 0; u < Blocks; ++u) {
            const vdouble cl = load(c[u] + last * cs);
            const vdouble dl = load(d[u] + last * ds);
            if (w.n % 2 == 1) {
                store(x[u] + (w.n - 1) * xs, (g1 * cl - h1 * dl) * qv);
            } else {
                store(x[u] + (w.n - 2) * xs, (g1 * cl - h1 * dl) * qv);
                store(x[u] + (w.n - 1) * xs, (h0 * dl - g0 * cl) * qv);
            }
        }
    }
    for (ptrdiff_t k = k_first; k >= 0; --k) {
        vdouble cp[Blocks], dp[Blocks];
        for (int u = 0; u < Blocks; ++u) {
            cp[u] = load(c[u] + k * cs);
            dp[u] = load(d[u] + k * ds);
        }
        if (w.taps > 2 && w.n > 2 * k + 2) {
            for (ptrdiff_t j = 2; j < w.taps && 2 * k + j < w.n; ++j) {
                const vdouble hj = broadcast(w.h[j]), gj = broadcast(w.g[j]);
                for (int u = 0; u < Blocks; ++u) {
                    const vdouble s = load(x[u] + (2 * k + j) * xs);
                    cp[u] = cp[u] - s * hj;
                    dp[u] = dp[u] - s * gj;
                }
            }
        }
        for (int u = 0; u < Blocks; ++u) {
            store(x[u] + 2 * k * xs, (cp[u] * g1 - dp[u] * h1) * qv);
            store(x[u] + (2 * k + 1) * xs, (dp[u] * h0 - cp[u] * g0) * qv);
        }
    }
}

// Transposes the kLanes x kLanes block in r: kLanes / 2-way interleaves, log2(kLanes) rounds.
inline void transpose(vdouble (&r)[kLanes]) {
    for (int round = 1; round < kLanes; round *= 2) {
        vdouble next[kLanes];
        for (int i = 0; i < kLanes / 2; ++i) {
            next[2 * i] = from_pair<low_interleaved>(r[i], r[i + kLanes / 2]);
            next[2 * i + 1] = from_pair<high_interleaved>(r[i], r[i + kLanes / 2]);
        }
        for (int i = 0; i < kLanes; ++i) r[i] = next[i];
    }
}

constexpr ptrdiff_t kRing = 32;  // samples kept per lane group; the row kernel takes taps <= kRing

// Signals t .. t + Groups * kLanes - 1 each with skip 1 for samples and coefficients (rows of a
// matrix), one signal per lane. The windows that reach past the end go through the scalar
// chains; the full ones run kLanes at a time: kLanes coefficients of each signal loaded and
// transposed so that a vector holds one window of kLanes signals, the chain run in lanes, and
// the samples transposed back. The samples to a window's right are kept, across signals, in a
// ring on the stack (Groups * kRing vectors), the two just solved in registers.
template <int Groups>
void back_substitute_rows(const Transform &w, ptrdiff_t t, ptrdiff_t k_first, bool zero_end_last, double q) {
    const ptrdiff_t taps = w.taps;
    ptrdiff_t k_full = w.n >= taps ? (w.n - taps) / 2 : -1;  // the last window whose taps all lie in the signal
    if (k_full > k_first) k_full = k_first;
    for (ptrdiff_t s = 0; s < Groups * kLanes; ++s)
        back_substitute_signals<1>(w, t + s, k_first, zero_end_last, q, true, k_full + 1);
    if (k_full < 0) return;
    double *x[Groups][kLanes];
    const double *c[Groups][kLanes], *d[Groups][kLanes];
    for (int u = 0; u < Groups; ++u)
        for (int l = 0; l < kLanes; ++l) {
            x[u][l] = w.samples + at(w.x, t + u * kLanes + l, 0);
            c[u][l] = w.first + at(w.c, t + u * kLanes + l, 0);
            d[u][l] = w.second + at(w.d, t + u * kLanes + l, 0);
        }
    vdouble ring[Groups][kRing] = {}, right_even[Groups], right_odd[Groups];
    for (int u = 0; u < Groups; ++u)
        for (ptrdiff_t i = 2 * k_full + 2; i < 2 * k_full + taps; ++i)
            for (int l = 0; l < kLanes; ++l) ring[u][i % kRing][l] = x[u][l][i];
    for (int u = 0; u < Groups; ++u)
        right_even[u] = ring[u][(2 * k_full + 2) % kRing], right_odd[u] = ring[u][(2 * k_full + 3) % kRing];
    const vdouble h0 = broadcast(w.h[0]), h1 = broadcast(w.h[1]), g0 = broadcast(w.g[0]), g1 = broadcast(w.g[1]);
    const vdouble qv = broadcast(q);
    ptrdiff_t kb = k_full - kLanes + 1;  // first window of the block
    for (; kb >= 0; kb -= kLanes) {
        vdouble cb[Groups][kLanes], db[Groups][kLanes], even[Groups][kLanes], odd[Groups][kLanes];
        for (int u = 0; u < Groups; ++u) {
            for (int l = 0; l < kLanes; ++l) cb[u][l] = load(c[u][l] + kb), db[u][l] = load(d[u][l] + kb);
            transpose(cb[u]);
            transpose(db[u]);
        }
        for (int b = kLanes - 1; b >= 0; --b) {
            const ptrdiff_t i = 2 * (kb + b);
            vdouble cp[Groups], dp[Groups];
            for (int u = 0; u < Groups; ++u) cp[u] = cb[u][b], dp[u] = db[u][b];
            for (ptrdiff_t j = 2; j < taps; ++j) {
                const vdouble hj = broadcast(w.h[j]), gj = broadcast(w.g[j]);
                for (int u = 0; u < Groups; ++u) {
                    const vdouble v = j == 2 ? right_even[u] : j == 3 ? right_odd[u] : ring[u][(i + j) % kRing];
                    cp[u] = cp[u] - v * hj;
                    dp[u] = dp[u] - v * gj;
                }
            }
            for (int u = 0; u < Groups; ++u) {
                ring[u][i % kRing] = right_even[u] = even[u][b] = (cp[u] * g1 - dp[u] * h1) * qv;
                ring[u][(i + 1) % kRing] = right_odd[u] = odd[u][b] = (dp[u] * h0 - cp[u] * g0) * qv;
            }
        }
        for (int u = 0; u < Groups; ++u) {
            transpose(even[u]);
            transpose(odd[u]);
            for (int l = 0; l < kLanes; ++l) {
                store(x[u][l] + 2 * kb, from_pair<low_interleaved>(even[u][l], odd[u][l]));
                store(x[u][l] + 2 * kb + kLanes, from_pair<high_interleaved>(even[u][l], odd[u][l]));
            }
        }
    }
    // Windows kb + kLanes - 1 .. 0 left over, fewer than a block.
    if (kb + kLanes - 1 >= 0)
        for (ptrdiff_t s = 0; s < Groups * kLanes; ++s)
            back_substitute_signals<1>(w, t + s, kb + kLanes - 1, false, q, true);
}

// Signals t .. t_end - 1 as far as whole groups go; returns the first signal left over.
ptrdiff_t back_substitute_groups(const Transform &w, ptrdiff_t t, ptrdiff_t t_end, ptrdiff_t k_first,
                                 bool zero_end_last, double q) {
    if (w.x.tskip == 1 && w.c.tskip == 1 && w.d.tskip == 1) {
        for (; t + kSignalBlocks * kLanes <= t_end; t += kSignalBlocks * kLanes)
            back_substitute_across<kSignalBlocks>(w, t, k_first, zero_end_last, q);
        for (; t + kLanes <= t_end; t += kLanes) back_substitute_across<1>(w, t, k_first, zero_end_last, q);
    } else if (w.x.skip == 1 && w.c.skip == 1 && w.d.skip == 1 && w.taps <= kRing) {
        for (; t + kRowGroups * kLanes <= t_end; t += kRowGroups * kLanes)
            back_substitute_rows<kRowGroups>(w, t, k_first, zero_end_last, q);
    } else {
        for (; t + kChains <= t_end; t += kChains) back_substitute_signals<kChains>(w, t, k_first, zero_end_last, q, true);
    }
    return t;
}

}  // namespace

void dwt_periodic_synthesis(const Transform &w) {
    if (!wavelet::order_free(w, true)) return synthesis_in_definition_order(w);
    if (w.x.skip == 1 && w.c.skip == 1 && w.d.skip == 1)
        return synthesis_along(w, sizeof(double) * double(w.n) * double(w.count) >= kStreamBytes);
    if (w.x.tskip == 1 && w.c.tskip == 1 && w.d.tskip == 1) return synthesis_across(w);
    for (ptrdiff_t t = 0; t < w.count; ++t)
        for (ptrdiff_t i = 0; i < w.n; ++i) w.samples[at(w.x, t, i)] = sample_from_terms(w, t, i);
}

void dwt_back_substitution(const Transform &w, ptrdiff_t t_begin, ptrdiff_t t_end, ptrdiff_t k_first,
                           bool zero_end_last, bool any_order, double q) {
    ptrdiff_t t = t_begin;
    if (any_order) t = back_substitute_groups(w, t, t_end, k_first, zero_end_last, q);
    for (; t < t_end; ++t) back_substitute_signals<1>(w, t, k_first, zero_end_last, q, any_order);
}

}  // namespace hw::HW_ISA_NS
