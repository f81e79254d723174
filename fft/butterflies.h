// The specialised butterflies: plain r-point DFTs y_k = Σ_j x_j W^{jk}, W = exp(∓2πi/r) (−
// forward, + inverse), in place on r register values, with no twiddle factor (the passes apply
// those). One body per radix for both directions and every vector width: `Inverse` picks the
// direction, `C` is a complex value whose parts are doubles or vectors of doubles
// (fft/complex.h), or any type with the same operations.
//
// The constants are the exact roots of unity they name, rounded to double (a test compares
// them with the library's roots); their last bits matter for the results to be the same on
// every level and CPU, not for accuracy alone.
//
// Internal linkage for the same reason as fft/complex.h.
#pragma once

#include "fft/complex.h"

namespace hw::fft {
namespace {

using fourier::Complex;
using fourier::rotate;
using fourier::times_i;

constexpr double kCos1_8 = 0.7071067811865476;   // cos(2π/8) = sin(2π/8)
constexpr double kCos1_16 = 0.9238795325112867;  // cos(2π/16)
constexpr double kSin1_16 = 0.3826834323650898;  // sin(2π/16)
constexpr double kSin1_3 = 0.8660254037844386;   // sin(2π/3)
constexpr double kCos1_5 = 0.30901699437494745, kSin1_5 = 0.9510565162951535;  // 2π/5
constexpr double kCos2_5 = -0.8090169943749475, kSin2_5 = 0.5877852522924731;  // 4π/5
constexpr double kCos1_9 = 0.766044443118978, kSin1_9 = 0.6427876096865394;    // 2π/9
constexpr double kCos2_9 = 0.17364817766693036, kSin2_9 = 0.984807753012208;   // 4π/9
constexpr double kCos4_9 = -0.9396926207859084, kSin4_9 = 0.3420201433256687;  // 8π/9

// The sine of a root in the transform's direction: −sin forward, +sin inverse.
template <bool Inverse>
constexpr double directed(double sine) {
    return Inverse ? sine : -sine;
}

template <int R>
struct Butterfly;

// ---- radix 2, 4, 8, 16: y_k = E_k + W^k O_k, y_{k+r/2} = E_k − W^k O_k over the even and odd halves

template <>
struct Butterfly<2> {
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        const C a = x[0], b = x[1];
        x[0] = a + b;
        x[1] = a - b;
    }
};

template <>
struct Butterfly<4> {
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        const C s1 = x[0] + x[2], d1 = x[0] - x[2], s2 = x[1] + x[3], d2 = rotate<Inverse>(x[1] - x[3]);
        x[0] = s1 + s2;
        x[2] = s1 - s2;
        x[1] = d1 + d2;
        x[3] = d1 - d2;
    }
};

template <>
struct Butterfly<8> {
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        C e[4] = {x[0], x[2], x[4], x[6]}, o[4] = {x[1], x[3], x[5], x[7]};
        Butterfly<4>::apply<Inverse>(e);
        Butterfly<4>::apply<Inverse>(o);
        const C w[4] = {o[0], kCos1_8 * (o[1] + rotate<Inverse>(o[1])), rotate<Inverse>(o[2]),
                                 kCos1_8 * (rotate<Inverse>(o[3]) - o[3])};
        for (int k = 0; k < 4; ++k) {
            x[k] = e[k] + w[k];
            x[k + 4] = e[k] - w[k];
        }
    }
};

template <>
struct Butterfly<16> {
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        C e[8], o[8];
        for (int k = 0; k < 8; ++k) {
            e[k] = x[2 * k];
            o[k] = x[2 * k + 1];
        }
        Butterfly<8>::apply<Inverse>(e);
        Butterfly<8>::apply<Inverse>(o);
        // W^k as a·v + b·rotate(v) with (a, b) from cos and sin of 2πk/16.
        const C w[8] = {o[0],
                                 kCos1_16 * o[1] + kSin1_16 * rotate<Inverse>(o[1]),
                                 kCos1_8 * (o[2] + rotate<Inverse>(o[2])),
                                 kSin1_16 * o[3] + kCos1_16 * rotate<Inverse>(o[3]),
                                 rotate<Inverse>(o[4]),
                                 kCos1_16 * rotate<Inverse>(o[5]) - kSin1_16 * o[5],
                                 kCos1_8 * (rotate<Inverse>(o[6]) - o[6]),
                                 kSin1_16 * rotate<Inverse>(o[7]) - kCos1_16 * o[7]};
        for (int k = 0; k < 8; ++k) {
            x[k] = e[k] + w[k];
            x[k + 8] = e[k] - w[k];
        }
    }
};

// ---- radix 3, 5, 6, 9: the symmetric-pair form, y_k, y_{r−k} = P_k ± i·Q_k with P from the
// cosine-weighted sums x_j + x_{r−j} and Q from the sine-weighted differences x_j − x_{r−j}

template <bool Inverse, typename C>
[[gnu::always_inline]] inline void dft3(C x0, C x1, C x2, C *y) {
    const C u = x1 + x2;
    y[0] = x0 + u;
    const C t = (-0.5 * u) + x0;
    const C v = directed<Inverse>(kSin1_3) * (x1 - x2);
    y[1] = t + times_i(v);
    y[2] = t - times_i(v);
}

template <>
struct Butterfly<3> {
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        dft3<Inverse>(x[0], x[1], x[2], x);
    }
};

template <>
struct Butterfly<5> {
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        constexpr double s1 = directed<Inverse>(kSin1_5), s2 = directed<Inverse>(kSin2_5);
        const C x0 = x[0], a1 = x[1] + x[4], b1 = x[1] - x[4], a2 = x[2] + x[3], b2 = x[2] - x[3];
        x[0] = x0 + (a1 + a2);
        const C p1 = x0 + kCos1_5 * a1 + kCos2_5 * a2, p2 = x0 + kCos2_5 * a1 + kCos1_5 * a2;
        const C q1 = s1 * b1 + s2 * b2, q2 = s2 * b1 - s1 * b2;
        x[1] = p1 + times_i(q1);
        x[4] = p1 - times_i(q1);
        x[2] = p2 + times_i(q2);
        x[3] = p2 - times_i(q2);
    }
};

// Two radix-3 butterflies without internal twiddles (prime-factor form).
template <>
struct Butterfly<6> {
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        C a[3], b[3];
        dft3<Inverse>(x[0], x[2], x[4], a);
        dft3<Inverse>(x[3], x[5], x[1], b);
        x[0] = a[0] + b[0];
        x[3] = a[0] - b[0];
        x[1] = a[1] - b[1];
        x[4] = a[1] + b[1];
        x[2] = a[2] + b[2];
        x[5] = a[2] - b[2];
    }
};

template <>
struct Butterfly<9> {
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        constexpr double s3 = directed<Inverse>(kSin1_3), s1 = directed<Inverse>(kSin1_9),
                         s2 = directed<Inverse>(kSin2_9), s4 = directed<Inverse>(kSin4_9);
        const C t0 = x[0] - 0.5 * (x[3] + x[6]), v0 = s3 * (x[3] - x[6]);
        const C a1 = x[1] + x[8], b1 = x[1] - x[8], a2 = x[2] + x[7], b2 = x[2] - x[7];
        const C a4 = x[4] + x[5], b4 = x[4] - x[5];
        const C p1 = t0 + kCos1_9 * a1 + kCos2_9 * a2 + kCos4_9 * a4;
        const C q1 = s1 * b1 + s2 * b2 + v0 + s4 * b4;
        const C p2 = t0 + kCos2_9 * a1 + kCos4_9 * a2 + kCos1_9 * a4;
        const C q2 = s2 * b1 + s4 * b2 - v0 - s1 * b4;
        const C p4 = t0 + kCos4_9 * a1 + kCos1_9 * a2 + kCos2_9 * a4;
        const C q4 = s4 * b1 - s1 * b2 + v0 - s2 * b4;
        C g[3];
        dft3<Inverse>(x[0] + x[3] + x[6], x[1] + x[4] + x[7], x[2] + x[5] + x[8], g);
        x[0] = g[0];
        x[3] = g[1];
        x[6] = g[2];
        x[1] = p1 + times_i(q1);
        x[8] = p1 - times_i(q1);
        x[2] = p2 + times_i(q2);
        x[7] = p2 - times_i(q2);
        x[4] = p4 + times_i(q4);
        x[5] = p4 - times_i(q4);
    }
};

// ---- radix A·B of two coprime radices with butterflies (prime-factor form, no twiddles):
// input B·a + A·b (mod AB) is digit a of the A-point DFTs and b of the B-point ones, and output
// k is k mod A of the first and k mod B of the second. The engine's own pass orders use them.

template <int A, int B>
struct PrimeFactor {
    static constexpr int N = A * B;
    // The output index with residues (k1, k2), as a table: the search must not run per call.
    struct Outputs {
        int index[A][B];
    };
    static constexpr Outputs kOutputs = [] {
        Outputs o{};
        for (int k = 0; k < N; ++k) o.index[k % A][k % B] = k;
        return o;
    }();
    template <bool Inverse, typename C>
    [[gnu::always_inline]] static void apply(C *x) {
        C rows[B][A], columns[A][B];
        for (int b = 0; b < B; ++b) {
            for (int a = 0; a < A; ++a) rows[b][a] = x[(B * a + A * b) % N];
            Butterfly<A>::template apply<Inverse>(rows[b]);
        }
        for (int k1 = 0; k1 < A; ++k1) {
            for (int b = 0; b < B; ++b) columns[k1][b] = rows[b][k1];
            Butterfly<B>::template apply<Inverse>(columns[k1]);
            for (int k2 = 0; k2 < B; ++k2) x[kOutputs.index[k1][k2]] = columns[k1][k2];
        }
    }
};

template <>
struct Butterfly<10> : PrimeFactor<2, 5> {};
template <>
struct Butterfly<12> : PrimeFactor<4, 3> {};
template <>
struct Butterfly<15> : PrimeFactor<3, 5> {};

}  // namespace
}  // namespace hw::fft
