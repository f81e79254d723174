// Arithmetic modulo an odd prime length: powers, the smallest primitive root, and products
// without a division. Internal linkage, so the per-level kernel files can include it
// (docs/simd.md, "no mixing").
#pragma once

#include <cstdint>

namespace hw::modular {
namespace {

inline bool is_odd_prime(uint32_t n) {
    if (n < 3 || n % 2 == 0) return false;
    for (uint32_t d = 3; uint64_t{d} * d <= n; d += 2)
        if (n % d == 0) return false;
    return true;
}

inline uint32_t power_mod(uint32_t base, uint32_t e, uint32_t n) {
    uint64_t result = 1, b = base % n;
    for (; e; e >>= 1, b = b * b % n)
        if (e & 1) result = result * b % n;
    return static_cast<uint32_t>(result);
}

// The smallest generator of the nonzero residues modulo a prime n.
inline uint32_t primitive_root(uint32_t n) {
    uint32_t factor[16], count = 0, rest = n - 1;  // a 32-bit number has at most 9 prime factors
    for (uint32_t f = 2; uint64_t{f} * f <= rest; ++f)
        if (rest % f == 0) {
            factor[count++] = f;
            while (rest % f == 0) rest /= f;
        }
    if (rest > 1) factor[count++] = rest;
    for (uint32_t g = 2;; ++g) {
        uint32_t i = 0;
        while (i < count && power_mod(g, (n - 1) / factor[i], n) != 1) ++i;
        if (i == count) return g;
    }
}

// 2^64 / n rounded up (n ≥ 2), for times_mod.
inline uint64_t reciprocal_of(uint32_t n) { return UINT64_MAX / n + 1; }

// a·b mod n: where the product fits 32 bits without a division (the fraction
// reciprocal·x / 2^64 of x / n, times n, is x mod n for every x < 2^32), else by one.
inline uint32_t times_mod(uint32_t a, uint32_t b, uint32_t n, uint64_t reciprocal) {
    const uint64_t x = uint64_t{a} * b;
    if (x >> 32) return static_cast<uint32_t>(x % n);
    return static_cast<uint32_t>((static_cast<unsigned __int128>(reciprocal * x) * n) >> 64);
}

}  // namespace
}  // namespace hw::modular
