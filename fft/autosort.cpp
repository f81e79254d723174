// The short-sequence path's driver (fft/autosort.h): the call's root table and second buffer on
// the stack, then every sequence through the per-level passes.
//
// Stack: the root table (2n doubles) and the buffer (2n doubles), n ≤ kAutosortMaxLength:
// 32 KiB, plus the passes' frames (under 2 KiB).
#include "fft/autosort.h"

#include "fft/small_roots.h"
#include "trig/trig.h"

namespace hw::fft {
namespace {

// cosine[t], sine[t] = w(t) of order n for every t < n, unit_root's bits; `scratch` holds 2n
// doubles the call may overwrite.
void fill_roots(simd::Isa isa, uint32_t n, double *cosine, double *sine, double *scratch) {
    if (has_constant_roots(n)) return constant_circle(n, cosine, sine);
    const uint32_t half = n / 2;
    if (n % 8 == 0) {
        HW_PICK(isa, unit_roots_circle)(n, scratch);
    } else {
        HW_PICK(isa, unit_roots)(n, 0, 1, half + 1, scratch);
        for (uint32_t t = half + 1; t < n; ++t) {  // w(n − t) is the conjugate of w(t)
            scratch[2 * t] = scratch[2 * (n - t)];
            scratch[2 * t + 1] = -scratch[2 * (n - t) + 1];
        }
    }
    for (uint32_t t = 0; t < n; ++t) {
        cosine[t] = scratch[2 * t];
        sine[t] = scratch[2 * t + 1];
    }
}

}  // namespace

void autosort_transform(simd::Isa isa, uint32_t length, const uint32_t *radices, uint32_t count, double *data,
                        double *work, bool inverse, size_t batch) {
    double roots[2 * kAutosortMaxLength], stack_buffer[2 * kAutosortMaxLength];
    double *buffer = work ? work : stack_buffer;
    fill_roots(isa, length, roots, roots + length, buffer);
    const AutosortShape shape{length, count, radices, roots, roots + length, buffer};
    const auto sequence = HW_PICK(isa, fft_autosort_sequence);
    for (size_t g = 0; g < batch; ++g) sequence(shape, data + 2 * g * length, inverse);
}

}  // namespace hw::fft
