// ehw_DWTinv: rebuilds signals from the two coefficient sets of ehw_DWT. This file holds the
// order of the steps, the result codes and the end-condition-1 tail system; the per-signal work
// runs on the best instruction-set level (wavelet/dwt_inverse_simd.cpp).
#include <cmath>
#include <cstdlib>

#include "hw.h"
#include "wavelet/dwt_engines.h"

namespace hw::wavelet {

using simd::Isa;

namespace {

double determinant(const Transform &w) { return w.h[0] * w.g[1] - w.h[1] * w.g[0]; }

int32_t zero_end(Isa isa, const Transform &w) {
    const double det = determinant(w);
    if (det == 0.0) return HW_DWT_MASK_NOT_INVERTIBLE;
    if (w.count < 1) return HW_OK;
    const ptrdiff_t last = (w.n + 1) / 2 - 1;
    HW_PICK(isa, dwt_back_substitution)(w, 0, w.count, last - 1, true, order_free(w, true), 1.0 / det);
    return HW_OK;
}

// The inverted tail system: R in the right block, rows x (rows + unknowns), row by row.
struct Tail {
    const Transform &w;
    TailShape shape;
    const double *system;
    double cond;

    double r(ptrdiff_t i, ptrdiff_t j) const { return system[i * (shape.rows + shape.unknowns) + shape.unknowns + j]; }
    // The coefficients of the tail windows, c and d alternating.
    double v(ptrdiff_t t, ptrdiff_t j) const {
        const ptrdiff_t k = (w.n + 1) / 2 - shape.rows / 2 + j / 2;
        return j % 2 == 0 ? w.first[w.c.offset + t * w.c.tskip + k * w.c.skip]
                          : w.second[w.d.offset + t * w.d.tskip + k * w.d.skip];
    }
    // With one equation more than unknowns (odd n), the last row of R must annihilate v.
    bool consistent(ptrdiff_t t) const {
        if (shape.rows == shape.unknowns) return true;
        double rho = 0.0, sigma = 0.0;
        for (ptrdiff_t j = 0; j < shape.rows; ++j) {
            rho = rho + r(shape.rows - 1, j) * v(t, j);
            sigma = sigma + std::fabs(v(t, j));
        }
        return !(std::fabs(rho) > sigma * 5.0 * cond * 2e-16);
    }
    void write(ptrdiff_t t) const {
        for (ptrdiff_t i = 0; i < shape.unknowns; ++i) {
            double sum = 0.0;
            for (ptrdiff_t j = 0; j < shape.rows; ++j) sum = sum + r(i, j) * v(t, j);
            w.samples[w.x.offset + t * w.x.tskip + (w.n - shape.unknowns + i) * w.x.skip] = sum;
        }
    }
};

// Builds A (the tail windows over the tail samples, mirrored taps folded back) beside the
// identity, inverts it, then rebuilds every signal: its tail through R, its head by
// back-substitution.
int32_t solve_mirror_end(Isa isa, const Transform &w, TailShape shape, double *system) {
    const ptrdiff_t rows = shape.rows, unknowns = shape.unknowns, width = rows + unknowns;
    for (ptrdiff_t i = 0; i < rows * width; ++i) system[i] = 0.0;
    for (ptrdiff_t i = 0; i < rows; ++i) system[i * width + unknowns + i] = 1.0;
    for (ptrdiff_t s = 0; s < rows; s += 2)
        for (ptrdiff_t j = 0; j < w.taps; ++j) {
            ptrdiff_t q = s + j;
            if (q >= unknowns) q = 2 * unknowns - 2 - q;
            system[s * width + q] += w.h[j];
            system[(s + 1) * width + q] += w.g[j];
        }
    // rows + unknowns fits in 32 bits whenever the system's bytes fit in size_t.
    double cond = 0.0;
    const int32_t e = ehw_GEMatrixInv(system, static_cast<int32_t>(rows), static_cast<int32_t>(width), &cond);
    if (e != HW_OK) return HW_DWT_TAIL_OFFSET + e;
    if (w.count < 1) return HW_OK;

    const Tail tail{w, shape, system, cond};
    const double det = determinant(w);
    if (det == 0.0) {  // found after the first signal's tail is written
        if (!tail.consistent(0)) return HW_DWT_INCONSISTENT;
        tail.write(0);
        return HW_DWT_MASK_NOT_INVERTIBLE;
    }
    const auto back_substitution = HW_PICK(isa, dwt_back_substitution);
    const ptrdiff_t k_first = (w.n - unknowns - 1) / 2;  // rounded toward zero: 0 when there is no head
    const bool any_order = order_free(w, true);
    // Signals in groups: the tails one by one, then the heads side by side. A group stops at its
    // first inconsistent signal, after completing the ones before it.
    const ptrdiff_t group = any_order ? 64 : 1;
    for (ptrdiff_t t0 = 0; t0 < w.count; t0 += group) {
        const ptrdiff_t t1 = w.count - t0 < group ? w.count : t0 + group;
        ptrdiff_t t = t0;
        for (; t < t1 && tail.consistent(t); ++t) tail.write(t);
        back_substitution(w, t0, t, k_first, false, any_order, 1.0 / det);
        if (t < t1) return HW_DWT_INCONSISTENT;
    }
    return HW_OK;
}

// The tail system is allocated and released here only.
int32_t mirror_end(Isa isa, const Transform &w) {
    const TailShape shape = tail_shape(w.n, w.taps);
    size_t bytes = 0;
    if (!tail_system_bytes(shape, &bytes)) return HW_DWT_NO_MEMORY;
    double *system = static_cast<double *>(std::malloc(bytes));
    if (system == nullptr) return HW_DWT_NO_MEMORY;
    const int32_t result = solve_mirror_end(isa, w, shape, system);
    std::free(system);
    return result;
}

}  // namespace

// rows is even and n - unknowns is even: the tail windows are the last rows / 2.
TailShape tail_shape(ptrdiff_t n, ptrdiff_t taps) {
    if (n % 2 == 0) return taps % 2 == 0 ? TailShape{taps, taps} : TailShape{taps - 1, taps - 1};
    return taps % 2 == 1 ? TailShape{taps + 1, taps} : TailShape{taps + 2, taps + 1};
}

bool tail_system_bytes(TailShape shape, size_t *bytes) {
    size_t cells = 0;
    return !__builtin_mul_overflow(static_cast<size_t>(shape.rows), static_cast<size_t>(shape.rows + shape.unknowns),
                                   &cells) &&
           !__builtin_mul_overflow(cells, sizeof(double), bytes);
}

int32_t inverse_transform(Isa isa, const Transform &w) {
    switch (w.end_flag) {
    case 0:
    case 1:
        // Taps 0 and 1 of both masks form each window's system; a one-tap bank loses the odd
        // samples, so nothing can be rebuilt.
        if (w.taps < 2) return HW_DWT_MASK_NOT_INVERTIBLE;
        return w.end_flag == 0 ? zero_end(isa, w) : mirror_end(isa, w);
    case 2:
        if (w.count >= 1) HW_PICK(isa, dwt_periodic_synthesis)(w);
        return HW_OK;
    default: return HW_OK;
    }
}

}  // namespace hw::wavelet

extern "C" int32_t ehw_DWTinv(double *data, int32_t data_skip, int32_t data_tskip, int32_t data_offset,
                              int32_t length, int32_t count, const double *high_pass, const double *low_pass,
                              int32_t filter_length, int32_t end_flag, const double *first, int32_t first_skip,
                              int32_t first_tskip, int32_t first_offset, const double *second,
                              int32_t second_skip, int32_t second_tskip, int32_t second_offset) {
    // The record has one pointer type for every set; the inverse never writes the coefficients.
    const hw::wavelet::Transform w{data, {data_skip, data_tskip, data_offset}, length, count, high_pass, low_pass,
                                   filter_length, end_flag,
                                   const_cast<double *>(first), {first_skip, first_tskip, first_offset},
                                   const_cast<double *>(second), {second_skip, second_tskip, second_offset}};
    return hw::wavelet::inverse_transform(hw::simd::best_isa(), w);
}
