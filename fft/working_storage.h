// The working storage that ehw_FFT needs for a set of transform lengths, and its layout.
//
// In complex elements from the start of the block:
//   [0, P)      gather buffer of the generic odd-radix butterfly, P its largest radix
//   [P, 2P)     the roots of that radix
//   [0, S)      with storage 1, the whole of the longest length S, used to reorder the
//               output out of place once the passes are done (the gather buffer and
//               roots are free again by then)
// so the block holds max(2P, S) elements; none when neither is needed.
#pragma once

#include <cstdint>

#include "fft/radix_kinds.h"

namespace hw::fft {

// One transform length and its radix list as ehw_RadixDec made it (largest radix last).
struct RadixList {
    uint32_t length;
    const uint32_t *radices;
    uint32_t count;
};

struct WorkingStorage {
    uint64_t length;        // complex elements; 0 when the engine needs none
    uint64_t roots_offset;  // complex elements from the start of the block to the roots: P
};

inline WorkingStorage working_storage(const RadixList *lists, int32_t list_count, bool out_of_place) {
    uint64_t largest_generic = 0, longest = 0;
    for (int32_t i = 0; i < list_count; ++i) {
        const RadixList &l = lists[i];
        if (l.count == 0) continue;
        const uint32_t last = l.radices[l.count - 1];
        if (needs_generic_butterfly(last) && last > largest_generic) largest_generic = last;
        if (out_of_place && l.length > longest) longest = l.length;
    }
    const uint64_t length = 2 * largest_generic > longest ? 2 * largest_generic : longest;
    return {length, largest_generic};
}

}  // namespace hw::fft
