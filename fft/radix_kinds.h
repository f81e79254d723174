// Which radices have a specialised butterfly and which need the generic odd-radix one (with
// its gather buffer and root table in the working storage).
#pragma once

#include <cstdint>

namespace hw::fft {

inline bool is_power_of_two_radix(uint32_t r) { return r == 16 || r == 8 || r == 4 || r == 2; }
inline bool is_small_mixed_radix(uint32_t r) { return r == 9 || r == 6 || r == 3 || r == 5; }
inline bool needs_generic_butterfly(uint32_t r) {
    return r % 2 == 1 && !is_small_mixed_radix(r) && r != 1;
}

}  // namespace hw::fft
