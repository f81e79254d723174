// ehw_DWTinv: rebuilds signals from the two coefficient sets of ehw_DWT.
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "hw.h"

namespace {

struct InverseJob {
    double *data;
    ptrdiff_t skip, tskip, offset;
    ptrdiff_t n;
    const double *h, *g;
    ptrdiff_t taps;
    const double *first;
    ptrdiff_t fskip, ftskip, foffset;
    const double *second;
    ptrdiff_t sskip, stskip, soffset;
};

// Accessors for signal t: sample i, coefficients k of the first and second set.
struct Signal {
    const InverseJob &w;
    ptrdiff_t t;
    double &x(ptrdiff_t i) const { return w.data[w.offset + t * w.tskip + i * w.skip]; }
    double c(ptrdiff_t k) const { return w.first[w.foffset + t * w.ftskip + k * w.fskip]; }
    double d(ptrdiff_t k) const { return w.second[w.soffset + t * w.stskip + k * w.sskip]; }
};

// Solves window k for x(2k) and x(2k + 1) through taps 0 and 1, after removing the
// contribution of the samples already rebuilt to its right.
void back_substitute(const Signal &s, ptrdiff_t k, double q) {
    const InverseJob &w = s.w;
    double cp = s.c(k), dp = s.d(k);
    if (w.taps > 2 && w.n > 2 * k + 2) {
        for (ptrdiff_t j = 2; j < w.taps && 2 * k + j < w.n; ++j) {
            cp = cp - s.x(2 * k + j) * w.h[j];
            dp = dp - s.x(2 * k + j) * w.g[j];
        }
    }
    s.x(2 * k) = (cp * w.g[1] - dp * w.h[1]) * q;
    s.x(2 * k + 1) = (dp * w.h[0] - cp * w.g[0]) * q;
}

int32_t zero_end(const InverseJob &w, ptrdiff_t count) {
    const double det = w.h[0] * w.g[1] - w.h[1] * w.g[0];
    if (det == 0.0) return 2;
    if (count < 1) return 0;
    const double q = 1.0 / det;
    const ptrdiff_t last = (w.n + 1) / 2 - 1;
    for (ptrdiff_t t = 0; t < count; ++t) {
        const Signal s{w, t};
        if (w.n % 2 == 1) {
            s.x(w.n - 1) = (w.g[1] * s.c(last) - w.h[1] * s.d(last)) * q;
        } else {
            s.x(w.n - 2) = (w.g[1] * s.c(last) - w.h[1] * s.d(last)) * q;
            s.x(w.n - 1) = (w.h[0] * s.d(last) - w.g[0] * s.c(last)) * q;
        }
        for (ptrdiff_t k = last - 1; k >= 0; --k) back_substitute(s, k, q);
    }
    return 0;
}

int32_t periodic_end(const InverseJob &w, ptrdiff_t count) {
    if (count < 1) return 0;
    for (ptrdiff_t t = 0; t < count; ++t)
        for (ptrdiff_t i = 0; i < w.n; ++i) Signal{w, t}.x(i) = 0.0;
    for (ptrdiff_t t = 0; t < count; ++t) {
        const Signal s{w, t};
        for (ptrdiff_t k = 0; k < w.n / 2; ++k)
            for (ptrdiff_t j = 0; j < w.taps; ++j) {
                double &x = s.x((2 * k + j) % w.n);
                x = (w.h[j] * s.c(k) + w.g[j] * s.d(k)) + x;
            }
    }
    return 0;
}

// The mirrored end: the last windows read reflected samples, so the tail samples are solved
// together through the inverse of their system; the rest follows by back-substitution.
int32_t mirror_end(const InverseJob &w, ptrdiff_t count) {
    const ptrdiff_t n = w.n, taps = w.taps;
    ptrdiff_t rows, unknowns;
    if (n % 2 == 0) {
        rows = unknowns = taps % 2 == 0 ? taps : taps - 1;
    } else if (taps % 2 == 1) {
        rows = taps + 1;
        unknowns = taps;
    } else {
        rows = taps + 2;
        unknowns = taps + 1;
    }
    const ptrdiff_t width = rows + unknowns;
    double *system = static_cast<double *>(std::malloc(sizeof(double) * static_cast<size_t>(rows * width)));
    if (system == nullptr) return 1;
    auto at = [&](ptrdiff_t r, ptrdiff_t col) -> double & { return system[r * width + col]; };
    for (ptrdiff_t i = 0; i < rows * width; ++i) system[i] = 0.0;
    for (ptrdiff_t i = 0; i < rows; ++i) at(i, unknowns + i) = 1.0;
    for (ptrdiff_t s = 0; s < rows; s += 2)
        for (ptrdiff_t j = 0; j < taps; ++j) {
            ptrdiff_t q = s + j;
            if (q >= unknowns) q = 2 * unknowns - 2 - q;
            at(s, q) += w.h[j];
            at(s + 1, q) += w.g[j];
        }
    double cond = 0.0;
    const int32_t e = ehw_GEMatrixInv(system, static_cast<int32_t>(rows), static_cast<int32_t>(width), &cond);
    if (e != 0) {
        std::free(system);
        return 10 + e;
    }
    if (count < 1) {
        std::free(system);
        return 0;
    }
    auto r = [&](ptrdiff_t i, ptrdiff_t j) { return at(i, unknowns + j); };
    const ptrdiff_t k0 = (n + 1) / 2 - rows / 2;
    const ptrdiff_t head = n - unknowns;
    for (ptrdiff_t t = 0; t < count; ++t) {
        const Signal s{w, t};
        // The coefficient vector of the tail windows, c and d interleaved, read in place.
        auto v = [&](ptrdiff_t j) { return j % 2 == 0 ? s.c(k0 + j / 2) : s.d(k0 + j / 2); };
        if (rows > unknowns) {
            double rho = 0.0, sigma = 0.0;
            for (ptrdiff_t j = 0; j < rows; ++j) {
                rho = rho + r(rows - 1, j) * v(j);
                sigma = sigma + std::fabs(v(j));
            }
            if (std::fabs(rho) > sigma * 5.0 * cond * 2e-16) {
                std::free(system);
                return 14;
            }
        }
        for (ptrdiff_t i = 0; i < unknowns; ++i) {
            double sum = 0.0;
            for (ptrdiff_t j = 0; j < rows; ++j) sum = sum + r(i, j) * v(j);
            s.x(head + i) = sum;
        }
        const double det = w.h[0] * w.g[1] - w.h[1] * w.g[0];
        if (det == 0.0) {
            std::free(system);
            return 2;
        }
        const double q = 1.0 / det;
        // With no head (head == 0) window 0 is still solved once more, as the tail left it.
        for (ptrdiff_t k = (head - 1) / 2; k >= 0; --k) back_substitute(s, k, q);
    }
    std::free(system);
    return 0;
}

}  // namespace

extern "C" int32_t ehw_DWTinv(double *data, int32_t data_skip, int32_t data_tskip, int32_t data_offset,
                              int32_t length, int32_t count, const double *high_pass, const double *low_pass,
                              int32_t filter_length, int32_t end_flag, const double *first, int32_t first_skip,
                              int32_t first_tskip, int32_t first_offset, const double *second,
                              int32_t second_skip, int32_t second_tskip, int32_t second_offset) {
    const InverseJob w{data,          data_skip,   data_tskip,   data_offset,  length,
                       high_pass,     low_pass,    filter_length, first,       first_skip,
                       first_tskip,   first_offset, second,      second_skip,  second_tskip,
                       second_offset};
    switch (end_flag) {
    case 0:
    case 1:
        // Taps 0 and 1 of both masks form each window's system; a one-tap bank loses the odd
        // samples, so nothing can be rebuilt.
        if (filter_length < 2) return 2;
        return end_flag == 0 ? zero_end(w, count) : mirror_end(w, count);
    case 2: return periodic_end(w, count);
    default: return 0;
    }
}
