// Correctly rounded sine and cosine of a double, and roots of unity: exact reduction to the
// first octant, the fast evaluation of trig/octant_kernel.h with a test of its rounding, and
// the exact fixed-point path of trig/exact_trig.h when the test cannot decide.
#include "trig/trig.h"

#include <limits>

#include "trig/exact_trig.h"
#include "trig/octant_kernel.h"
#include "trig/trig_tables.h"

namespace hw::trig {
namespace {

// cos and sin of ph + pl, 0 <= ph <= pi/4 + 2^-40 and |pl| <= ulp(ph)/2, or false when the
// rounding of the fast evaluation is not sure.
bool fast_octant(double ph, double pl, double *cosine, double *sine) {
    int j = static_cast<int>(ph * (kTableSteps / 0.7853981633974483) + 0.5);
    if (j > kTableSteps) j = kTableSteps;
    // ph - j*kStep1 is exact: both are within a factor of two of each other (or j is 0), and
    // j times a part of the step is exact.
    double h, l, dh, dl;
    exact_sum(ph - j * kStep1, -(j * kStep2), h, l);
    exact_sum(h, (l + pl) - j * kStep3, dh, dl);
    const TableAngle &a = kTableAngles[j];
    const OctantValues<double> v = evaluate_octant(a.cos_hi, a.cos_lo, a.sin_hi, a.sin_lo, dh, dl);
    *cosine = v.cos_hi;
    *sine = v.sin_hi;
    return rounds_surely<double, int64_t>(v.cos_hi, v.cos_lo, error_bound<double, int64_t>(v.cos_hi, v.s3)) &&
           rounds_surely<double, int64_t>(v.sin_hi, v.sin_lo, error_bound<double, int64_t>(v.sin_hi, v.s3));
}

}  // namespace

void sin_cos(double x, double *sine, double *cosine) {
    const double y = x < 0 ? -x : x;
    if (y < 0x1p-27) {
        // sin x = x and cos x = 1 to within a quarter ulp (x^3/6 and x^2/2 are that small).
        *sine = x;
        *cosine = 1.0;
        return;
    }
    if (!(y < 32.0)) {  // NaN, infinities, and angles the reduction below is not made for
        *sine = *cosine = y != y ? x : std::numeric_limits<double>::quiet_NaN();
        return;
    }
    // y - k*pi/2 to about 2^-100 relative, |rest| <= pi/4 + 2^-50. The first difference is
    // exact (Sterbenz), the products are exact, and the sums are exact down to the last one.
    const int k = static_cast<int>(y * 0.6366197723675814 + 0.5);
    double h1, l1, h2, l2, rh, rl;
    exact_sum(y - k * kHalfPi1, -(k * kHalfPi2), h1, l1);
    exact_sum(h1, -(k * kHalfPi3), h2, l2);
    exact_sum(h2, (l1 + l2) - k * kHalfPi4, rh, rl);
    bool negative = rh < 0;
    double c, s;
    if (!fast_octant(negative ? -rh : rh, negative ? -rl : rl, &c, &s)) negative = exact_quadrant_rest(y, k, &c, &s);
    if (negative) s = -s;
    // sin and cos of k*pi/2 + rest.
    const double sy = (k & 1) ? c : s, cy = (k & 1) ? s : c;
    const double sign_sin = (k & 2) ? -1.0 : 1.0, sign_cos = ((k + 1) & 2) ? -1.0 : 1.0;
    *sine = x < 0 ? -(sign_sin * sy) : sign_sin * sy;
    *cosine = sign_cos * cy;
}

void unit_root(uint64_t t, uint64_t n, double *cosine, double *sine) {
    double cos_sin[2];
    hw::isa_baseline::unit_roots(n, t, 0, 1, cos_sin);
    *cosine = cos_sin[0];
    *sine = cos_sin[1];
}

}  // namespace hw::trig
