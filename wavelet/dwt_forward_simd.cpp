// ehw_DWT on one instruction-set level: one level of two-channel wavelet analysis over a
// strided set of signals. Every output starts at 0.0 and receives each tap's product in turn
// (high pass into `first`, low pass into `second`), rounded after every addition. The kernels
// keep that order for each output and only choose which outputs share a vector: neighbouring
// windows of one signal, or the same window of neighbouring signals when they interleave.
#include "wavelet/dwt_lanes.h"

namespace hw::HW_ISA_NS {
namespace {

constexpr int kBlocks = kLanes == 8 ? 4 : 2;  // vectors of windows in flight along a signal
constexpr int kSignalBlocks = 4;  // vectors of signals in flight across signals

// Index of the sample that window position i reads, or -1 when it contributes nothing.
inline ptrdiff_t extended_index(ptrdiff_t i, ptrdiff_t n, int32_t end_flag) {
    if (i < n) return i;
    if (end_flag == 1) return 2 * n - 2 - i;
    if (end_flag == 2) return i % n;
    return -1;
}

// Window k of signal t in the defined order. InPlace keeps the partial sums in the outputs
// themselves: the path for layouts where outputs may share elements with each other or with
// the samples. Otherwise they stay in registers until the end.
template <bool Interior, bool InPlace = false>
void window(const Transform &w, ptrdiff_t t, ptrdiff_t k) {
    const double *x = w.samples + at(w.x, t, 0);
    double *c = w.first + at(w.c, t, k);
    double *d = w.second + at(w.d, t, k);
    double sc = 0.0, sd = 0.0;
    if (InPlace) *c = 0.0, *d = 0.0;
    for (ptrdiff_t j = 0; j < w.taps; ++j) {
        const ptrdiff_t i = Interior ? 2 * k + j : extended_index(2 * k + j, w.n, w.end_flag);
        if (i < 0) continue;
        const double s = x[i * w.x.skip];
        if (InPlace) {
            *c = *c + s * w.h[j];
            *d = *d + s * w.g[j];
        } else {
            sc = sc + s * w.h[j];
            sd = sd + s * w.g[j];
        }
    }
    if (!InPlace) *c = sc, *d = sd;
}

// Blocks * kLanes neighbouring windows of one signal with contiguous samples; x is sample 2k
// of the first, c and d its outputs. Lane l of a vector is window k + l: tap j reads the even
// or odd lanes of the samples from 2k + j on. Reads up to x[2 * (windows - 1) + taps + taps % 2 - 1].
// Streamed: c and d vector_aligned, skips 1.
template <int Blocks, bool Streamed>
[[gnu::always_inline]] inline void windows_along(const double *x, const double *h, const double *g, ptrdiff_t taps,
                                                 double *c, ptrdiff_t cskip, double *d, ptrdiff_t dskip) {
    vdouble sc[Blocks], sd[Blocks];
    for (int u = 0; u < Blocks; ++u) sc[u] = sd[u] = vdouble{};
    ptrdiff_t j = 0;
    for (; j + 1 < taps; j += 2) {
        const vdouble h0 = broadcast(h[j]), g0 = broadcast(g[j]), h1 = broadcast(h[j + 1]), g1 = broadcast(g[j + 1]);
        for (int u = 0; u < Blocks; ++u) {
            const double *p = x + 2 * u * kLanes + j;
            const vdouble a = load(p), b = load(p + kLanes);
            const vdouble even = from_pair<even_lane>(a, b), odd = from_pair<odd_lane>(a, b);
            sc[u] = sc[u] + even * h0;
            sd[u] = sd[u] + even * g0;
            sc[u] = sc[u] + odd * h1;
            sd[u] = sd[u] + odd * g1;
        }
    }
    if (j < taps) {
        const vdouble h0 = broadcast(h[j]), g0 = broadcast(g[j]);
        for (int u = 0; u < Blocks; ++u) {
            const double *p = x + 2 * u * kLanes + j;
            const vdouble even = from_pair<even_lane>(load(p), load(p + kLanes));
            sc[u] = sc[u] + even * h0;
            sd[u] = sd[u] + even * g0;
        }
    }
    for (int u = 0; u < Blocks; ++u) {
        if (Streamed) {
            stream(c + u * kLanes, sc[u]);
            stream(d + u * kLanes, sd[u]);
        } else {
            store_lanes(c + u * kLanes * cskip, cskip, sc[u]);
            store_lanes(d + u * kLanes * dskip, dskip, sd[u]);
        }
    }
}

// Windows k .. k + windows - 1 of one signal (windows a multiple of Blocks * kLanes) with
// contiguous samples, as windows_along but each block of samples loaded once: its even and its
// odd samples in vectors of their own, from which tap j takes its window shifted by j / 2 lanes.
// x is sample 2k; reads up to x[2 * (windows + kAfter * kLanes) - 1]. Streamed: as windows_along.
template <int Taps, int Blocks>
void windows_shifted(const double *x, const double *h, const double *g, ptrdiff_t windows, double *c,
                     ptrdiff_t cskip, double *d, ptrdiff_t dskip, bool streamed) {
    constexpr int kAfter = ((Taps - 1) / 2 + kLanes - 1) / kLanes;  // vectors beyond the block
    vdouble hv[Taps], gv[Taps];  // held apart from the outputs, which may be h and g as far as the compiler knows
#pragma GCC unroll 32
    for (int j = 0; j < Taps; ++j) hv[j] = broadcast(h[j]), gv[j] = broadcast(g[j]);
    for (ptrdiff_t k = 0; k < windows; k += Blocks * kLanes) {
        vdouble even[Blocks + kAfter], odd[Blocks + kAfter], sc[Blocks], sd[Blocks];
#pragma GCC unroll 16
        for (int v = 0; v < Blocks + kAfter; ++v) {
            const vdouble a = load(x + 2 * (k + v * kLanes)), b = load(x + 2 * (k + v * kLanes) + kLanes);
            even[v] = from_pair<even_lane>(a, b), odd[v] = from_pair<odd_lane>(a, b);
        }
#pragma GCC unroll 16
        for (int u = 0; u < Blocks; ++u) sc[u] = sd[u] = vdouble{};
        [&]<size_t... J>(std::index_sequence<J...>) {
            ([&] {
                constexpr int j = int(J);
#pragma GCC unroll 16
                for (int u = 0; u < Blocks; ++u) {
                    const vdouble s = shifted_window<j / 2>((j % 2 == 0 ? even : odd) + u);
                    sc[u] = sc[u] + s * hv[j];
                    sd[u] = sd[u] + s * gv[j];
                }
            }(), ...);
        }(std::make_index_sequence<Taps>{});
#pragma GCC unroll 16
        for (int u = 0; u < Blocks; ++u) {
            const ptrdiff_t i = k + u * kLanes;
            if (streamed) {
                stream(c + i, sc[u]);
                stream(d + i, sd[u]);
            } else {
                store_lanes(c + i * cskip, cskip, sc[u]);
                store_lanes(d + i * dskip, dskip, sd[u]);
            }
        }
    }
}

typedef void ShiftedKernel(const double *, const double *, const double *, ptrdiff_t, double *, ptrdiff_t, double *,
                           ptrdiff_t, bool);

template <size_t... T>
constexpr ShiftedKernel *shifted_kernel(ptrdiff_t taps, std::index_sequence<T...>) {
    ShiftedKernel *kernels[] = {&windows_shifted<int(T) + 1, shifted_blocks(T + 1)>...};
    return kernels[taps - 1];
}

// Windows from k on of signal t as far as windows_shifted goes with its samples inside the
// signal and its windows before `limit`; returns the first window left.
// Only where it measured faster: for large results (`large`) with 5 to 12 taps, for small ones
// with 3 to kShiftedTaps.
ptrdiff_t run_shifted(const Transform &w, ptrdiff_t t, ptrdiff_t k, ptrdiff_t limit, bool large, bool streamed) {
    if (w.taps > (large ? 12 : kShiftedTaps) || w.taps <= (large ? 4 : 2)) return k;
    const ptrdiff_t after = ((w.taps - 1) / 2 + kLanes - 1) / kLanes * kLanes, step = shifted_blocks(w.taps) * kLanes;
    if (limit > w.n / 2 - after) limit = w.n / 2 - after;
    if (limit - k < step) return k;
    const ptrdiff_t windows = (limit - k) / step * step;
    shifted_kernel(w.taps, std::make_index_sequence<kShiftedTaps>{})(
        w.samples + at(w.x, t, 2 * k), w.h, w.g, windows, w.first + at(w.c, t, k), w.c.skip,
        w.second + at(w.d, t, k), w.d.skip, streamed);
    return k + windows;
}

// Data skip 1: each signal's windows, vectors first, then the rest one by one. With `streamed`
// (large outputs) the vectors go past the caches where both outputs have skip 1 and reach a
// vector boundary at the same window, from that window on; no line is written both ways, since a
// streamed line written again is read back from memory. Otherwise the last whole vectors of
// windows are computed partly again, coming out the same.
void forward_along(const Transform &w, ptrdiff_t coeffs, ptrdiff_t interior, bool streamed) {
    const ptrdiff_t reach = w.n - w.taps - w.taps % 2;  // windows k with 2k <= reach stay in the signal
    const ptrdiff_t safe = reach < 0 ? 0 : reach / 2 + 1;
    constexpr ptrdiff_t step = kBlocks * kLanes;
    const bool large = streamed;
    streamed = streamed && safe >= 2 * step && w.c.skip == 1 && w.d.skip == 1;
    for (ptrdiff_t t = 0; t < w.count; ++t) {
        const double *x = w.samples + at(w.x, t, 0);
        double *c = w.first + at(w.c, t, 0), *d = w.second + at(w.d, t, 0);
        ptrdiff_t k = 0;
        const uintptr_t c_at = reinterpret_cast<uintptr_t>(c), d_at = reinterpret_cast<uintptr_t>(d);
        if (streamed && c_at % sizeof(double) == 0 && (c_at - d_at) % sizeof(vdouble) == 0) {
            for (; !vector_aligned(c + k); ++k) window<true>(w, t, k);
            k = run_shifted(w, t, k, safe, large, true);
            for (; k + step <= safe; k += step)
                windows_along<kBlocks, true>(x + 2 * k, w.h, w.g, w.taps, c + k, 1, d + k, 1);
        }
        k = run_shifted(w, t, k, safe, large, false);
        for (; k + step <= safe; k += step)
            windows_along<kBlocks, false>(x + 2 * k, w.h, w.g, w.taps, c + k * w.c.skip, w.c.skip, d + k * w.d.skip,
                                          w.d.skip);
        if (!streamed && k > 0 && k < safe && safe >= step) {
            k = safe - step;
            windows_along<kBlocks, false>(x + 2 * k, w.h, w.g, w.taps, c + k * w.c.skip, w.c.skip, d + k * w.d.skip,
                                          w.d.skip);
            k = safe;
        }
        for (; k + kLanes <= safe; k += kLanes)
            windows_along<1, false>(x + 2 * k, w.h, w.g, w.taps, c + k * w.c.skip, w.c.skip, d + k * w.d.skip,
                                    w.d.skip);
        for (; k < interior; ++k) window<true>(w, t, k);
        for (; k < coeffs; ++k) window<false>(w, t, k);
    }
    if (streamed) stream_end();
}

// Window k of signals t .. t + Blocks * kLanes - 1, whose samples lie side by side (transform
// skip 1). Windows reaching past the end take their samples through the end condition.
template <int Blocks>
void window_across(const Transform &w, ptrdiff_t t, ptrdiff_t k, bool interior) {
    vdouble sc[Blocks], sd[Blocks];
    for (int u = 0; u < Blocks; ++u) sc[u] = sd[u] = vdouble{};
    const double *x = w.samples + at(w.x, t, 0);
    for (ptrdiff_t j = 0; j < w.taps; ++j) {
        const ptrdiff_t i = interior ? 2 * k + j : extended_index(2 * k + j, w.n, w.end_flag);
        if (i < 0) continue;
        const double *p = x + i * w.x.skip;
        const vdouble hj = broadcast(w.h[j]), gj = broadcast(w.g[j]);
        for (int u = 0; u < Blocks; ++u) {
            const vdouble s = load(p + u * kLanes);
            sc[u] = sc[u] + s * hj;
            sd[u] = sd[u] + s * gj;
        }
    }
    // The two rows the next window reads first: each window starts two rows further on, and
    // the hardware does not follow streams that short.
    if (interior && 2 * k + w.taps + 1 < w.n)
        for (int u = 0; u < Blocks; ++u) {
            __builtin_prefetch(x + (2 * k + w.taps) * w.x.skip + u * kLanes);
            __builtin_prefetch(x + (2 * k + w.taps + 1) * w.x.skip + u * kLanes);
        }
    for (int u = 0; u < Blocks; ++u) {
        store_lanes(w.first + at(w.c, t + u * kLanes, k), w.c.tskip, sc[u]);
        store_lanes(w.second + at(w.d, t + u * kLanes, k), w.d.tskip, sd[u]);
    }
}

// Windows k and k + 1 of Blocks * kLanes signals side by side, both inside the signals: each of
// rows 2k .. 2k + taps + 1 is loaded once, as tap i of window k and tap i - 2 of window k + 1
// (taps ascending for both). x is row 2k; c and d the outputs of window k, whose signals lie side
// by side too, and cskip, dskip the distances to those of window k + 1. With `ahead` the four rows
// the next pair reads first are fetched while this one computes: every row starts a new stretch
// of memory, too short for the hardware to follow.
template <int Blocks>
void window_pair_across(const double *x, ptrdiff_t skip, const double *h, const double *g, ptrdiff_t taps,
                        double *c, ptrdiff_t cskip, double *d, ptrdiff_t dskip, bool ahead) {
    if (ahead)
        for (ptrdiff_t i = taps + 2; i < taps + 6; ++i)
            for (int u = 0; u < Blocks; ++u) __builtin_prefetch(x + i * skip + u * kLanes);
    vdouble c0[Blocks], d0[Blocks], c1[Blocks], d1[Blocks], s[Blocks];
    for (int u = 0; u < Blocks; ++u) c0[u] = d0[u] = c1[u] = d1[u] = vdouble{};
    const ptrdiff_t both_from = taps < 2 ? taps : 2, second_from = taps < 2 ? 2 : taps;
    for (ptrdiff_t i = 0; i < both_from; ++i) {
        const vdouble hi = broadcast(h[i]), gi = broadcast(g[i]);
        for (int u = 0; u < Blocks; ++u) s[u] = load(x + i * skip + u * kLanes);
        for (int u = 0; u < Blocks; ++u) c0[u] = c0[u] + s[u] * hi, d0[u] = d0[u] + s[u] * gi;
    }
    for (ptrdiff_t i = 2; i < taps; ++i) {
        const vdouble hi = broadcast(h[i]), gi = broadcast(g[i]), hp = broadcast(h[i - 2]), gp = broadcast(g[i - 2]);
        for (int u = 0; u < Blocks; ++u) s[u] = load(x + i * skip + u * kLanes);
        for (int u = 0; u < Blocks; ++u) c0[u] = c0[u] + s[u] * hi, d0[u] = d0[u] + s[u] * gi;
        for (int u = 0; u < Blocks; ++u) c1[u] = c1[u] + s[u] * hp, d1[u] = d1[u] + s[u] * gp;
    }
    for (ptrdiff_t i = second_from; i < taps + 2; ++i) {
        const vdouble hp = broadcast(h[i - 2]), gp = broadcast(g[i - 2]);
        for (int u = 0; u < Blocks; ++u) s[u] = load(x + i * skip + u * kLanes);
        for (int u = 0; u < Blocks; ++u) c1[u] = c1[u] + s[u] * hp, d1[u] = d1[u] + s[u] * gp;
    }
    for (int u = 0; u < Blocks; ++u) {
        store(c + u * kLanes, c0[u]);
        store(d + u * kLanes, d0[u]);
        store(c + cskip + u * kLanes, c1[u]);
        store(d + dskip + u * kLanes, d1[u]);
    }
}

constexpr int kPairBlocks = kLanes == 8 ? 4 : 2;  // four accumulators each: 16 of 32 registers
constexpr ptrdiff_t kBand = 8 * kSignalBlocks * kLanes;

// Signals in bands of kBand, each band from the first window to the last, two windows a step,
// so that the rows a step shares with the next are still in the first-level cache.
void forward_across(const Transform &w, ptrdiff_t coeffs) {
    const bool pairs = w.c.tskip == 1 && w.d.tskip == 1;
    for (ptrdiff_t band = 0; band < w.count; band += kBand) {
        const ptrdiff_t band_end = w.count - band < kBand ? w.count : band + kBand;
        ptrdiff_t k = 0;
        for (; pairs && 2 * k + 2 + w.taps <= w.n; k += 2) {
            const bool ahead = 2 * k + w.taps + 6 <= w.n;
            ptrdiff_t t = band;
            for (; t + kPairBlocks * kLanes <= band_end; t += kPairBlocks * kLanes)
                window_pair_across<kPairBlocks>(w.samples + at(w.x, t, 2 * k), w.x.skip, w.h, w.g, w.taps,
                                                w.first + at(w.c, t, k), w.c.skip, w.second + at(w.d, t, k),
                                                w.d.skip, ahead);
            for (; t + kLanes <= band_end; t += kLanes)
                window_pair_across<1>(w.samples + at(w.x, t, 2 * k), w.x.skip, w.h, w.g, w.taps,
                                      w.first + at(w.c, t, k), w.c.skip, w.second + at(w.d, t, k), w.d.skip, ahead);
            for (; t < band_end; ++t) window<true>(w, t, k), window<true>(w, t, k + 1);
        }
        for (; k < coeffs; ++k) {
            const bool interior = 2 * k + w.taps <= w.n;
            ptrdiff_t t = band;
            for (; t + kSignalBlocks * kLanes <= band_end; t += kSignalBlocks * kLanes)
                window_across<kSignalBlocks>(w, t, k, interior);
            for (; t + kLanes <= band_end; t += kLanes) window_across<1>(w, t, k, interior);
            for (; t < band_end; ++t) interior ? window<true>(w, t, k) : window<false>(w, t, k);
        }
    }
}

}  // namespace

int32_t dwt_forward(const Transform &w) {
    const ptrdiff_t coeffs = (w.n + 1) / 2;
    ptrdiff_t interior = coeffs - (w.taps + 1) / 2;  // windows that never reach past the end
    if (interior < 0) interior = 0;
    if (w.count < 1) return 0;
    if (wavelet::order_free(w, false)) {
        if (w.x.skip == 1) {
            forward_along(w, coeffs, interior, 2.0 * sizeof(double) * double(coeffs) * double(w.count) >= kStreamBytes);
            return 0;
        }
        if (w.x.tskip == 1) {
            forward_across(w, coeffs);
            return 0;
        }
    }
    // Signals outer when the data skip is at most the transform skip, windows outer otherwise.
    if (w.x.skip <= w.x.tskip) {
        for (ptrdiff_t t = 0; t < w.count; ++t) {
            for (ptrdiff_t k = 0; k < interior; ++k) window<true, true>(w, t, k);
            for (ptrdiff_t k = interior; k < coeffs; ++k) window<false, true>(w, t, k);
        }
    } else {
        for (ptrdiff_t k = 0; k < interior; ++k)
            for (ptrdiff_t t = 0; t < w.count; ++t) window<true, true>(w, t, k);
        for (ptrdiff_t k = interior; k < coeffs; ++k)
            for (ptrdiff_t t = 0; t < w.count; ++t) window<false, true>(w, t, k);
    }
    return 0;
}

}  // namespace hw::HW_ISA_NS
