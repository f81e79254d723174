// Gauss-Jordan inversion of an augmented matrix in place, with partial pivoting and a
// condition estimate. The order of every operation is fixed so that results are reproducible
// bit for bit: rows are multiplied by the reciprocal of the pivot, entries that become 1 or 0
// are written exactly, and rows whose entry in the pivot column is exactly zero are skipped.
// The elimination itself runs in linalg/ge_elimination_simd.cpp at the widest level the CPU has.
#include "linalg/ge_matrix_inv.h"

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

namespace hw::linalg {

int32_t ge_matrix_inv(double *a, int32_t rows_in, int32_t cols_in, double *condition, hw::simd::Isa isa) {
    // A right block wider than the matrix would start left of column 0: refuse it untouched.
    if (cols_in < rows_in) return HW_INV_SINGULAR;
    const ptrdiff_t rows = rows_in, cols = cols_in, w = cols - rows;

    const double s1 = block_sum(a, rows, cols, 0, w);
    if (rows > 0 && HW_PICK(isa, gauss_jordan_eliminate)(a, rows, cols)) return HW_INV_SINGULAR;
    const double s2 = block_sum(a, rows, cols, w, cols);
    const double e = s1 * s2;
    *condition = e;
    return e > 1e11 ? HW_INV_ILL_CONDITIONED : HW_OK;
}

}  // namespace hw::linalg

extern "C" int32_t ehw_GEMatrixInv(double *a, int32_t rows, int32_t cols, double *condition) {
    return hw::linalg::ge_matrix_inv(a, rows, cols, condition, hw::simd::best_isa());
}
