// Correctly rounded cos and sin of a double, written once for a scalar double (trig/trig.cpp) and
// for the vectors of the per-level batch (trig/unit_roots_simd.cpp): the exact reduction to the
// first octant, the fast evaluation of trig/octant_kernel.h with its rounding test, and the
// quadrant's signs. The caller handles tiny and huge angles and sends the lanes whose rounding
// test fails to exact_quadrant_rest (trig/exact_trig.h).
//
// V is double or the vector of doubles, I int64_t or the vector of 64-bit integers; a mask is
// bool for the scalar and an integer vector for the vector. Only +, -, * in a fixed order, so a
// lane gives the scalar's bits. Internal linkage, as octant_kernel.h.
#pragma once

#include <cstdint>

#include "trig/octant_kernel.h"
#include "trig/trig_tables.h"

namespace hw::trig {
namespace {

template <class V>
inline V filled(double c) {
    return c - V{};
}

template <class V, class I>
inline I to_integer(V x) {
    if constexpr (sizeof(V) == sizeof(double)) return static_cast<int64_t>(x);
    else return __builtin_convertvector(x, I);
}

// x rounded toward zero, |x| < 2^31.
template <class V, class I>
inline V truncated(V x) {
    if constexpr (sizeof(V) == sizeof(double)) return static_cast<double>(static_cast<int64_t>(x));
    else return __builtin_convertvector(__builtin_convertvector(x, I), V);
}

// For 2^-27 <= y < 32: the quadrant number k nearest to y/(pi/2) and the rest y - k*pi/2 to about
// 2^-100 relative, as ±(ph + pl) with ph >= 0, |pl| <= ulp(ph)/2 and ph <= pi/4 + 2^-50; returns
// the mask of a negative rest. The first difference is exact (Sterbenz), the products are exact,
// and the sums are exact down to the last one.
template <class V, class I>
inline auto reduce_to_octant(V y, V &k, V &ph, V &pl) {
    k = truncated<V, I>(y * 0.6366197723675814 + 0.5);
    V h1, l1, h2, l2, rh, rl;
    exact_sum(y - k * kHalfPi1, -(k * kHalfPi2), h1, l1);
    exact_sum(h1, -(k * kHalfPi3), h2, l2);
    exact_sum(h2, (l1 + l2) - k * kHalfPi4, rh, rl);
    const auto negative = rh < 0;
    ph = negative ? -rh : rh;
    pl = negative ? -rl : rl;
    return negative;
}

// cos and sin of ph + pl (as reduce_to_octant gives them) and the mask of the lanes whose
// rounding is sure. table(j, ch, cl, sh, sl) reads the table angle of the indices j.
template <class V, class I, class Table>
inline auto fast_octant(V ph, V pl, Table table, V &cosine, V &sine) {
    V j = truncated<V, I>(ph * (kTableSteps / 0.7853981633974483) + 0.5);
    j = j > kTableSteps ? filled<V>(kTableSteps) : j;
    // ph - j*kStep1 is exact: both are within a factor of two of each other (or j is 0), and
    // j times a part of the step is exact.
    V h, l, dh, dl, ch, cl, sh, sl;
    exact_sum(ph - j * kStep1, -(j * kStep2), h, l);
    exact_sum(h, (l + pl) - j * kStep3, dh, dl);
    table(j, ch, cl, sh, sl);
    const OctantValues<V> v = evaluate_octant(ch, cl, sh, sl, dh, dl);
    cosine = v.cos_hi;
    sine = v.sin_hi;
    return rounds_surely<V, I>(v.cos_hi, v.cos_lo, error_bound<V, I>(v.cos_hi, v.s3)) &
           rounds_surely<V, I>(v.sin_hi, v.sin_lo, error_bound<V, I>(v.sin_hi, v.s3));
}

// sin x and cos x from cos c and sin s of the rest: |x| = k*pi/2 + rest, the rest negative where
// the mask says so.
template <class V, class I, class Mask>
inline void place_in_circle(V x, V k, Mask negative, V c, V s, V &sine, V &cosine) {
    s = negative ? -s : s;
    const I q = to_integer<V, I>(k);
    const V sy = (q & 1) != 0 ? c : s, cy = (q & 1) != 0 ? s : c;
    const V sin_y = (q & 2) != 0 ? -sy : sy;
    sine = x < 0 ? -sin_y : sin_y;
    cosine = ((q + 1) & 2) != 0 ? -cy : cy;
}

}  // namespace
}  // namespace hw::trig
