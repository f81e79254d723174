// The working storage of one hw_FFT call, for all the lengths it transforms. One length's
// need and the layout are the public header's rule (hw_fft_work_length): the gather buffer
// of the generic butterfly [0, P), its roots [P, 2P), and with storage 1 the whole length for
// the out-of-place reordering. Several lengths share one block, so it holds the largest need
// and the roots begin after the largest P.
#pragma once

#include <cstdint>

#include "hw.h"

namespace hw::fft {

// One transform length and its radix list as ehw_RadixDec made it.
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
    WorkingStorage w{0, 0};
    for (int32_t i = 0; i < list_count; ++i) {
        const RadixList &l = lists[i];
        if (l.count == 0) continue;  // a length of 1 is not transformed
        const uint64_t length = hw_fft_work_length(l.length, l.radices, l.count, out_of_place ? 1 : 0);
        const uint64_t generic = hw_fft_generic_radix(l.radices, l.count);
        if (length > w.length) w.length = length;
        if (generic > w.roots_offset) w.roots_offset = generic;
    }
    return w;
}

}  // namespace hw::fft
