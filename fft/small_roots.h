// Exact roots of unity of every order that divides 6720 (= 2^6 · 3 · 5 · 7, so 12, 16, 60, 64,
// 210 and their divisors) from a constant table, without evaluating a sine: w(t) of order n is
// w(t · 6720/n) of order 6720, the same real number and so the same correctly rounded pair.
#pragma once

#include <cstdint>

namespace hw::fft {

constexpr uint32_t kSmallRootOrder = 6720;

// cos and sin of 2πt/6720 for t <= 6720/8, unit_root's bits (a test holds every entry).
extern const double kSmallRootOctant[2 * (kSmallRootOrder / 8 + 1)];

// cos_sin[2i], cos_sin[2i + 1] = w(first + i·step) of order n for i < count, n dividing
// kSmallRootOrder: unit_roots' bits, from the octant by the exact symmetries.
void small_unit_roots(uint32_t n, uint64_t first, uint64_t step, uint64_t count, double *cos_sin);

}  // namespace hw::fft
