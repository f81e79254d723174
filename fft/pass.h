// One pass of the FFT engine as the per-level kernels (fft/pass_simd.cpp) see it: the shape of
// the data, the radix, and where the twiddle factors come from. Built on the stack of one
// engine call; nothing outlives it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/per_isa.h"

namespace hw::fft {

// Largest radix list (every radix is at least 2, so a 32-bit length has at most 31) and the
// root table's bounds.
constexpr uint32_t kMaxRadices = 32;
constexpr uint32_t kMaxRootLevels = 4;
constexpr uint32_t kMaxRootLevelBits = 8;

// The roots of unity of order n, w(t) = (cos, sin) of +2πt/n for t < n, as the product of one
// entry per level: level l holds w(i · 2^(bits·l)) for i < 2^bits (the last level up to
// n / 2^(bits·l)), and t is read in base 2^bits. One or two exactly rounded roots per level
// entry instead of one per twiddle factor. A table of one level holds all n roots.
struct RootTable {
    const double *level[kMaxRootLevels];  // (cos, sin) pairs
    uint32_t levels, bits;
};

// Pass p of a transform of length n: blocks of r · m positions (N_{p−1} = blocks of them in
// each sequence); within a block, butterfly input q is the run of m positions from q · m on,
// and in block j it is first multiplied by the twiddle factor W_n^(rev(j) · q · m), rev the
// digit reversal of j over the radices before p (no factors when p is 0). A call applies the
// pass to blocks first_block .. last_block − 1 of every sequence only, so that later passes can
// run block by block while a block is in cache; both bounds are 0 or multiples of the previous
// pass's radix.
struct PassShape {
    uint32_t n, radix, m, blocks, pass;
    uint32_t first_block, last_block;
    const uint32_t *radices;  // the passes' radices, pass order
    size_t stride, batch;
    const RootTable *roots;
    double *work;          // generic radix: gather buffer of `radix` values
    const double *table;   // generic radix: the radix's own roots (fill_generic_roots)
};

}  // namespace hw::fft

// Applies one pass, forward or inverse, in place. The same bits on every level.
HW_PER_ISA(void, fft_pass, (const hw::fft::PassShape &shape, double *data, bool inverse))
