// Vectors of doubles for code compiled once per instruction-set level (*_simd.cpp only).
//
// The build defines HW_ISA_NS (isa_baseline, isa_avx2, isa_avx512) and HW_VEC_DOUBLES (2, 4,
// 8: SSE2, AVX2, AVX-512 registers). Everything here has internal linkage, so the copies of
// different levels never meet in the linker; a *_simd.cpp file keeps its own helpers in an
// unnamed namespace for the same reason, and calls no inline function of a shared header that
// could be compiled with wider instructions in another level's object.
//
// Only IEEE additions, subtractions, multiplications and divisions lane by lane: every level
// gives the bits of the scalar operations in the same order (no FMA: -ffp-contract=off).
#pragma once

#if !defined(HW_ISA_NS) || !defined(HW_VEC_DOUBLES)
#error "simd/vec.h belongs to files compiled once per instruction-set level (*_simd.cpp)"
#endif

#include <cstddef>
#include <utility>

namespace hw::HW_ISA_NS {
namespace {

constexpr int kLanes = HW_VEC_DOUBLES;

typedef double vdouble __attribute__((vector_size(8 * HW_VEC_DOUBLES)));
typedef long long vint64 __attribute__((vector_size(8 * HW_VEC_DOUBLES)));

// W doubles in one vector (a plain double for W = 1), for kernels written once for every width.
template <int W>
struct VecOf {
    typedef double type __attribute__((vector_size(8 * W)));
};
template <>
struct VecOf<1> {
    using type = double;
};

// rows[a] lane b becomes rows[b] lane a, for W rows of W lanes: log2(W) stages, each exchanging
// the off-diagonal h × h blocks of every 2h × 2h block.
template <int W, int H, size_t... L>
inline typename VecOf<W>::type upper_left(typename VecOf<W>::type top, typename VecOf<W>::type bottom,
                                          std::index_sequence<L...>) {
    return __builtin_shufflevector(top, bottom, ((L & H) ? W + L - H : L)...);
}
template <int W, int H, size_t... L>
inline typename VecOf<W>::type lower_right(typename VecOf<W>::type top, typename VecOf<W>::type bottom,
                                           std::index_sequence<L...>) {
    return __builtin_shufflevector(top, bottom, ((L & H) ? W + L : L + H)...);
}
template <int W, int H = W / 2>
inline void transpose_lanes(typename VecOf<W>::type *rows) {
    if constexpr (H >= 1) {
        for (int a = 0; a < W; ++a)
            if ((a & H) == 0) {
                const auto top = rows[a], bottom = rows[a + H];
                rows[a] = upper_left<W, H>(top, bottom, std::make_index_sequence<W>{});
                rows[a + H] = lower_right<W, H>(top, bottom, std::make_index_sequence<W>{});
            }
        transpose_lanes<W, H / 2>(rows);
    }
}

inline vdouble load(const double *p) {
    vdouble v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}

inline void store(double *p, vdouble v) { __builtin_memcpy(p, &v, sizeof v); }

// Every lane x, the sign of zero included (0.0 + x would turn -0.0 into +0.0; x - 0.0 is x
// for every x). Not a lane-by-lane loop: GCC builds that through the stack at 512 bits.
inline vdouble broadcast(double x) { return x - vdouble{}; }

// (a, b, c, d, ...) -> (b, a, d, c, ...): real and imaginary parts of interleaved complex
// values change places.
inline vdouble swap_pairs(vdouble v) {
#if HW_VEC_DOUBLES == 2
    return __builtin_shufflevector(v, v, 1, 0);
#elif HW_VEC_DOUBLES == 4
    return __builtin_shufflevector(v, v, 1, 0, 3, 2);
#else
    return __builtin_shufflevector(v, v, 1, 0, 3, 2, 5, 4, 7, 6);
#endif
}

}  // namespace
}  // namespace hw::HW_ISA_NS
