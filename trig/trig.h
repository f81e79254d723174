// Sines, cosines and roots of unity that come out the same on every CPU.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/per_isa.h"

namespace hw::trig {

// cos(x) and sin(x), rounded correctly to double, for |x| <= 8 (verified; the method holds up to
// |x| < 32, beyond which both are NaN).
void sin_cos(double x, double *sine, double *cosine);

// cos(2πt/n) and sin(2πt/n), rounded correctly, for n >= 1 and any t (taken modulo n).
void unit_root(uint64_t t, uint64_t n, double *cosine, double *sine);

}  // namespace hw::trig

// sine[i], cosine[i] = sin_cos of x[i] for i < count, its bits on every level, a vector of
// angles at a time.
HW_PER_ISA(void, sin_cos_batch, (const double *x, size_t count, double *sine, double *cosine))

// cos_sin[2m], cos_sin[2m + 1] = cos x and sine_sign * sin x of x = fl(m*theta) for m < count
// (sin_cos's bits), by rotations where that is proven (2^-13 <= theta <= pi/4, x <= 3.5):
// three to five times cheaper than sin_cos_batch of the angles.
HW_PER_ISA(void, sin_cos_multiples, (double theta, size_t count, double sine_sign, double *cos_sin))

// cos_sin[2k], cos_sin[2k + 1] = cosine and sine of 2π(first + k·step)/n for k < count, the
// same bits as unit_root on every level; from the start of the circle (first 0, step 1) by
// rotations for orders 16 to 2^16.
HW_PER_ISA(void, unit_roots, (uint64_t n, uint64_t first, uint64_t step, size_t count, double *cos_sin))

// cos_sin[2t], cos_sin[2t + 1] = cosine and sine of 2πt/n for every t < n (unit_root's bits),
// about three times cheaper than unit_roots over the whole circle when 8 divides n.
HW_PER_ISA(void, unit_roots_circle, (uint64_t n, double *cos_sin))
