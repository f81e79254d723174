// Correctly rounded sine and cosine of a double, and roots of unity: the reduction and fast
// evaluation of trig/sin_cos_kernel.h, and the exact fixed-point path of trig/exact_trig.h
// when its rounding test cannot decide.
#include "trig/trig.h"

#include <limits>

#include "trig/exact_trig.h"
#include "trig/sin_cos_kernel.h"
#include "trig/trig_tables.h"

namespace hw::trig {

void sin_cos(double x, double *sine, double *cosine) {
    const double y = x < 0 ? -x : x;
    if (y < 0x1p-27) {
        // sin x = x and cos x = 1 to within a quarter ulp (x^3/6 and x^2/2 are that small).
        *sine = x;
        *cosine = 1.0;
        return;
    }
    if (!(y < 32.0)) {  // NaN, infinities, and angles the reduction is not made for
        *sine = *cosine = y != y ? x : std::numeric_limits<double>::quiet_NaN();
        return;
    }
    double k, ph, pl, c, s;
    bool negative = reduce_to_octant<double, int64_t>(y, k, ph, pl);
    const auto table = [](double j, double &ch, double &cl, double &sh, double &sl) {
        const TableAngle &a = kTableAngles[static_cast<int>(j)];
        ch = a.cos_hi;
        cl = a.cos_lo;
        sh = a.sin_hi;
        sl = a.sin_lo;
    };
    if (!fast_octant<double, int64_t>(ph, pl, table, c, s))
        negative = exact_quadrant_rest(y, static_cast<int>(k), &c, &s);
    place_in_circle<double, int64_t>(x, k, negative, c, s, *sine, *cosine);
}

void unit_root(uint64_t t, uint64_t n, double *cosine, double *sine) {
    double cos_sin[2];
    hw::isa_baseline::unit_roots(n, t, 0, 1, cos_sin);
    *cosine = cos_sin[0];
    *sine = cos_sin[1];
}

}  // namespace hw::trig
