// Inside the wavelet engines: one record for the arguments of ehw_DWT and ehw_DWTinv, the
// layout test that lets the kernels choose their own order, the tail system's size, and the
// per-level pieces (wavelet/dwt_forward_simd.cpp, wavelet/dwt_inverse_simd.cpp). The exported
// engines pass best_isa(); tests pass every level in turn.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/per_isa.h"

namespace hw::wavelet {

// A strided signal set: sample i of signal t at base[offset + t * tskip + i * skip]. 64-bit,
// so that no layout the entries accept overflows.
// (No member functions: the per-level files must not share inline code.)
struct Strides {
    ptrdiff_t skip, tskip, offset;
};

// The arguments of one engine call. The forward transform reads `samples` and writes `first`
// and `second`; the inverse the other way round.
struct Transform {
    double *samples;
    Strides x;
    ptrdiff_t n, count;
    const double *h, *g;
    ptrdiff_t taps;
    int32_t end_flag;
    double *first;
    Strides c;
    double *second;
    Strides d;
};

// True when no element is written twice and nothing written shares memory with another set:
// then the windows and signals may be computed in any order with the same results. Otherwise
// the engines keep the loop order of their definition, element by element.
bool order_free(const Transform &w, bool inverse);

// The end-condition-1 tail system: rows x (rows + unknowns) doubles (see the inverse engine).
struct TailShape {
    ptrdiff_t rows, unknowns;
};
TailShape tail_shape(ptrdiff_t n, ptrdiff_t taps);
// Its size in bytes, or false when that does not fit in size_t.
bool tail_system_bytes(TailShape shape, size_t *bytes);

int32_t inverse_transform(hw::simd::Isa isa, const Transform &w);

}  // namespace hw::wavelet

// The whole forward transform (always returns 0).
HW_PER_ISA(int32_t, dwt_forward, (const hw::wavelet::Transform &w))
// End condition 2: every signal rebuilt from its coefficients.
HW_PER_ISA(void, dwt_periodic_synthesis, (const hw::wavelet::Transform &w))
// End conditions 0 and 1: signals t_begin .. t_end - 1 rebuilt by back-substitution from window
// k_first down to 0, signal by signal unless `any_order` (see order_free); q is 1 / (h0 g1 - h1 g0).
// With `zero_end_last` window k_first + 1, the last one, is solved first as the zero end does.
HW_PER_ISA(void, dwt_back_substitution,
           (const hw::wavelet::Transform &w, ptrdiff_t t_begin, ptrdiff_t t_end, ptrdiff_t k_first,
            bool zero_end_last, bool any_order, double q))
