// ehw_DFT: direct Fourier transforms of one length over a strided batch, out of place. The
// roots table holds the half circle; the sums themselves run in the per-level kernels of
// dft_group_simd.cpp, group by group.
#include <cmath>
#include <cstddef>

#include "dft/dft_engine.h"
#include "dft/dft_kernels.h"
#include "hw.h"
#include "simd/scale.h"
#include "trig/trig.h"

namespace {

// Entries 0 .. h-1 of the table: (cos(m*theta), sigma*sin(m*theta)), the angle rounded first.
void fill_half_circle_roots(hw::simd::Isa isa, uint32_t n, double pi, int32_t inverse, double *roots) {
    const double theta = (pi + pi) / static_cast<double>(n);
    HW_PICK(isa, sin_cos_multiples)(theta, (n + 1) / 2, inverse ? 1.0 : -1.0, roots);
}

}  // namespace

int32_t hw::dft::transform_at_level(simd::Isa isa, uint32_t length, double pi, const double *input, double *output,
                                    double *roots, int32_t inverse, uint32_t stride, uint32_t batch,
                                    uint32_t normalization) {
    const uint32_t n = length;
    if (n == 0) return 0;
    fill_half_circle_roots(isa, n, pi, inverse, roots);
    const auto transform_group = HW_PICK(isa, dft_group);
    const size_t group = size_t{2} * n * stride;  // doubles
    for (uint32_t g = 0; g < batch; ++g) transform_group(n, input + g * group, output + g * group, stride, roots);
    if (normalization != 0) {
        const double quotient = 1.0 / static_cast<double>(n);
        const double factor = normalization == 1 ? std::sqrt(quotient) : quotient;
        HW_PICK(isa, scale_doubles)(output, size_t{batch} * group, factor);
    }
    return 0;
}

extern "C" int32_t ehw_DFT(uint32_t length, double pi, const double *input, double *output, double *roots,
                           int32_t inverse, uint32_t stride, uint32_t batch, uint32_t normalization) {
    return hw::dft::transform_at_level(hw::simd::best_isa(), length, pi, input, output, roots, inverse, stride, batch,
                                       normalization);
}
