// ehw_DWT: one level of two-channel wavelet analysis over a strided set of signals.
#include <cstddef>

#include "hw.h"

namespace {

// One signal set as seen by the engine: addresses are formed in 64 bits so that no layout the
// entry accepts can overflow.
struct SignalSet {
    ptrdiff_t skip, tskip, offset;
};

struct ForwardJob {
    const double *data;
    SignalSet in;
    ptrdiff_t n;
    const double *h, *g;
    ptrdiff_t taps;
    int32_t end_flag;
    double *first;
    SignalSet out1;
    double *second;
    SignalSet out2;
};

// Index of the sample that tap position i reads, or -1 when it contributes nothing.
inline ptrdiff_t extended_index(ptrdiff_t i, ptrdiff_t n, int32_t end_flag) {
    if (i < n) return i;
    if (end_flag == 1) return 2 * n - 2 - i;
    if (end_flag == 2) return i % n;
    return -1;
}

// Window k of signal t. Outputs start at 0.0 and receive each tap's products in turn, high
// pass first, so every partial sum is rounded to double in place.
template <bool Interior>
inline void window(const ForwardJob &w, ptrdiff_t t, ptrdiff_t k) {
    const double *x = w.data + w.in.offset + t * w.in.tskip;
    double *c = w.first + w.out1.offset + t * w.out1.tskip + k * w.out1.skip;
    double *d = w.second + w.out2.offset + t * w.out2.tskip + k * w.out2.skip;
    *c = 0.0;
    *d = 0.0;
    if constexpr (Interior) {
        const double *p = x + 2 * k * w.in.skip;
        for (ptrdiff_t j = 0; j < w.taps; ++j, p += w.in.skip) {
            *c = *c + *p * w.h[j];
            *d = *d + *p * w.g[j];
        }
    } else {
        for (ptrdiff_t j = 0; j < w.taps; ++j) {
            const ptrdiff_t i = extended_index(2 * k + j, w.n, w.end_flag);
            if (i < 0) continue;
            const double s = x[i * w.in.skip];
            *c = *c + s * w.h[j];
            *d = *d + s * w.g[j];
        }
    }
}

template <bool Interior>
void windows_signal_outer(const ForwardJob &w, ptrdiff_t count, ptrdiff_t t, ptrdiff_t k_begin, ptrdiff_t k_end) {
    (void)count;
    for (ptrdiff_t k = k_begin; k < k_end; ++k) window<Interior>(w, t, k);
}

template <bool Interior>
void windows_window_outer(const ForwardJob &w, ptrdiff_t count, ptrdiff_t k_begin, ptrdiff_t k_end) {
    for (ptrdiff_t k = k_begin; k < k_end; ++k)
        for (ptrdiff_t t = 0; t < count; ++t) window<Interior>(w, t, k);
}

}  // namespace

extern "C" int32_t ehw_DWT(const double *data, int32_t data_skip, int32_t data_tskip, int32_t data_offset,
                           int32_t length, int32_t count, const double *high_pass, const double *low_pass,
                           int32_t filter_length, int32_t end_flag, double *first, int32_t first_skip,
                           int32_t first_tskip, int32_t first_offset, double *second, int32_t second_skip,
                           int32_t second_tskip, int32_t second_offset) {
    const ForwardJob w{data,  {data_skip, data_tskip, data_offset},    length,  high_pass, low_pass,
                       filter_length, end_flag, first, {first_skip, first_tskip, first_offset},
                       second, {second_skip, second_tskip, second_offset}};
    const ptrdiff_t coeffs = (ptrdiff_t{length} + 1) / 2;
    ptrdiff_t interior = coeffs - (ptrdiff_t{filter_length} + 1) / 2;
    if (interior < 0) interior = 0;
    if (data_skip <= data_tskip) {
        for (ptrdiff_t t = 0; t < count; ++t) {
            windows_signal_outer<true>(w, count, t, 0, interior);
            windows_signal_outer<false>(w, count, t, interior, coeffs);
        }
    } else {
        windows_window_outer<true>(w, count, 0, interior);
        windows_window_outer<false>(w, count, interior, coeffs);
    }
    return 0;
}
