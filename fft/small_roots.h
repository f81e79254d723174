// Exact roots of unity from constant tables, without evaluating a sine: every order that divides
// 6720 (= 2^6 · 3 · 5 · 7, so 12, 60, 210 and their divisors) or 4096 (the powers of two up to
// it). w(t) of order n is w(t · T/n) of a table's order T, the same real number and so the same
// correctly rounded pair.
#pragma once

#include <cstdint>

namespace hw::fft {

constexpr uint32_t kSmallRootOrder = 6720, kPowerRootOrder = 4096;

// cos and sin of 2πt/T for t <= T/8, unit_root's bits (a test holds every entry).
extern const double kSmallRootOctant[2 * (kSmallRootOrder / 8 + 1)];
extern const double kPowerRootOctant[2 * (kPowerRootOrder / 8 + 1)];

inline bool has_constant_roots(uint32_t n) {
    return n != 0 && (kSmallRootOrder % n == 0 || kPowerRootOrder % n == 0);
}

// cos_sin[2i], cos_sin[2i + 1] = w(first + i·step) of order n for i < count, n as
// has_constant_roots accepts: unit_roots' bits, from an octant by the exact symmetries.
void constant_unit_roots(uint32_t n, uint64_t first, uint64_t step, uint64_t count, double *cos_sin);

// cos_sin[2t], cos_sin[2t + 1] = w(t) of order n for every t < n, n as has_constant_roots
// accepts: constant_unit_roots' bits.
void constant_circle(uint32_t n, double *cos_sin);

// A whole circle of `count` roots (a multiple of 8) from its first count/8 + 1 entries, by the
// exact symmetries (c, s) -> (s, c) about π/4 and (c, s) -> (−s, c) per quarter turn.
void complete_circle(uint32_t count, double *cos_sin);

}  // namespace hw::fft
