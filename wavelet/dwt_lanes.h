// Helpers of the wavelet kernels (wavelet/*_simd.cpp only; internal linkage, like simd/vec.h).
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <utility>

#include "simd/vec.h"
#include "wavelet/dwt_engines.h"

namespace hw::HW_ISA_NS {
namespace {

using wavelet::Strides;
using wavelet::Transform;

inline ptrdiff_t at(const Strides &s, ptrdiff_t t, ptrdiff_t i) { return s.offset + t * s.tskip + i * s.skip; }

// Lane l of the result is lane Pick(l) of the pair (a, b), whose lanes are numbered 0 .. 2 kLanes - 1.
template <int (*Pick)(int), size_t... L>
inline vdouble from_pair(vdouble a, vdouble b, std::index_sequence<L...>) {
    return __builtin_shufflevector(a, b, Pick(int(L))...);
}

template <int (*Pick)(int)>
inline vdouble from_pair(vdouble a, vdouble b) {
    return from_pair<Pick>(a, b, std::make_index_sequence<kLanes>{});
}

constexpr int even_lane(int l) { return 2 * l; }
constexpr int odd_lane(int l) { return 2 * l + 1; }
// (a0, b0, a1, b1, ...) from the first halves, then from the second halves.
constexpr int low_interleaved(int l) { return l % 2 * kLanes + l / 2; }
constexpr int high_interleaved(int l) { return l % 2 * kLanes + kLanes / 2 + l / 2; }

// Lane l of the vector that starts S lanes into the pair (lo, hi).
template <int S>
constexpr int shifted_by(int l) { return l + S; }

// The kLanes values that start Shift values after a[0] (a negative Shift: before it), from
// whole vectors a[i] = values i kLanes .. i kLanes + kLanes - 1: one shuffle of two of them
// instead of a load across cache lines.
template <int Shift>
inline vdouble shifted_window(const vdouble *a) {
    constexpr int q = (Shift >= 0 ? Shift : Shift - kLanes + 1) / kLanes, r = Shift - q * kLanes;
    if constexpr (r == 0) return a[q];
    else return from_pair<shifted_by<r>>(a[q], a[q + 1]);
}

// Masks up to this length get kernels of their own, which shift windows by constants.
constexpr ptrdiff_t kShiftedTaps = 20;

// Vectors of outputs in flight by mask length in those kernels: enough chains to cover the
// latency of the sums, few enough that masks and windows stay in registers.
constexpr int shifted_blocks(ptrdiff_t taps) { return taps <= 4 ? 4 : taps <= 12 ? 2 : 1; }

// Lane l to p[l * stride] (stride 1: one store).
inline void store_lanes(double *p, ptrdiff_t stride, vdouble v) {
    if (stride == 1) return store(p, v);
    for (int l = 0; l < kLanes; ++l) p[l * stride] = v[l];
}

// Results of at least this many bytes go past the caches: far more than a core's own caches
// hold, and a line written that way is not read from memory first, as an ordinary store's is.
constexpr double kStreamBytes = 4 << 20;

inline bool vector_aligned(const void *p) { return reinterpret_cast<uintptr_t>(p) % sizeof(vdouble) == 0; }

// v to p (vector_aligned) past the caches; stream_end orders such stores before later ones.
inline void stream(double *p, vdouble v) {
#if HW_VEC_DOUBLES == 2
    _mm_stream_pd(p, reinterpret_cast<__m128d>(v));
#elif HW_VEC_DOUBLES == 4
    _mm256_stream_pd(p, reinterpret_cast<__m256d>(v));
#else
    _mm512_stream_pd(p, reinterpret_cast<__m512d>(v));
#endif
}

inline void stream_end() { _mm_sfence(); }

}  // namespace
}  // namespace hw::HW_ISA_NS
