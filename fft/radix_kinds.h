// Which radices have a specialised butterfly and which need the generic odd-radix one (with
// its gather buffer and root table in the working storage).
#pragma once

#include <cstdint>

namespace hw::fft {

// Radix 2, 4, 8, 16: the even/odd split family.
inline bool is_power_of_two_radix(uint32_t r) { return r == 16 || r == 8 || r == 4 || r == 2; }
// Radix 3, 5, 6, 9: the symmetric-pair family (6 as two radix-3 butterflies).
inline bool is_symmetric_pair_radix(uint32_t r) { return r == 9 || r == 6 || r == 3 || r == 5; }
// Radix 10, 12 and 15: two coprime butterflies in prime-factor form (the engine's own pass
// orders only; a caller's list with 10 or 12 is refused).
inline bool is_prime_factor_radix(uint32_t r) { return r == 10 || r == 12 || r == 15; }
// Radix 7, 11, 13: butterflies of their own with constant roots (fft/odd_butterflies.h). They
// still count as generic for the caller's root table, which the engine fills at the end.
inline bool is_small_prime_radix(uint32_t r) { return r == 7 || r == 11 || r == 13; }
inline bool needs_generic_butterfly(uint32_t r) {
    return r % 2 == 1 && !is_symmetric_pair_radix(r) && !is_prime_factor_radix(r) && r != 1;
}
// An even radix without a butterfly (0 among them): the engine refuses the list.
inline bool is_unsupported_radix(uint32_t r) {
    return r % 2 == 0 && !is_power_of_two_radix(r) && r != 6;
}

}  // namespace hw::fft
