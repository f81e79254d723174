// ehw_DWT, and the layout test both wavelet engines use to choose their kernels.
#include <cstdint>

#include "hw.h"
#include "wavelet/dwt_engines.h"

namespace hw::wavelet {

namespace {

// First and last byte address a set touches (count and length at least 1).
struct Span {
    uintptr_t first, last;
};

Span span(const double *base, const Strides &s, ptrdiff_t length, ptrdiff_t count) {
    const ptrdiff_t last = s.offset + (count - 1) * s.tskip + (length - 1) * s.skip;
    return {reinterpret_cast<uintptr_t>(base + s.offset), reinterpret_cast<uintptr_t>(base + last + 1) - 1};
}

bool apart(Span a, Span b) { return a.last < b.first || b.last < a.first; }

// Whether every (signal, index) of the set has its own element: the signals lie one after
// another, or side by side with their samples interleaved.
bool distinct(const Strides &s, ptrdiff_t length, ptrdiff_t count) {
    if (count == 1) return length == 1 || s.skip > 0;
    if (length == 1) return s.tskip > 0;
    return (s.skip > 0 && s.tskip > (length - 1) * s.skip) || (s.tskip > 0 && s.skip > (count - 1) * s.tskip);
}

}  // namespace

bool order_free(const Transform &w, bool inverse) {
    if (w.count < 1) return true;
    const ptrdiff_t coeffs = (w.n + 1) / 2;
    const Span x = span(w.samples, w.x, w.n, w.count), c = span(w.first, w.c, coeffs, w.count),
               d = span(w.second, w.d, coeffs, w.count);
    if (!apart(x, c) || !apart(x, d)) return false;
    if (inverse) return distinct(w.x, w.n, w.count);
    return apart(c, d) && distinct(w.c, coeffs, w.count) && distinct(w.d, coeffs, w.count);
}

}  // namespace hw::wavelet

extern "C" int32_t ehw_DWT(const double *data, int32_t data_skip, int32_t data_tskip, int32_t data_offset,
                           int32_t length, int32_t count, const double *high_pass, const double *low_pass,
                           int32_t filter_length, int32_t end_flag, double *first, int32_t first_skip,
                           int32_t first_tskip, int32_t first_offset, double *second, int32_t second_skip,
                           int32_t second_tskip, int32_t second_offset) {
    // The record has one pointer type for every set; the forward transform never writes samples.
    const hw::wavelet::Transform w{const_cast<double *>(data), {data_skip, data_tskip, data_offset}, length, count,
                                   high_pass, low_pass, filter_length, end_flag,
                                   first, {first_skip, first_tskip, first_offset},
                                   second, {second_skip, second_tskip, second_offset}};
    return HW_PICK(hw::simd::best_isa(), dwt_forward)(w);
}
