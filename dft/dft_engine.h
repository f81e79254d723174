// The direct DFT engine with its kernels taken from one instruction-set level; ehw_DFT passes
// the best level this CPU runs, tests pass every level in turn.
#pragma once

#include <cstdint>

#include "simd/isa.h"

namespace hw::dft {

int32_t transform_at_level(simd::Isa isa, uint32_t length, double pi, const double *input, double *output,
                           double *roots, int32_t inverse, uint32_t stride, uint32_t batch, uint32_t normalization);

}  // namespace hw::dft
