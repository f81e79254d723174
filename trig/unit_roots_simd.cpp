// Per-level batches of the trigonometry, a vector of values at a time, with the scalar code's
// bits: sin_cos of arbitrary angles (the kernel of trig/sin_cos_kernel.h, lane by lane), and
// roots of unity of one order n, cos and sin of 2*pi*t/n for t = first, first + step, ....
// For the roots, each lane reduces t/n to the first octant with
// exact integer-valued doubles (0 <= t < n <= 2^32, so every product below stays under 2^53),
// finds the table angle j*pi/1024 nearest to (pi/4)*a/n and the rest delta as an exact integer
// times pi/(1024 n), and evaluates as the scalar code does; lanes whose rounding is not sure
// take the exact path. The results are the correctly rounded values, on every level.
// Runs of multiples of one angle, and the roots from the start of the circle, go faster by
// exact-product rotations (trig/root_steps.h) where their error bound decides the rounding.
#include <immintrin.h>

#include "simd/vec.h"
#include "trig/exact_trig.h"
#include "trig/octant_kernel.h"
#include "trig/root_steps.h"
#include "trig/sin_cos_kernel.h"
#include "trig/trig.h"
#include "trig/trig_tables.h"

namespace hw::HW_ISA_NS {
namespace {

using namespace hw::trig;

double clear_low_bits(double x) {  // keeps the 21 leading significant bits
    return from_bits<double>(bits_of<int64_t>(x) & ~int64_t{0xffffffff});
}

// What every root of order n shares: pi/(1024 n) = k1 + k2 + k3, k1 and k2 with at most 21
// significant bits, so that their products with an integer below 2^32 are exact.
struct Order {
    double n, inv_n, k1, k2, k3;
};

Order order_constants(uint64_t n) {
    Order o;
    o.n = static_cast<double>(n);
    o.inv_n = 1.0 / o.n;
    // pi/1024 divided by n as a pair of doubles: the remainder kStepD1 - kh*n is exact.
    const double kh = kStepD1 / o.n;
    double k_1, k_2, n1, n2, p, pe;
    split(kh, k_1, k_2);
    split(o.n, n1, n2);
    exact_product(kh, k_1, k_2, o.n, n1, n2, p, pe);
    const double kl = (((kStepD1 - p) - pe) + kStepD2) / o.n;
    o.k1 = clear_low_bits(kh);
    const double rest = kh - o.k1;
    o.k2 = clear_low_bits(rest);
    o.k3 = (rest - o.k2) + kl;
    return o;
}

vdouble gather(const double *base, vint64 index) {
#if HW_VEC_DOUBLES == 8
    return (vdouble)_mm512_mask_i64gather_pd(_mm512_setzero_pd(), 0xff, (__m512i)index, base, 8);
#elif HW_VEC_DOUBLES == 4
    return (vdouble)_mm256_mask_i64gather_pd(_mm256_setzero_pd(), base, (__m256i)index, _mm256_castsi256_pd(_mm256_set1_epi64x(-1)), 8);
#else
    return vdouble{base[index[0]], base[index[1]]};
#endif
}

// (c0, s0, c1, s1, ...) into out[0 .. 2 kLanes).
void store_interleaved(double *out, vdouble c, vdouble s) {
#if HW_VEC_DOUBLES == 8
    store(out, __builtin_shufflevector(c, s, 0, 8, 1, 9, 2, 10, 3, 11));
    store(out + kLanes, __builtin_shufflevector(c, s, 4, 12, 5, 13, 6, 14, 7, 15));
#elif HW_VEC_DOUBLES == 4
    store(out, __builtin_shufflevector(c, s, 0, 4, 1, 5));
    store(out + kLanes, __builtin_shufflevector(c, s, 2, 6, 3, 7));
#else
    store(out, __builtin_shufflevector(c, s, 0, 2));
    store(out + kLanes, __builtin_shufflevector(c, s, 1, 3));
#endif
}

vdouble truncate(vdouble x) { return truncated<vdouble, vint64>(x); }

// sin and cos of the lanes of x, as the scalar sin_cos gives them.
void sin_cos_of_lanes(vdouble x, vdouble &sine, vdouble &cosine) {
    const vdouble y = magnitude<vdouble, vint64>(x);
    const auto in_range = (y >= 0x1p-27) & (y < 32.0);
    vdouble k, ph, pl, c, s;
    auto negative = reduce_to_octant<vdouble, vint64>(in_range ? y : broadcast(1.0), k, ph, pl);
    const auto table = [](vdouble j, vdouble &ch, vdouble &cl, vdouble &sh, vdouble &sl) {
        const vint64 index = __builtin_convertvector(j, vint64) * 4;  // four doubles an entry
        const double *angles = &kTableAngles[0].cos_hi;
        ch = gather(angles, index);
        cl = gather(angles + 1, index);
        sh = gather(angles + 2, index);
        sl = gather(angles + 3, index);
    };
    const auto sure = fast_octant<vdouble, vint64>(ph, pl, table, c, s);
    for (int i = 0; i < kLanes; ++i) {
        if (sure[i] || !in_range[i]) continue;
        double ci, si;
        negative[i] = exact_quadrant_rest(y[i], static_cast<int>(k[i]), &ci, &si) ? -1 : 0;
        c[i] = ci;
        s[i] = si;
    }
    vdouble sn, cs;
    place_in_circle<vdouble, vint64>(x, k, negative, c, s, sn, cs);
    // Tiny angles: sin x = x, cos x = 1; NaN stays itself, the rest is NaN.
    const auto tiny = y < 0x1p-27;
    const vdouble outside = y != y ? x : broadcast(__builtin_nan(""));
    sine = in_range ? sn : tiny ? x : outside;
    cosine = in_range ? cs : tiny ? broadcast(1.0) : outside;
}

// cos and sin of 2*pi*u/n for the lanes of u (integers, 0 <= u < n).
void roots_of_lanes(const Order &o, vdouble u, vdouble &cosine, vdouble &sine) {
    // Octant: 8u = oct*n + w, 0 <= w < n; the quotient in doubles is at most one off.
    const vdouble u8 = u * 8.0;
    vdouble oct = truncate(u8 * o.inv_n);
    vdouble w = u8 - oct * o.n;
    oct = w < 0 ? oct - 1.0 : oct;
    w = w < 0 ? w + o.n : w;
    oct = w >= o.n ? oct + 1.0 : oct;
    w = w >= o.n ? w - o.n : w;
    const vint64 octant = __builtin_convertvector(oct, vint64);
    // The angle within the octant, (pi/4)*a/n, runs backwards in odd octants.
    const vdouble a = (octant & 1) != 0 ? o.n - w : w;
    const vdouble j = truncate(a * (kTableSteps * o.inv_n) + 0.5);
    const vdouble num = a * kTableSteps - j * o.n;  // delta = num*pi/(1024 n), |num| <= n/2 + 1
    vdouble s, e, dh, dl;
    exact_sum_ordered(num * o.k1, num * o.k2, s, e);
    exact_sum_ordered(s, e + num * o.k3, dh, dl);

    // Each table entry is four doubles.
    const vint64 index = __builtin_convertvector(j, vint64) * 4;
    const double *table = &kTableAngles[0].cos_hi;
    const OctantValues<vdouble> v = evaluate_octant(gather(table, index), gather(table + 1, index),
                                                    gather(table + 2, index), gather(table + 3, index), dh, dl);
    vdouble c = v.cos_hi, sn = v.sin_hi;
    const auto sure = rounds_surely<vdouble, vint64>(v.cos_hi, v.cos_lo, error_bound<vdouble, vint64>(v.cos_hi, v.s3)) &
                        rounds_surely<vdouble, vint64>(v.sin_hi, v.sin_lo, error_bound<vdouble, vint64>(v.sin_hi, v.s3));
    for (int i = 0; i < kLanes; ++i) {
        if (sure[i]) continue;
        double ci, si;
        exact_octant_root(static_cast<uint64_t>(a[i]), static_cast<uint64_t>(o.n), &ci, &si);
        c[i] = ci;
        sn[i] = si;
    }
    // Octant o holds o*pi/4 + theta (o even) or (o + 1)*pi/4 - theta (o odd): cos and sin swap
    // in octants 1, 2, 5, 6, cos is negative in 2 .. 5 and sin in 4 .. 7. Adding 0 turns the
    // zero of an exact quarter turn into +0.
    const auto swap = ((octant + 1) & 2) != 0;
    const vdouble cr = swap ? sn : c, sr = swap ? c : sn;
    cosine = (((octant + 2) & 4) != 0 ? -cr : cr) + 0.0;
    sine = ((octant & 4) != 0 ? -sr : sr) + 0.0;
}

// Whether every lane of a mask (all bits set or clear per lane) is set.
template <class Mask>
bool every_lane(Mask mask) {
#if HW_VEC_DOUBLES == 8
    return _mm512_movepi64_mask((__m512i)mask) == 0xff;
#elif HW_VEC_DOUBLES == 4
    return _mm256_movemask_pd((__m256d)mask) == 0xf;
#else
    return _mm_movemask_pd((__m128d)mask) == 0x3;
#endif
}

// Lanes [0, count) of the cos and sine_sign * sin vectors into out as interleaved pairs.
void store_pairs(double *out, size_t count, vdouble c, vdouble s) {
    if (count >= static_cast<size_t>(kLanes)) {
        store_interleaved(out, c, s);
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        out[2 * i] = c[i];
        out[2 * i + 1] = s[i];
    }
}

// The first vector of rotations, lane b that of b*theta: the product of the rotations of theta,
// 2 theta, 4 theta, ... that b's bits select (a product with the exact (1, 0) rounds nothing).
// power enters as the rotation of theta and leaves as that of kLanes*theta.
Rotation<vdouble> first_lanes(Rotation<double> &power) {
    const vdouble one = broadcast(1.0), zero = broadcast(0.0);
    const auto select = [&](vint64 lanes, const Rotation<double> &r) {
        return Rotation<vdouble>{lanes != 0 ? broadcast(r.ch) : one, lanes != 0 ? broadcast(r.cl) : zero,
                                 lanes != 0 ? broadcast(r.sh) : zero, lanes != 0 ? broadcast(r.sl) : zero};
    };
    vint64 lane;
    for (int i = 0; i < kLanes; ++i) lane[i] = i;
    Rotation<vdouble> z = select(lane & 1, power);
    for (int bit = 2; bit < kLanes; bit *= 2) {
        power = rotate(power, power);
        z = rotate(z, select(lane & bit, power));
    }
    power = rotate(power, power);
    return z;
}

// How many of count multiples the rotations serve: m < limit, m < 2^26 (exact products with
// m), and the bound m*per_m below 2^-60 (past that, most results near an axis would fail the
// rounding test anyway). per_m is padded to cover the rounding of m*per_m.
size_t rotation_count(size_t count, double per_m, double limit) {
    limit = limit < 0x1p-60 / per_m ? limit : 0x1p-60 / per_m;
    limit = limit < 0x1p26 ? limit : 0x1p26;
    return count < static_cast<size_t>(limit) ? count : static_cast<size_t>(limit);
}

// Turns the rotations of (0 .. kLanes-1)*theta by that of kLanes*theta for the multiples
// m < fast: finish(z, m, k) rounds and stores the vector of multiples k .. k + kLanes - 1.
template <class Finish>
void rotate_through(Rotation<double> power, size_t fast, Finish finish) {
    Rotation<vdouble> z = first_lanes(power);
    const Rotation<vdouble> w{broadcast(power.ch), broadcast(power.cl), broadcast(power.sh), broadcast(power.sl)};
    vdouble m;
    for (int i = 0; i < kLanes; ++i) m[i] = i;
    for (size_t k = 0; k < fast; k += kLanes) {
        finish(z, m, k);
        z = rotate(z, w);
        m += kLanes;
    }
}

// The lanes whose rounding is not sure from exact(i, cosine, sine).
template <class Mask, class Exact>
void settle_unsure(Mask sure, vdouble &c, vdouble &s, Exact exact) {
    if (every_lane(sure)) return;
    for (int i = 0; i < kLanes; ++i) {
        if (sure[i]) continue;
        double ci, si;
        exact(i, ci, si);
        c[i] = ci;
        s[i] = si;
    }
}

// The fast part of sin_cos_multiples (trig/root_steps.h), for 2^-13 <= theta <= pi/4 and
// x_m <= 3.5 (so |lo| <= 2^-52); returns how many multiples it wrote. Below 2^-13 the sines of
// the first multiples are too small for the absolute bound: most would fail the rounding test.
size_t rotated_multiples(double theta, size_t count, double sine_sign, double *cos_sin) {
    if (!(theta >= 0x1p-13 && theta <= 0.7853981633974483)) return 0;
    double e1, t1, t2;
    const Rotation<double> first = first_rotation(theta, e1);
    const double per_m = (e1 + kRotationError) * (1 + 0x1p-40);
    const size_t fast = rotation_count(count, per_m, 3.5 / theta);
    split(theta, t1, t2);
    rotate_through(first, fast, [&](const Rotation<vdouble> &z, vdouble m, size_t k) {
        const vdouble x = m * theta, eps = m * per_m + kOutputError;
        vdouble c, cl, s, sl;
        rotation_to_angle(z, exact_rest(m, x, t1, t2), c, cl, s, sl);
        settle_unsure(rounds_surely_signed<vdouble, vint64>(c, cl, eps) & rounds_surely_signed<vdouble, vint64>(s, sl, eps),
                      c, s, [&](int i, double &ci, double &si) { hw::trig::sin_cos(x[i], &si, &ci); });
        store_pairs(cos_sin + 2 * k, fast - k, c, s * sine_sign);
    });
    return fast;
}

// The roots of unity 2*pi*t/n for t < count, 16 <= n <= 2^16 (as for the multiples, larger
// orders would fail the rounding test near the axes), by rotations where the bound allows (the
// angle is exact, so a root is ch + cl); returns how many it wrote.
size_t rotated_roots(uint64_t n, size_t count, double *cos_sin) {
    // 2 pi/n = j*pi/1024 + num*pi/(1024 n) with j nearest to 2048/n (at most 128).
    const Order o = order_constants(n);
    const double j = static_cast<double>(static_cast<int64_t>(8 * kTableSteps * o.inv_n + 0.5));
    const double num = 8 * kTableSteps - j * o.n;
    double s0, e0, dh, dl, e1;
    exact_sum_ordered(num * o.k1, num * o.k2, s0, e0);
    exact_sum_ordered(s0, e0 + num * o.k3, dh, dl);
    const Rotation<double> first = table_rotation(j, dh, dl, e1);
    const double per_m = (e1 + kRotationError) * (1 + 0x1p-40);
    const size_t fast = rotation_count(count, per_m, 0x1p26);
    rotate_through(first, fast, [&](const Rotation<vdouble> &z, vdouble m, size_t k) {
        const vdouble eps = m * per_m;
        vdouble c, cl, s, sl;
        exact_sum_ordered(z.ch, z.cl, c, cl);
        exact_sum_ordered(z.sh, z.sl, s, sl);
        settle_unsure(rounds_surely_signed<vdouble, vint64>(c, cl, eps) & rounds_surely_signed<vdouble, vint64>(s, sl, eps),
                      c, s, [&](int i, double &ci, double &si) { hw::trig::unit_root(k + i, n, &ci, &si); });
        store_pairs(cos_sin + 2 * k, fast - k, c, s);
    });
    return fast;
}

}  // namespace

void sin_cos_multiples(double theta, size_t count, double sine_sign, double *cos_sin) {
    size_t k = rotated_multiples(theta, count, sine_sign, cos_sin);
    for (; k < count; k += kLanes) {
        vdouble m, s, c;
        for (int i = 0; i < kLanes; ++i) m[i] = static_cast<double>(k + i);
        sin_cos_of_lanes(m * theta, s, c);
        store_pairs(cos_sin + 2 * k, count - k, c, s * sine_sign);
    }
}

void sin_cos_batch(const double *x, size_t count, double *sine, double *cosine) {
    size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        vdouble s, c;
        sin_cos_of_lanes(load(x + i), s, c);
        store(sine + i, s);
        store(cosine + i, c);
    }
    if (i == count) return;
    vdouble rest{}, s, c;
    for (size_t l = 0; i + l < count; ++l) rest[l] = x[i + l];
    sin_cos_of_lanes(rest, s, c);
    for (size_t l = 0; i + l < count; ++l) {
        sine[i + l] = s[l];
        cosine[i + l] = c[l];
    }
}

void unit_roots(uint64_t n, uint64_t first, uint64_t step, size_t count, double *cos_sin) {
    const Order o = order_constants(n);
    // Lane i holds t = first + (k + i)*step mod n: offsets (i*step mod n) once, then the first
    // lane's t moves by kLanes*step mod n per vector.
    const uint64_t d = step % n;
    vdouble offsets;
    uint64_t t = 0;
    for (int i = 0; i < kLanes; ++i) {
        offsets[i] = static_cast<double>(t);
        t += d;
        if (t >= n) t -= n;
    }
    const uint64_t advance = t;
    size_t k = first == 0 && step == 1 && n >= 16 && n <= 65536 ? rotated_roots(n, count, cos_sin) : 0;
    t = k > 0 ? k % n : first % n;  // k > 0 only for first 0 and step 1
    for (; k < count; k += kLanes) {
        vdouble u = offsets + static_cast<double>(t);
        u = u >= o.n ? u - o.n : u;
        vdouble c, s;
        roots_of_lanes(o, u, c, s);
        if (count - k >= static_cast<size_t>(kLanes)) {
            store_interleaved(cos_sin + 2 * k, c, s);
        } else {
            for (size_t i = 0; i < count - k; ++i) {
                cos_sin[2 * (k + i)] = c[i];
                cos_sin[2 * (k + i) + 1] = s[i];
            }
        }
        t += advance;
        if (t >= n) t -= n;
    }
}

// Only the first eighth (quarter, half) of the circle is evaluated; the rest follows from the
// exact symmetries cos(pi/2 - x) = sin x, cos(pi/2 + x) = -sin x, cos(2pi - x) = cos x. No
// negated value is a zero: the sines that vanish (t = 0, n/2) are never the source of one.
void unit_roots_circle(uint64_t n, double *cos_sin) {
    const uint64_t computed = n % 8 == 0 ? n / 8 : n % 4 == 0 ? n / 4 : n / 2;
    unit_roots(n, 0, 1, computed + 1, cos_sin);
    if (n % 8 == 0)
        for (uint64_t t = n / 8 + 1; t <= n / 4; ++t) {
            cos_sin[2 * t] = cos_sin[2 * (n / 4 - t) + 1];
            cos_sin[2 * t + 1] = cos_sin[2 * (n / 4 - t)];
        }
    if (n % 4 == 0)
        for (uint64_t t = n / 4 + 1; t <= n / 2; ++t) {
            cos_sin[2 * t] = -cos_sin[2 * (t - n / 4) + 1];
            cos_sin[2 * t + 1] = cos_sin[2 * (t - n / 4)];
        }
    for (uint64_t t = n / 2 + 1; t < n; ++t) {
        cos_sin[2 * t] = cos_sin[2 * (n - t)];
        cos_sin[2 * t + 1] = -cos_sin[2 * (n - t) + 1];
    }
}

}  // namespace hw::HW_ISA_NS
