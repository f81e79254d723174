// Gauss-Jordan inversion inside the library: the engine at a chosen instruction-set level
// (tests force each level in turn), and the per-level elimination it runs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/per_isa.h"

namespace hw::linalg {

// ehw_GEMatrixInv with the elimination kernels of `isa`.
int32_t ge_matrix_inv(double *matrix, int32_t rows, int32_t cols, double *condition, hw::simd::Isa isa);

}  // namespace hw::linalg

// Forward and backward elimination of the rows x cols augmented matrix (cols >= rows) in place;
// true when a pivot column held no nonzero candidate (the matrix is then left partly
// eliminated, exactly as after the steps before that column).
HW_PER_ISA(bool, gauss_jordan_eliminate, (double *matrix, ptrdiff_t rows, ptrdiff_t cols))
