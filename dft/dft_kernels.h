// The direct DFT of one group of `stride` interleaved sequences of length n, on every
// instruction-set level: element j of sequence s at x[2(j·stride + s)] (real part first),
// output alike; `roots` the half-circle table (cos, ±sin) of ehw_DFT. Every output keeps the
// engine's own order of operations, so every level gives the same bits.
#pragma once

#include <cstdint>

#include "simd/per_isa.h"

HW_PER_ISA(void, dft_group, (uint32_t n, const double *x, double *X, uint32_t stride, const double *roots))
