// Correctly rounded cos and sin of exactly known first-octant angles, by Taylor series in
// fixed-point integers. The angle is formed from pi/4 to 64*L bits; the series runs until its
// terms vanish; the result is known to within kSlack units of the last place, and it is
// rounded only when every number in that interval rounds to the same double. Otherwise the
// work is repeated with twice and then four times as many limbs. A root of unity or the sine of
// a nonzero double is never exactly halfway between two doubles, so a wide enough attempt
// always decides; at 1024 bits no case is known to come near.
#include "trig/exact_trig.h"

#include <cstring>

#include "trig/trig_tables.h"

namespace hw::trig {
namespace {

typedef unsigned __int128 u128;

// w[0 .. L-1]: the fraction, least significant limb first; w[L]: the integer part.
template <int L>
struct Fixed {
    uint64_t w[L + 1];
};

// Error bound of a series result in units of 2^(-64L): the angle's error (at most 12 units) and
// one unit per truncating operation, a few hundred operations at most.
constexpr uint64_t kSlack = uint64_t{1} << 20;

template <int L>
Fixed<L> from_int(uint64_t v) {
    Fixed<L> r{};
    r.w[L] = v;
    return r;
}

template <int L>
bool is_zero(const Fixed<L> &a) {
    for (int i = 0; i <= L; ++i)
        if (a.w[i]) return false;
    return true;
}

template <int L>
bool less(const Fixed<L> &a, const Fixed<L> &b) {
    for (int i = L; i >= 0; --i)
        if (a.w[i] != b.w[i]) return a.w[i] < b.w[i];
    return false;
}

template <int L>
Fixed<L> add(const Fixed<L> &a, const Fixed<L> &b) {
    Fixed<L> r;
    u128 carry = 0;
    for (int i = 0; i <= L; ++i) {
        carry += static_cast<u128>(a.w[i]) + b.w[i];
        r.w[i] = static_cast<uint64_t>(carry);
        carry >>= 64;
    }
    return r;
}

// a - b for a >= b.
template <int L>
Fixed<L> sub(const Fixed<L> &a, const Fixed<L> &b) {
    Fixed<L> r;
    uint64_t borrow = 0;
    for (int i = 0; i <= L; ++i) {
        const u128 d = static_cast<u128>(a.w[i]) - b.w[i] - borrow;
        r.w[i] = static_cast<uint64_t>(d);
        borrow = static_cast<uint64_t>(d >> 127);
    }
    return r;
}

// a * b truncated to 64L fraction bits (both factors below 2^64).
template <int L>
Fixed<L> mul(const Fixed<L> &a, const Fixed<L> &b) {
    uint64_t p[2 * L + 2] = {};
    for (int i = 0; i <= L; ++i) {
        u128 carry = 0;
        for (int j = 0; j <= L; ++j) {
            carry += static_cast<u128>(a.w[i]) * b.w[j] + p[i + j];
            p[i + j] = static_cast<uint64_t>(carry);
            carry >>= 64;
        }
        p[i + L + 1] = static_cast<uint64_t>(carry);
    }
    Fixed<L> r;
    for (int i = 0; i <= L; ++i) r.w[i] = p[i + L];
    return r;
}

template <int L>
Fixed<L> mul_small(const Fixed<L> &a, uint64_t m) {
    Fixed<L> r;
    u128 carry = 0;
    for (int i = 0; i <= L; ++i) {
        carry += static_cast<u128>(a.w[i]) * m;
        r.w[i] = static_cast<uint64_t>(carry);
        carry >>= 64;
    }
    return r;
}

// a / d truncated, for d < 2^48: sixteen bits at a time in 64-bit divisions (a 128-bit
// division would call into libgcc_s, a dependency the library does not take on).
template <int L>
Fixed<L> div_small(const Fixed<L> &a, uint64_t d) {
    Fixed<L> r;
    uint64_t rem = 0;
    for (int i = L; i >= 0; --i) {
        uint64_t q = 0;
        for (int shift = 48; shift >= 0; shift -= 16) {
            const uint64_t cur = (rem << 16) | ((a.w[i] >> shift) & 0xffff);
            q = (q << 16) | (cur / d);
            rem = cur % d;
        }
        r.w[i] = q;
    }
    return r;
}

template <int L>
Fixed<L> quarter_pi() {
    Fixed<L> r{};
    for (int i = 0; i < L; ++i) r.w[L - 1 - i] = kQuarterPiLimbs[i];
    return r;
}

// A double 2^-27 <= y < 2^64, exactly.
template <int L>
Fixed<L> from_double(double y) {
    uint64_t bits;
    std::memcpy(&bits, &y, sizeof bits);
    const uint64_t mantissa = (bits & ((uint64_t{1} << 52) - 1)) | (uint64_t{1} << 52);
    const int shift = 64 * L + static_cast<int>(bits >> 52) - 1075;  // y = mantissa * 2^(shift - 64L)
    Fixed<L> r{};
    const int limb = shift / 64, bit = shift % 64;
    r.w[limb] = mantissa << bit;
    if (bit > 11 && limb < L) r.w[limb + 1] = mantissa >> (64 - bit);
    return r;
}

uint64_t bit_field(const uint64_t *w, int limbs, int low, int count) {
    const int limb = low / 64, bit = low % 64;
    uint64_t v = w[limb] >> bit;
    if (bit && limb + 1 < limbs) v |= w[limb + 1] << (64 - bit);
    return count == 64 ? v : v & ((uint64_t{1} << count) - 1);
}

// The double nearest to a * 2^(-64L) for a >= 2^(-64L + 53); `tie` tells whether a lies exactly
// halfway between two doubles.
template <int L>
double round_to_double(const Fixed<L> &a, bool *tie) {
    int top = L;
    while (a.w[top] == 0) --top;
    const int lead = 64 * top + 63 - __builtin_clzll(a.w[top]);  // index of the leading bit
    const int low = lead - 52;                                      // the last bit kept
    uint64_t m = bit_field(a.w, L + 1, low, 53);
    const bool half = (a.w[(low - 1) / 64] >> ((low - 1) % 64)) & 1;
    bool sticky = false;
    for (int b = 0; b < low - 1 && !sticky; b += 64) {
        const int count = low - 1 - b < 64 ? low - 1 - b : 64;
        sticky = bit_field(a.w, L + 1, b, count) != 0;
    }
    *tie = half && !sticky;
    if (half && (sticky || (m & 1))) ++m;
    const uint64_t scale_bits = static_cast<uint64_t>(1023 + low - 64 * L) << 52;
    double scale;
    std::memcpy(&scale, &scale_bits, sizeof scale);
    return static_cast<double>(m) * scale;
}

// The double of the true value a +- kSlack units, or false when the interval holds a point
// halfway between two doubles.
template <int L>
bool round_interval(const Fixed<L> &a, double *out) {
    const Fixed<L> slack = [] {
        Fixed<L> s{};
        s.w[0] = kSlack;
        return s;
    }();
    bool tie_low, tie_high;
    const double low = round_to_double(sub(a, slack), &tie_low);
    const double high = round_to_double(add(a, slack), &tie_high);
    *out = low;
    return !tie_low && !tie_high && low == high;
}

// cos and sin of 0 < phi < 1 by their Taylor series.
template <int L>
bool series(const Fixed<L> &phi, double *cosine, double *sine) {
    const Fixed<L> phi2 = mul(phi, phi);
    Fixed<L> sin_sum = phi, cos_sum = from_int<L>(1);
    Fixed<L> sin_term = phi, cos_term = cos_sum;
    for (uint64_t k = 1; !is_zero(sin_term) || !is_zero(cos_term); ++k) {
        // Partial sums of these alternating series with falling terms stay between 0 and 1.
        cos_term = div_small(mul(cos_term, phi2), (2 * k - 1) * (2 * k));
        sin_term = div_small(mul(sin_term, phi2), (2 * k) * (2 * k + 1));
        cos_sum = k % 2 ? sub(cos_sum, cos_term) : add(cos_sum, cos_term);
        sin_sum = k % 2 ? sub(sin_sum, sin_term) : add(sin_sum, sin_term);
    }
    return round_interval(cos_sum, cosine) && round_interval(sin_sum, sine);
}

template <int L>
bool octant_root(uint64_t a, uint64_t n, double *cosine, double *sine) {
    return series(div_small(mul_small(quarter_pi<L>(), a), n), cosine, sine);
}

template <int L>
bool quadrant_rest(double y, int k, double *cosine, double *sine, bool *negative) {
    const Fixed<L> x = from_double<L>(y), multiple = mul_small(quarter_pi<L>(), 2 * k);
    *negative = less(x, multiple);
    return series(*negative ? sub(multiple, x) : sub(x, multiple), cosine, sine);
}

}  // namespace

void exact_octant_root(uint64_t a, uint64_t n, double *cosine, double *sine) {
    if (a == 0) {
        *cosine = 1.0;
        *sine = 0.0;
        return;
    }
    if (!octant_root<4>(a, n, cosine, sine) && !octant_root<8>(a, n, cosine, sine))
        octant_root<16>(a, n, cosine, sine);
}

bool exact_quadrant_rest(double y, int k, double *cosine, double *sine) {
    bool negative;
    if (!quadrant_rest<4>(y, k, cosine, sine, &negative) && !quadrant_rest<8>(y, k, cosine, sine, &negative))
        quadrant_rest<16>(y, k, cosine, sine, &negative);
    return negative;
}

}  // namespace hw::trig
