// The fast evaluation of cos and sin in the first octant, written once for a scalar double
// (trig/trig.cpp) and for the vectors of the per-level batch (trig/unit_roots_simd.cpp).
//
// The angle is j*pi/1024 + delta with a table index 0 <= j <= 256 and |delta| <= pi/2048 (a
// little more for angles from doubles), delta given as dh + dl with |dl| <= ulp(dh)/2. With the
// table's cos and sin of j*pi/1024 as pairs of doubles (C, S), and 1 - cos delta = h + l,
// sin delta = dh + dl + s3 from short series:
//   cos = C - C*(h + l) - S*(delta + s3),   sin = S - S*(h + l) + C*(delta + s3),
// where the large products C*h, S*h, C*dh, S*dh are exact (Dekker's product with Veltkamp's
// split) and the three leading terms are added exactly (Knuth's sum). What is left is rounded
// in ordinary doubles: the dominant error is that of s3 (five roundings, < 2^-50.5 relative,
// times a factor at most 1, plus the rounding of the sums it enters), everything else stays
// below 2^-90 relative. error_bound() claims 2^-48 |s3| + 2^-88 |value|, about six times
// the estimate; the tests compare the claim with the actual error on millions of angles.
//
// Only +, -, * in a fixed order, so a lane of a vector gives the bits of the scalar code. All
// of it has internal linkage: each object that includes it gets its own copy, compiled for its
// own instruction set.
#pragma once

#include <cstdint>

namespace hw::trig {
namespace {

template <class V>
inline void exact_sum(V a, V b, V &s, V &e) {
    s = a + b;
    const V bb = s - a;
    e = (a - (s - bb)) + (b - bb);
}

// |a| >= |b| or a == 0.
template <class V>
inline void exact_sum_ordered(V a, V b, V &s, V &e) {
    s = a + b;
    e = b - (s - a);
}

template <class V>
inline void split(V a, V &high, V &low) {
    const V t = a * 134217729.0;  // 2^27 + 1: halves of 26 and 27 bits
    high = t - (t - a);
    low = a - high;
}

// a * b = p + e exactly, given the splits of a and b.
template <class V>
inline void exact_product(V a, V a1, V a2, V b, V b1, V b2, V &p, V &e) {
    p = a * b;
    e = (((a1 * b1 - p) + a1 * b2) + a2 * b1) + a2 * b2;
}

template <class V>
struct OctantValues {
    V cos_hi, cos_lo, sin_hi, sin_lo;
    V s3;  // the part of sin(delta) - delta that bounds the error (error_bound)
};

// cos and sin of j*pi/1024 + dh + dl, given the table values of j.
template <class V>
inline OctantValues<V> evaluate_octant(V ch, V cl, V sh, V sl, V dh, V dl) {
    V d1, d2, c1, c2, s1, s2;
    split(dh, d1, d2);
    split(ch, c1, c2);
    split(sh, s1, s2);
    const V q = dh * dh;
    const V qe = ((d1 * d1 - q) + (d1 * d2) * 2.0) + d2 * d2;  // dh^2 = q + qe
    const V h = q * 0.5;
    const V l = (qe * 0.5 + dh * dl) - (q * q) * (1.0 / 24 - q * (1.0 / 720));
    const V s3 = (dh * q) * (-1.0 / 6 + q * (1.0 / 120 - q * (1.0 / 5040))) - dl * h;
    V h1, h2;
    split(h, h1, h2);

    OctantValues<V> r;
    V p1, e1, p2, e2, u, ue, u2, ue2;
    exact_product(sh, s1, s2, dh, d1, d2, p1, e1);
    exact_product(ch, c1, c2, h, h1, h2, p2, e2);
    exact_sum(ch, -p1, u, ue);
    exact_sum(u, -p2, u2, ue2);
    const V cos_tail = ((ue + ue2) + cl) - ((e1 + e2) + ((sh * dl + sl * dh) + (ch * l + cl * h))) - sh * s3;
    exact_sum_ordered(u2, cos_tail, r.cos_hi, r.cos_lo);

    V p3, e3, p4, e4, v, ve, v2, ve2;
    exact_product(ch, c1, c2, dh, d1, d2, p3, e3);
    exact_product(sh, s1, s2, h, h1, h2, p4, e4);
    exact_sum(sh, p3, v, ve);
    exact_sum(v, -p4, v2, ve2);
    const V sin_tail = (((ve + ve2) + sl) + ((e3 - e4) + ((ch * dl + cl * dh) - (sh * l + sl * h)))) + ch * s3;
    exact_sum_ordered(v2, sin_tail, r.sin_hi, r.sin_lo);
    r.s3 = s3;
    return r;
}

// Bits of a double or of a vector of doubles as integers of the same shape (I = int64_t or the
// vector of 64-bit integers).
template <class I, class V>
inline I bits_of(V v) {
    I i;
    __builtin_memcpy(&i, &v, sizeof i);
    return i;
}

template <class V, class I>
inline V from_bits(I i) {
    V v;
    __builtin_memcpy(&v, &i, sizeof v);
    return v;
}

template <class V, class I>
inline V magnitude(V v) {
    return from_bits<V>(bits_of<I>(v) & 0x7fffffffffffffffLL);
}

// Bound on |true value - (hi + lo)| for a result of evaluate_octant with hi >= 0.
template <class V, class I>
inline V error_bound(V hi, V s3) {
    return magnitude<V, I>(s3) * 0x1p-48 + hi * 0x1p-88;
}

// Whether hi (>= 0, |lo| <= ulp(hi)/2) is the double nearest to every number within eps of
// hi + lo: the interval must stay clear of the midpoints next to hi (the one below is nearer
// when hi is a power of two). A zero hi only comes from an exactly zero value.
template <class V, class I>
inline auto rounds_surely(V hi, V lo, V eps) {
    const I bits = bits_of<I>(hi);
    const V half_ulp = from_bits<V>(bits & 0x7ff0000000000000LL) * 0x1p-53;
    const V room = ((lo < 0) & ((bits & 0x000fffffffffffffLL) == 0)) ? half_ulp * 0.5 : half_ulp;
    return (magnitude<V, I>(lo) + eps < room) | (hi == 0);
}

}  // namespace
}  // namespace hw::trig
