// The signal-by-signal work of ehw_DWTinv on one instruction-set level: the periodic synthesis
// and the back-substitution of end conditions 0 and 1. Each sample receives its terms in the
// order of the definition; the kernels only choose which samples share a vector.
#include "wavelet/dwt_lanes.h"

namespace hw::HW_ISA_NS {
namespace {

constexpr int kBlocks = 2;        // vectors of sample pairs in flight along a signal
constexpr int kSignalBlocks = 4;  // vectors of signals in flight across signals

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

// Samples 2m .. 2m + 2 * kBlocks * kLanes - 1 of one contiguous signal, none of whose terms
// wraps: (taps - 1) / 2 <= m and m + kBlocks * kLanes <= n / 2. Lane l of the even vector is
// sample 2(m + l), which takes the even taps from the largest down (windows ascending); the odd
// vector likewise with the odd taps. x is sample 2m, c and d coefficient m.
void pairs_along(double *x, const double *c, const double *d, const double *h, const double *g, ptrdiff_t taps) {
    vdouble even[kBlocks], odd[kBlocks];
    for (int u = 0; u < kBlocks; ++u) even[u] = odd[u] = vdouble{};
    for (ptrdiff_t j = (taps - 1) & ~ptrdiff_t{1}; j >= 0; j -= 2) {
        const vdouble hj = broadcast(h[j]), gj = broadcast(g[j]);
        for (int u = 0; u < kBlocks; ++u)
            even[u] = (hj * load(c - j / 2 + u * kLanes) + gj * load(d - j / 2 + u * kLanes)) + even[u];
    }
    for (ptrdiff_t j = taps % 2 == 0 ? taps - 1 : taps - 2; j >= 1; j -= 2) {
        const vdouble hj = broadcast(h[j]), gj = broadcast(g[j]);
        for (int u = 0; u < kBlocks; ++u)
            odd[u] = (hj * load(c - j / 2 + u * kLanes) + gj * load(d - j / 2 + u * kLanes)) + odd[u];
    }
    for (int u = 0; u < kBlocks; ++u) {
        store(x + 2 * u * kLanes, from_pair<low_interleaved>(even[u], odd[u]));
        store(x + 2 * u * kLanes + kLanes, from_pair<high_interleaved>(even[u], odd[u]));
    }
}

// Samples, first and second coefficients all with skip 1.
void synthesis_along(const Transform &w) {
    const ptrdiff_t first_pair = (w.taps - 1) / 2, pairs = w.n / 2;
    constexpr ptrdiff_t step = kBlocks * kLanes;
    for (ptrdiff_t t = 0; t < w.count; ++t) {
        double *x = w.samples + at(w.x, t, 0);
        const double *c = w.first + at(w.c, t, 0), *d = w.second + at(w.d, t, 0);
        ptrdiff_t m = first_pair;
        for (; m + step <= pairs; m += step) pairs_along(x + 2 * m, c + m, d + m, w.h, w.g, w.taps);
        for (ptrdiff_t i = 0; i < 2 * first_pair; ++i) x[i] = sample_from_terms(w, t, i);
        for (ptrdiff_t i = 2 * m; i < w.n; ++i) x[i] = sample_from_terms(w, t, i);
    }
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

void synthesis_across(const Transform &w) {
    for (ptrdiff_t i = 0; i < w.n; ++i) {
        ptrdiff_t t = 0;
        for (; t + kSignalBlocks * kLanes <= w.count; t += kSignalBlocks * kLanes) sample_across<kSignalBlocks>(w, t, i);
        for (; t + kLanes <= w.count; t += kLanes) sample_across<1>(w, t, i);
        for (; t < w.count; ++t) w.samples[at(w.x, t, i)] = sample_from_terms(w, t, i);
    }
}

// ---------------------------------------------------------------- end conditions 0 and 1

// One signal in the defined order. With `registers` (nothing else shares the samples' memory)
// the two samples just solved are taken from registers rather than read back, which takes the
// store-to-load delay out of the chain that runs from each window to the next.
void back_substitute_signal(const Transform &w, ptrdiff_t t, ptrdiff_t k_first, bool zero_end_last, double q,
                            bool registers) {
    auto x = [&](ptrdiff_t i) -> double & { return w.samples[at(w.x, t, i)]; };
    auto c = [&](ptrdiff_t k) { return w.first[at(w.c, t, k)]; };
    auto d = [&](ptrdiff_t k) { return w.second[at(w.d, t, k)]; };
    const double *h = w.h, *g = w.g;
    if (zero_end_last) {
        const ptrdiff_t last = k_first + 1;
        if (w.n % 2 == 1) {
            x(w.n - 1) = (g[1] * c(last) - h[1] * d(last)) * q;
        } else {
            x(w.n - 2) = (g[1] * c(last) - h[1] * d(last)) * q;
            x(w.n - 1) = (h[0] * d(last) - g[0] * c(last)) * q;
        }
    }
    // Window k: remove the samples already rebuilt to its right, then solve taps 0 and 1.
    double right_even = 2 * k_first + 2 < w.n ? x(2 * k_first + 2) : 0.0;
    double right_odd = 2 * k_first + 3 < w.n ? x(2 * k_first + 3) : 0.0;
    for (ptrdiff_t k = k_first; k >= 0; --k) {
        double cp = c(k), dp = d(k);
        if (w.taps > 2 && w.n > 2 * k + 2) {
            for (ptrdiff_t j = 2; j < w.taps && 2 * k + j < w.n; ++j) {
                const double s = !registers || j > 3 ? x(2 * k + j) : j == 2 ? right_even : right_odd;
                cp = cp - s * h[j];
                dp = dp - s * g[j];
            }
        }
        right_even = x(2 * k) = (cp * g[1] - dp * h[1]) * q;
        right_odd = x(2 * k + 1) = (dp * h[0] - cp * g[0]) * q;
    }
}

// The same for signals t .. t + Blocks * kLanes - 1, one signal per lane.
template <int Blocks, bool Contiguous>
void back_substitute_across(const Transform &w, ptrdiff_t t, ptrdiff_t k_first, bool zero_end_last, double q) {
    double *x[Blocks];
    const double *c[Blocks], *d[Blocks];
    for (int u = 0; u < Blocks; ++u) {
        x[u] = w.samples + at(w.x, t + u * kLanes, 0);
        c[u] = w.first + at(w.c, t + u * kLanes, 0);
        d[u] = w.second + at(w.d, t + u * kLanes, 0);
    }
    const ptrdiff_t xs = w.x.skip, cs = w.c.skip, ds = w.d.skip;
    // Lane strides; known to be 1 at compile time when the signals lie side by side.
    const ptrdiff_t xt = Contiguous ? 1 : w.x.tskip, ct = Contiguous ? 1 : w.c.tskip, dt = Contiguous ? 1 : w.d.tskip;
    const vdouble h0 = broadcast(w.h[0]), h1 = broadcast(w.h[1]), g0 = broadcast(w.g[0]), g1 = broadcast(w.g[1]);
    const vdouble qv = broadcast(q);
    if (zero_end_last) {
        const ptrdiff_t last = k_first + 1;
        for (int u = 0; u < Blocks; ++u) {
            const vdouble cl = load_lanes(c[u] + last * cs, ct);
            const vdouble dl = load_lanes(d[u] + last * ds, dt);
            if (w.n % 2 == 1) {
                store_lanes(x[u] + (w.n - 1) * xs, xt, (g1 * cl - h1 * dl) * qv);
            } else {
                store_lanes(x[u] + (w.n - 2) * xs, xt, (g1 * cl - h1 * dl) * qv);
                store_lanes(x[u] + (w.n - 1) * xs, xt, (h0 * dl - g0 * cl) * qv);
            }
        }
    }
    for (ptrdiff_t k = k_first; k >= 0; --k) {
        vdouble cp[Blocks], dp[Blocks];
        for (int u = 0; u < Blocks; ++u) {
            cp[u] = load_lanes(c[u] + k * cs, ct);
            dp[u] = load_lanes(d[u] + k * ds, dt);
        }
        if (w.taps > 2 && w.n > 2 * k + 2) {
            for (ptrdiff_t j = 2; j < w.taps && 2 * k + j < w.n; ++j) {
                const vdouble hj = broadcast(w.h[j]), gj = broadcast(w.g[j]);
                for (int u = 0; u < Blocks; ++u) {
                    const vdouble s = load_lanes(x[u] + (2 * k + j) * xs, xt);
                    cp[u] = cp[u] - s * hj;
                    dp[u] = dp[u] - s * gj;
                }
            }
        }
        for (int u = 0; u < Blocks; ++u) {
            store_lanes(x[u] + 2 * k * xs, xt, (cp[u] * g1 - dp[u] * h1) * qv);
            store_lanes(x[u] + (2 * k + 1) * xs, xt, (dp[u] * h0 - cp[u] * g0) * qv);
        }
    }
}

template <bool Contiguous>
ptrdiff_t back_substitute_groups(const Transform &w, ptrdiff_t t, ptrdiff_t t_end, ptrdiff_t k_first,
                                 bool zero_end_last, double q) {
    constexpr int blocks = Contiguous ? kSignalBlocks : 1;
    for (; t + blocks * kLanes <= t_end; t += blocks * kLanes)
        back_substitute_across<blocks, Contiguous>(w, t, k_first, zero_end_last, q);
    for (; t + kLanes <= t_end; t += kLanes) back_substitute_across<1, Contiguous>(w, t, k_first, zero_end_last, q);
    return t;
}

}  // namespace

void dwt_periodic_synthesis(const Transform &w) {
    if (!wavelet::order_free(w, true)) return synthesis_in_definition_order(w);
    if (w.x.skip == 1 && w.c.skip == 1 && w.d.skip == 1) return synthesis_along(w);
    if (w.x.tskip == 1 && w.c.tskip == 1 && w.d.tskip == 1) return synthesis_across(w);
    for (ptrdiff_t t = 0; t < w.count; ++t)
        for (ptrdiff_t i = 0; i < w.n; ++i) w.samples[at(w.x, t, i)] = sample_from_terms(w, t, i);
}

void dwt_back_substitution(const Transform &w, ptrdiff_t t_begin, ptrdiff_t t_end, ptrdiff_t k_first,
                           bool zero_end_last, bool any_order, double q) {
    ptrdiff_t t = t_begin;
    if (any_order) {
        const bool contiguous = w.x.tskip == 1 && w.c.tskip == 1 && w.d.tskip == 1;
        t = contiguous ? back_substitute_groups<true>(w, t, t_end, k_first, zero_end_last, q)
                       : back_substitute_groups<false>(w, t, t_end, k_first, zero_end_last, q);
    }
    for (; t < t_end; ++t) back_substitute_signal(w, t, k_first, zero_end_last, q, any_order);
}

}  // namespace hw::HW_ISA_NS
