// The engine's path for short contiguous sequences: a self-sorting (Stockham) schedule in which
// every pass reads one buffer and writes the other in an order that leaves the results in
// natural order, so no reordering follows. Inside the call the values are planar (real parts,
// then imaginary parts); the first pass reads the caller's interleaved values and the last one
// writes them back. A twiddle factor w(t) of order n is one exact root from a table of the
// whole circle where the constant root tables hold order n (no evaluation), else the product of
// two exact roots, w(t mod 2^b) · w(2^b · (t div 2^b)), from two tables of about √n roots each.
//
// Stack (autosort_transform): the second buffer and the root table, 2n doubles each with
// n ≤ kAutosortMaxLength (16 KiB each), and one pass kernel's frame at a time (at most 6 KiB,
// radix 16 at 512 bits): under 40 KiB. No heap.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fft/radix_kinds.h"
#include "simd/isa.h"
#include "simd/per_isa.h"

namespace hw::fft {

constexpr uint32_t kAutosortMaxLength = 1024;

// A radix this path has a butterfly for.
inline bool has_autosort_butterfly(uint32_t r) {
    return is_power_of_two_radix(r) || is_symmetric_pair_radix(r) || is_prime_factor_radix(r) ||
           is_small_prime_radix(r);
}

// Contiguous sequences (stride 1) of at most kAutosortMaxLength values, two passes or more, every
// radix with a butterfly of its own; not a length that is itself such a radix (the engine runs
// it as one butterfly). The same answer for either storage flag, so that both run the same
// arithmetic.
inline bool fits_autosort(uint32_t length, const uint32_t *radices, uint32_t count, uint32_t stride) {
    if (stride != 1 || length > kAutosortMaxLength || count < 2 || has_autosort_butterfly(length)) return false;
    for (uint32_t p = 0; p < count; ++p)
        if (!has_autosort_butterfly(radices[p])) return false;
    return true;
}

// One call's transform of `batch` sequences of `length` values, passes in list order; `work`,
// when not null, holds `length` complex values the call may use as its second buffer (else a
// stack buffer serves). The same bits on every level and with or without `work`.
void autosort_transform(simd::Isa isa, uint32_t length, const uint32_t *radices, uint32_t count, double *data,
                        double *work, bool inverse, size_t batch);

// What the per-level kernel sees of one call.
struct AutosortShape {
    uint32_t n, count;
    const uint32_t *radices;
    const double *low, *high;  // w(t) = low[t mod 2^bits] · high[t div 2^bits], (cos, sin) of +2πt/n;
                               // high null: low holds all n roots, w(t) = low[t]
    uint32_t bits;
    double *buffer;            // 2n doubles
};

}  // namespace hw::fft

// All passes over one sequence of shape.n interleaved complex values, in place.
HW_PER_ISA(void, fft_autosort_sequence, (const hw::fft::AutosortShape &shape, double *data, bool inverse))
