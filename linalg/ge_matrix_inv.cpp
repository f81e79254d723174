// Gauss-Jordan inversion of an augmented matrix in place, with partial pivoting and a
// condition estimate. The order of every operation is fixed so that results are reproducible
// bit for bit: rows are multiplied by the reciprocal of the pivot, entries that become 1 or 0
// are written exactly, and rows whose entry in the pivot column is exactly zero are skipped.
#include <cstddef>

#include "hw.h"

namespace {

// x for x > 0, -x otherwise (so a NaN stays a NaN).
inline double magnitude(double x) { return x > 0 ? x : -x; }

double block_sum(const double *a, ptrdiff_t rows, ptrdiff_t cols, ptrdiff_t first, ptrdiff_t end) {
    double s = 0.0;
    for (ptrdiff_t i = 0; i < rows; ++i)
        for (ptrdiff_t j = first; j < end; ++j) s += magnitude(a[i * cols + j]);
    return s;
}

}  // namespace

extern "C" int32_t ehw_GEMatrixInv(double *a, int32_t rows_in, int32_t cols_in, double *condition) {
    // A right block wider than the matrix would start left of column 0: refuse it untouched.
    if (cols_in < rows_in) return 1;
    const ptrdiff_t rows = rows_in, cols = cols_in, w = cols - rows;

    const double s1 = block_sum(a, rows, cols, 0, w);

    for (ptrdiff_t k = 0; k < w && k < rows; ++k) {
        double best = -1.0;
        ptrdiff_t p = -1;
        for (ptrdiff_t i = k; i < rows; ++i) {
            const double v = magnitude(a[i * cols + k]);
            if (v > best) {
                best = v;
                p = i;
            }
        }
        if (!(best > 0)) return 1;
        double *row_k = a + k * cols;
        if (p > k) {
            double *row_p = a + p * cols;
            for (ptrdiff_t j = 0; j < cols; ++j) {
                const double t = row_k[j];
                row_k[j] = row_p[j];
                row_p[j] = t;
            }
        }
        const double r = 1.0 / row_k[k];
        row_k[k] = 1.0;
        for (ptrdiff_t j = k + 1; j < cols; ++j) row_k[j] *= r;
        for (ptrdiff_t i = k + 1; i < rows; ++i) {
            double *row_i = a + i * cols;
            const double f = row_i[k];
            if (f == 0.0) continue;
            row_i[k] = 0.0;
            for (ptrdiff_t j = k + 1; j < cols; ++j) row_i[j] = row_i[j] - f * row_k[j];
        }
    }

    const ptrdiff_t last = rows <= w ? rows - 1 : w - 1;
    for (ptrdiff_t m = last; m >= 1; --m) {
        const double *row_m = a + m * cols;
        for (ptrdiff_t i = 0; i < m; ++i) {
            double *row_i = a + i * cols;
            const double f = row_i[m];
            if (f == 0.0) continue;
            row_i[m] = 0.0;
            for (ptrdiff_t j = last + 1; j < cols; ++j) row_i[j] = row_i[j] - f * row_m[j];
        }
    }

    const double s2 = block_sum(a, rows, cols, w, cols);
    const double e = s1 * s2;
    *condition = e;
    return e > 1e11 ? 3 : 0;
}
