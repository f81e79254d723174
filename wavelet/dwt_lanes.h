// Helpers of the wavelet kernels (wavelet/*_simd.cpp only; internal linkage, like simd/vec.h).
#pragma once

#include "simd/vec.h"
#include "wavelet/dwt_engines.h"

namespace hw::HW_ISA_NS {
namespace {

using wavelet::Strides;
using wavelet::Transform;

inline ptrdiff_t at(const Strides &s, ptrdiff_t t, ptrdiff_t i) { return s.offset + t * s.tskip + i * s.skip; }

// Lanes of one sample or coefficient of kLanes signals, `stride` apart (1: one access).
inline vdouble load_lanes(const double *p, ptrdiff_t stride) {
    if (stride == 1) return load(p);
    vdouble v;
    for (int l = 0; l < kLanes; ++l) v[l] = p[l * stride];
    return v;
}

inline void store_lanes(double *p, ptrdiff_t stride, vdouble v) {
    if (stride == 1) return store(p, v);
    for (int l = 0; l < kLanes; ++l) p[l * stride] = v[l];
}

}  // namespace
}  // namespace hw::HW_ISA_NS
