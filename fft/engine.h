// The FFT engine behind ehw_FFT with the instruction-set level as an argument, so tests can run
// every level the CPU has and compare the bits with the baseline's.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/isa.h"

namespace hw::fft {

// Data the engine expects to stay in cache between passes: ranges of at most this many bytes
// run through all their remaining passes at once (tests lower it to reach the blocked paths
// with small lengths).
constexpr size_t kCacheBytes = size_t{256} << 10;

// ehw_FFT's contract (include/hw.h) on level `isa`; the angles come from exact roots of unity,
// so no value of π is needed.
int32_t transform(simd::Isa isa, uint32_t length, uint32_t *radices, uint32_t radix_count, double *data,
                  double *work, double *roots, bool inverse, bool out_of_place, uint32_t stride, uint32_t batch,
                  size_t cache_bytes = kCacheBytes);

}  // namespace hw::fft
