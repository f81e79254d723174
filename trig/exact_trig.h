// The slow exact path of the trigonometry: cos and sin of an angle of the first octant that is
// known exactly, by series in fixed-point integer arithmetic, rounded correctly. It serves the
// rare cases where the fast evaluation cannot decide the rounding.
#pragma once

#include <cstdint>

namespace hw::trig {

// cos and sin of (pi/4)*a/n, 0 <= a <= n, 1 <= n <= 2^33.
void exact_octant_root(uint64_t a, uint64_t n, double *cosine, double *sine);

// cos and sin of |y - k*pi/2| for 2^-27 <= y <= 8 and the quadrant number k = 0 .. 6 nearest to
// y/(pi/2); returns whether y - k*pi/2 is negative.
bool exact_quadrant_rest(double y, int k, double *cosine, double *sine);

}  // namespace hw::trig
