// Butterflies of radix 7, 11 and 13: one symmetric-pair body for every odd prime radix, the
// form of radix 5 (fft/butterflies.h) with more pairs. y_q, y_{R−q} = P_q ± i·Q_q, where P_q
// weighs the sums x_k + x_{R−k} with cos(2πkq/R) and Q_q the differences x_k − x_{R−k} with
// the directed sin(2πkq/R). The constants are the exact roots rounded to double.
//
// Internal linkage for the same reason as fft/complex.h.
#pragma once

#include "fft/butterflies.h"

namespace hw::fft {
namespace {

// cos and sin of 2πt/R for t = 1 .. (R − 1)/2.
template <int R>
struct OddRoots;
template <>
struct OddRoots<7> {
    static constexpr double cosine[] = {0.6234898018587335, -0.2225209339563144, -0.9009688679024191};
    static constexpr double sine[] = {0.7818314824680298, 0.9749279121818236, 0.4338837391175581};
};
template <>
struct OddRoots<11> {
    static constexpr double cosine[] = {0.8412535328311812, 0.41541501300188644, -0.14231483827328514,
                                        -0.6548607339452851, -0.9594929736144974};
    static constexpr double sine[] = {0.5406408174555976, 0.9096319953545183, 0.9898214418809327,
                                      0.7557495743542583, 0.28173255684142967};
};
template <>
struct OddRoots<13> {
    static constexpr double cosine[] = {0.8854560256532099, 0.5680647467311558, 0.12053668025532305,
                                        -0.3546048870425356, -0.7485107481711011, -0.970941817426052};
    static constexpr double sine[] = {0.46472317204376856, 0.8229838658936564, 0.992708874098054,
                                      0.9350162426854148, 0.6631226582407952, 0.23931566428755777};
};

template <int R>
struct OddPrimeButterfly {
    static constexpr int H = (R - 1) / 2;

    // cos(2πt/R) and the directed sin(2πt/R), t a nonzero residue.
    static constexpr double cosine(int t) {
        t %= R;
        return OddRoots<R>::cosine[(t <= H ? t : R - t) - 1];
    }
    template <bool Inverse>
    static constexpr double sine(int t) {
        t %= R;
        return t <= H ? directed<Inverse>(OddRoots<R>::sine[t - 1]) : -directed<Inverse>(OddRoots<R>::sine[R - t - 1]);
    }

    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        C a[H + 1], b[H + 1];
#pragma GCC unroll 16
        for (int k = 1; k <= H; ++k) {
            a[k] = x[k] + x[R - k];
            b[k] = x[k] - x[R - k];
        }
        const C x0 = x[0];
        C sum = a[1];
#pragma GCC unroll 16
        for (int k = 2; k <= H; ++k) sum = sum + a[k];
        x[0] = x0 + sum;
#pragma GCC unroll 16
        for (int q = 1; q <= H; ++q) {
            C p = x0 + cosine(q) * a[1], s = sine<Inverse>(q) * b[1];
#pragma GCC unroll 16
            for (int k = 2; k <= H; ++k) {
                p = p + cosine(k * q) * a[k];
                s = s + sine<Inverse>(k * q) * b[k];
            }
            x[q] = p + times_i(s);
            x[R - q] = p - times_i(s);
        }
    }
};

template <>
struct Butterfly<7> : OddPrimeButterfly<7> {};
template <>
struct Butterfly<11> : OddPrimeButterfly<11> {};
template <>
struct Butterfly<13> : OddPrimeButterfly<13> {};

}  // namespace
}  // namespace hw::fft
