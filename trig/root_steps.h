// cos and sin of the multiples of one angle, x_m = fl(m*theta) or exactly 2*pi*m/n, by
// exact-product rotations instead of one evaluation per angle: written once for a scalar double (the tests) and for the
// vectors of the per-level batch (trig/unit_roots_simd.cpp, sin_cos_multiples).
//
// A rotation Z ~ (cos, sin) of an angle is kept in split form: ch, sh are multiples of 2^-26 in
// [-1, 1] (27 significant bits at most) and cl, sl the rests, |cl|, |sl| <= q = 2^-27 + 2^-52.
// Products of two high parts are then exact (multiples of 2^-52 below 2 in magnitude), and so
// is the high part of a rotation product, ch*wch - sh*wsh (by Cauchy-Schwarz below
// |Z||W| < 2). Only the four middle products, each below q, and the two small ones (below q^2)
// are rounded: per component at most 16 u q for their sums (u = 2^-53), plus u q when the
// result is split again, so the complex error of a product grows by at most
// sqrt(2) * 17 u q (2^-75.6) plus second-order terms far below 2^-100: kRotationError.
//
// The rotations of m*theta (exact angle, m < 2^26) come from that of theta by a tree of
// products: each Z_m = Z_p * Z_(m-p). If the first has complex error e1, then by induction
// |Z_m - exp(i m theta)| <= m (e1 + kRotationError) - kRotationError for m >= 1; the product
// with the exact Z_0 = (1, 0) rounds nothing. x_m differs from m*theta by the exact rest lo =
// m*theta - x_m (|lo| <= 2^-52 while x_m < 4), so
//   cos x_m = C cos lo + S sin lo,  sin x_m = S cos lo - C sin lo,
// evaluated as ch + (cl + S~*lo) and sh + (sl - C~*lo) with S~ = fl(sh + sl): the dropped
// lo^2/2 and lo^3/6 terms, the error of S~ times lo and the two roundings of the tail add at
// most 2^-80 (1 + 2^-20) = kOutputError. The tail is below 2^-26 <= |ch| unless ch is 0, so
// the final sum is exact (Fast2Sum). A result is kept only when rounds_surely (octant_kernel.h)
// finds the rounding of hi + lo decided within eps_m = m (e1 + kRotationError) + kOutputError.
// A root of unity, whose angle is exact (lo = 0), is ch + cl itself, within m (e1 + kRotationError).
//
// Only +, -, * in a fixed order, so a lane of a vector gives the scalar code's bits. Internal
// linkage, as octant_kernel.h.
#pragma once

#include <cstdint>

#include "trig/octant_kernel.h"
#include "trig/trig_tables.h"

namespace hw::trig {
namespace {

inline constexpr double kRotationError = 25 * 0x1p-80;
inline constexpr double kOutputError = 0x1.00001p-80;
inline constexpr double kSplitGrid = 0x1.8p26;  // adding and subtracting it rounds to 2^-26

template <class V>
struct Rotation {
    V ch, cl, sh, sl;
};

// hi + lo (|hi| <= 1, |lo| <= ulp(hi)/2) as a high multiple of 2^-26 and a rest; the rest's
// rounding is at most 2^-80 (hi - high is exact: both are multiples of ulp(hi), and it is
// below 2^-27).
template <class V>
inline void split_fixed(V hi, V lo, V &high, V &rest) {
    high = (hi + kSplitGrid) - kSplitGrid;
    rest = (hi - high) + lo;
}

// s = b + t with b a multiple of 2^-52 below 2: the high part is s rounded to 2^-26, and
// b - high (a multiple of 2^-52 below 2^-24) is exact.
template <class V>
inline void resplit(V b, V t, V &high, V &rest) {
    high = ((b + t) + kSplitGrid) - kSplitGrid;
    rest = (b - high) + t;
}

template <class V>
inline Rotation<V> rotate(const Rotation<V> &z, const Rotation<V> &w) {
    Rotation<V> r;
    const V bc = z.ch * w.ch - z.sh * w.sh;
    const V tc = ((z.ch * w.cl + z.cl * w.ch) - (z.sh * w.sl + z.sl * w.sh)) + (z.cl * w.cl - z.sl * w.sl);
    const V bs = z.sh * w.ch + z.ch * w.sh;
    const V ts = ((z.sh * w.cl + z.sl * w.ch) + (z.ch * w.sl + z.cl * w.sh)) + (z.sl * w.cl + z.cl * w.sl);
    resplit(bc, tc, r.ch, r.cl);
    resplit(bs, ts, r.sh, r.sl);
    return r;
}

// The rotation of j*pi/1024 + dh + dl (the exact angle, as octant_kernel.h takes it) from the
// table and the short series, and the bound e1 on its complex error (that of the evaluation in
// each component and the two splits).
inline Rotation<double> table_rotation(double j, double dh, double dl, double &e1) {
    const TableAngle &a = kTableAngles[static_cast<int>(j)];
    const OctantValues<double> v = evaluate_octant(a.cos_hi, a.cos_lo, a.sin_hi, a.sin_lo, dh, dl);
    e1 = error_bound<double, int64_t>(v.cos_hi, v.s3) + error_bound<double, int64_t>(v.sin_hi, v.s3) + 0x1p-79;
    Rotation<double> z;
    split_fixed(v.cos_hi, v.cos_lo, z.ch, z.cl);
    split_fixed(v.sin_hi, v.sin_lo, z.sh, z.sl);
    return z;
}

// The rotation of a double theta, 0 < theta <= pi/4.
inline Rotation<double> first_rotation(double theta, double &e1) {
    double j = static_cast<double>(static_cast<int64_t>(theta * (kTableSteps / 0.7853981633974483) + 0.5));
    j = j > kTableSteps ? kTableSteps : j;
    double h, l, dh, dl;
    exact_sum(theta - j * kStep1, -(j * kStep2), h, l);
    exact_sum(h, l - j * kStep3, dh, dl);
    return table_rotation(j, dh, dl, e1);
}

// theta = t1 + t2 with halves short enough that m*t1 and m*t2 are exact for m < 2^26.
template <class V>
inline V exact_rest(V m, V x, double t1, double t2) {
    return (m * t1 - x) + m * t2;  // m*theta - x, exactly (Dekker's product, m unsplit)
}

// cos x and sin x (hi + lo each) of x = m*theta - lo from the rotation z of m*theta.
template <class V>
inline void rotation_to_angle(const Rotation<V> &z, V lo, V &cos_hi, V &cos_lo, V &sin_hi, V &sin_lo) {
    const V c = z.ch + z.cl, s = z.sh + z.sl;
    exact_sum_ordered(z.ch, z.cl + s * lo, cos_hi, cos_lo);
    exact_sum_ordered(z.sh, z.sl - c * lo, sin_hi, sin_lo);
}

// Whether hi (of either sign) is the double nearest to every number within eps of hi + lo.
template <class V, class I>
inline auto rounds_surely_signed(V hi, V lo, V eps) {
    return rounds_surely<V, I>(magnitude<V, I>(hi), hi < 0 ? -lo : lo, eps);
}

}  // namespace
}  // namespace hw::trig
