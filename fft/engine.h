// The FFT engine behind ehw_FFT with the instruction-set level as an argument, so tests can run
// every level the CPU has and compare the bits with the baseline's.
#pragma once

#include <cstdint>

#include "simd/isa.h"

namespace hw::fft {

// ehw_FFT's contract (include/hw.h) on level `isa`; the angles come from exact roots of unity,
// so no value of π is needed.
int32_t transform(simd::Isa isa, uint32_t length, uint32_t *radices, uint32_t radix_count, double *data,
                  double *work, double *roots, bool inverse, bool out_of_place, uint32_t stride, uint32_t batch);

}  // namespace hw::fft
