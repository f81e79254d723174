// The short-sequence path's driver (fft/autosort.h): the call's root tables and second buffer on
// the stack, then every sequence through the per-level passes.
//
// Stack: the buffer and the root table (2n doubles each, n ≤ kAutosortMaxLength: 16 KiB each),
// plus one pass kernel's frame (at most 6 KiB).
#include <bit>

#include "fft/autosort.h"
#include "fft/small_roots.h"
#include "trig/trig.h"

namespace hw::fft {
namespace {

constexpr uint32_t kMaxLowRoots = 1u << ((std::bit_width(kAutosortMaxLength - 1) + 1) / 2);

// cos_sin[2i], cos_sin[2i + 1] = w(i·step) of order n for i < count: from a constant table
// where one holds n, evaluated otherwise; the same bits either way.
void exact_roots(simd::Isa isa, uint32_t n, uint32_t step, uint32_t count, double *cos_sin) {
    if (has_constant_roots(n)) constant_unit_roots(n, 0, step, count, cos_sin);
    else HW_PICK(isa, unit_roots)(n, 0, step, count, cos_sin);
}

}  // namespace

void autosort_transform(simd::Isa isa, uint32_t length, const uint32_t *radices, uint32_t count, double *data,
                        double *work, bool inverse, size_t batch) {
    // The whole circle where the constant tables hold it (a twiddle factor is one exact root);
    // else two short tables whose products form the factors.
    double roots[2 * kAutosortMaxLength], stack_buffer[2 * kAutosortMaxLength];
    AutosortShape shape{length, count, radices, roots, nullptr, 0, work ? work : stack_buffer};
    if (has_constant_roots(length)) {
        constant_circle(length, roots);
    } else {
        shape.bits = (static_cast<uint32_t>(std::bit_width(length - 1)) + 1) / 2;
        shape.high = roots + 2 * kMaxLowRoots;
        exact_roots(isa, length, 1, 1u << shape.bits, roots);
        exact_roots(isa, length, 1u << shape.bits, ((length - 1) >> shape.bits) + 1, roots + 2 * kMaxLowRoots);
    }
    const auto sequence = HW_PICK(isa, fft_autosort_sequence);
    for (size_t g = 0; g < batch; ++g) sequence(shape, data + 2 * g * length, inverse);
}

}  // namespace hw::fft
