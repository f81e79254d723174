// The order in which the engine runs its passes. The radix list a caller gives fixes what the
// caller sees (the list rewrite of the in-place reordering, the generic radix's root table),
// not the order of the passes: where the length allows, the engine runs the passes of a
// mirrored list [s_0 .. s_{k−1}, M, s_{k−1} .. s_0], whose digit reversal is its own inverse, so
// the final reordering is a set of swaps.
#pragma once

#include <cstdint>

namespace hw::fft {

// The mirrored list of n with the fewest passes (radices from ehw_RadixDec for the outer part,
// a radix with a butterfly or a generic prime in the middle, M = 1 for none), written to
// `radices`; the result is its length, *outer the k outer radices on each side. 0 when n has
// no such list (its square-free part is not one radix, as for 10 or 15).
uint32_t mirrored_pass_order(uint32_t n, uint32_t *radices, uint32_t *outer);

}  // namespace hw::fft
