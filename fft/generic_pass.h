// The pass of an odd radix without a butterfly of its own (fft/generic_pass_simd.cpp).
#pragma once

#include "fft/pass.h"

// Applies the pass, forward or inverse, in place: inputs gathered into shape.work, the
// radix's roots from shape.table. The same bits on every level.
HW_PER_ISA(void, fft_generic_pass, (const hw::fft::PassShape &shape, double *data, bool inverse))
