// The Gauss-Jordan engine: documented small cases exactly, random matrices whose computed
// inverse must multiply back to the identity, and the same bits as the plain step-by-step
// engine on every instruction-set level.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "hw.h"
#include "linalg/ge_matrix_inv.h"
#include "simd_levels.h"

namespace {

struct Case {
    const char *what;
    int32_t rows, cols;
    std::vector<double> matrix, expected;
    int32_t code;
    double condition;  // expected estimate; NAN: not written
};

TEST(GEMatrixInvEngine, DocumentedCases) {
    const double big = 1e300;  // marks an estimate that must stay unwritten
    const Case cases[] = {
        {"no rows", 0, 0, {}, {}, 0, 0.0},
        {"left block of width 0", 2, 2, {3, 1, 4, 1}, {3, 1, 4, 1}, 0, 0.0},
        {"one by two", 1, 2, {2, 1}, {1, 0.5}, 0, 1.0},
        {"identity", 3, 6, {1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1},
         {1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1}, 0, 9.0},
        {"exchange", 2, 4, {0, 1, 1, 0, 1, 0, 0, 1}, {1, 0, 0, 1, 0, 1, 1, 0}, 0, 4.0},
        {"equal pivots keep the upper row", 2, 4, {2, 1, 1, 0, -2, 1, 0, 1},
         {1, 0, 0.25, -0.25, 0, 1, 0.5, 0.5}, 0, 9.0},
        {"zero column", 2, 4, {0, 1, 1, 0, 0, 2, 0, 1}, {0, 1, 1, 0, 0, 2, 0, 1}, 1, big},
        {"zero second column after elimination", 2, 4, {1, 2, 1, 0, 2, 4, 0, 1},
         {1, 2, 0, 0.5, 0, 0, 1, -0.5}, 1, big},
        {"fewer columns than rows", 3, 2, {1, 2, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6}, 1, big},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::vector<double> m = c.matrix;
        double condition = big;
        EXPECT_EQ(ehw_GEMatrixInv(m.data(), c.rows, c.cols, &condition), c.code);
        EXPECT_EQ(m, c.expected);
        EXPECT_EQ(condition, c.condition);
    }
}

TEST(GEMatrixInvEngine, RandomMatricesGiveATrueInverse) {
    std::mt19937_64 rng(11);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int n : {1, 2, 3, 5, 8, 13, 30}) {
        for (int trial = 0; trial < 5; ++trial) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " trial " << trial);
            std::vector<double> a(static_cast<size_t>(n) * n);
            for (double &x : a) x = u(rng);
            for (int i = 0; i < n; ++i) a[i * n + i] += n;  // well conditioned
            std::vector<double> m(static_cast<size_t>(n) * 2 * n, 0.0);
            double s1 = 0;
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j) {
                    m[i * 2 * n + j] = a[i * n + j];
                    s1 += std::fabs(a[i * n + j]);
                }
            for (int i = 0; i < n; ++i) m[i * 2 * n + n + i] = 1.0;
            double condition = -1;
            ASSERT_EQ(ehw_GEMatrixInv(m.data(), n, 2 * n, &condition), 0);
            double s2 = 0;
            for (int i = 0; i < n; ++i)
                for (int j = 0; j < n; ++j) {
                    EXPECT_EQ(m[i * 2 * n + j], i == j ? 1.0 : 0.0);  // written exactly
                    s2 += std::fabs(m[i * 2 * n + n + j]);
                    long double product = 0;  // (A X)(i, j) in long double
                    for (int t = 0; t < n; ++t) product += static_cast<long double>(a[i * n + t]) * m[t * 2 * n + n + j];
                    EXPECT_NEAR(static_cast<double>(product), i == j ? 1.0 : 0.0, 1e-14);
                }
            EXPECT_DOUBLE_EQ(condition, s1 * s2);
        }
    }
}

// The engine as first written, one step at a time over whole rows: the order of operations
// the fast engine must keep bit for bit.
int32_t reference_inverse(double *a, int32_t rows_in, int32_t cols_in, double *condition) {
    if (cols_in < rows_in) return 1;
    const ptrdiff_t rows = rows_in, cols = cols_in, w = cols - rows;
    auto sum = [&](ptrdiff_t c0, ptrdiff_t c1) {
        double s = 0.0;
        for (ptrdiff_t i = 0; i < rows; ++i)
            for (ptrdiff_t j = c0; j < c1; ++j) s += a[i * cols + j] > 0 ? a[i * cols + j] : -a[i * cols + j];
        return s;
    };
    const double s1 = sum(0, w);
    for (ptrdiff_t k = 0; k < w && k < rows; ++k) {
        double best = -1.0;
        ptrdiff_t p = -1;
        for (ptrdiff_t i = k; i < rows; ++i) {
            const double v = a[i * cols + k] > 0 ? a[i * cols + k] : -a[i * cols + k];
            if (v > best) best = v, p = i;
        }
        if (!(best > 0)) return 1;
        double *row_k = a + k * cols;
        if (p > k)
            for (ptrdiff_t j = 0; j < cols; ++j) std::swap(row_k[j], a[p * cols + j]);
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
    for (ptrdiff_t m = last; m >= 1; --m)
        for (ptrdiff_t i = 0; i < m; ++i) {
            double *row_i = a + i * cols;
            const double f = row_i[m];
            if (f == 0.0) continue;
            row_i[m] = 0.0;
            for (ptrdiff_t j = last + 1; j < cols; ++j) row_i[j] = row_i[j] - f * a[m * cols + j];
        }
    const double e = s1 * sum(w, cols);
    *condition = e;
    return e > 1e11 ? 3 : 0;
}

enum class Fill {
    dense, sparse, ties, duplicate_rows, nearly_dependent, dense_right_block,
    non_finite,        // a few infinities, NaNs and subnormals
    infinite_factors,  // two infinities in one column: the lower one becomes a factor
    tiny_pivots,       // a column of subnormals: the reciprocal of its pivot is infinite
};

// A rows x cols matrix of the given kind; the right block is the identity except for
// dense_right_block.
std::vector<double> make_matrix(int rows, int cols, Fill fill, std::mt19937_64 &rng) {
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::uniform_int_distribution<int> small(-2, 2);
    const int w = cols - rows;
    std::vector<double> m(static_cast<size_t>(rows) * cols, 0.0);
    auto at = [&](int i, int j) -> double & { return m[static_cast<size_t>(i) * cols + j]; };
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < w; ++j) {
            double &x = at(i, j);
            x = u(rng);
            if (fill == Fill::ties || fill == Fill::duplicate_rows) x = small(rng);
            if (fill == Fill::sparse && u(rng) < 0.5) x = u(rng) < 0 ? -0.0 : 0.0;  // skipped rows
        }
        for (int j = w; j < cols; ++j) at(i, j) = fill == Fill::dense_right_block ? u(rng) : j - w == i;
    }
    std::uniform_int_distribution<int> row(0, rows > 0 ? rows - 1 : 0);
    for (int n = 0; rows > 1 && n < 3; ++n) {
        const int i = row(rng), k = row(rng);
        if (fill == Fill::duplicate_rows && i != k) std::copy_n(&at(k, 0), w, &at(i, 0));
        for (int j = 0; fill == Fill::nearly_dependent && j < w; ++j) at(i, j) = at(k, j) + 1e-13 * u(rng);
        if (fill == Fill::non_finite && w > 0) {
            const double inf = std::numeric_limits<double>::infinity();
            const double odd[] = {inf, -inf, std::nan(""), 1e-310, -1e-310};  // 1/x: 0, -0, inf, -inf
            at(i, row(rng) % w) = odd[(i + k + n) % 5];
        }
    }
    std::uniform_int_distribution<int> col(0, w > 0 ? w - 1 : 0);
    // Infinite factors in one of the last columns, after panels of finite steps.
    const int c = fill == Fill::infinite_factors ? w - 1 - col(rng) / 4 : col(rng), i = row(rng), k = row(rng);
    if (fill == Fill::infinite_factors && w > 0) at(i, c) = at(k, c) = (i + k) % 2 ? 1.0 / 0.0 : -1.0 / 0.0;
    for (int j = 0; fill == Fill::tiny_pivots && j < rows; ++j) at(j, c) *= 1e-317;
    return m;
}

// Equal bits, or both not a number: the compiler may swap the operands of a product or sum,
// which decides which of two NaN operands' sign comes through, in either engine.
bool same_bits(double x, double y) { return std::memcmp(&x, &y, sizeof x) == 0 || (std::isnan(x) && std::isnan(y)); }

TEST(GEMatrixInvEngine, SameBitsAsTheStepByStepEngineOnEveryLevel) {
    std::mt19937_64 rng(13);
    // Every kind up to a few panels of steps; the largest sizes only dense and singular.
    for (int rows : {0, 1, 2, 3, 7, 17, 40, 131, 270, 400})
        for (int kind = 0; kind <= static_cast<int>(Fill::tiny_pivots); ++kind)
            for (int trial = 0; trial < (rows > 200 ? 1 : 3) && (rows <= 131 || kind <= 1); ++trial) {
                const Fill fill = rows > 131 ? (kind ? Fill::duplicate_rows : Fill::dense) : static_cast<Fill>(kind);
                const int cols = rows + std::uniform_int_distribution<int>(0, 2 * rows)(rng);
                SCOPED_TRACE(testing::Message() << rows << " x " << cols << " fill " << static_cast<int>(fill));
                const std::vector<double> input = make_matrix(rows, cols, fill, rng);
                std::vector<double> expected = input;
                double expected_condition = -7.0;
                const int32_t code = reference_inverse(expected.data(), rows, cols, &expected_condition);
                for (hw::simd::Isa isa : hwtest::runnable_levels()) {
                    SCOPED_TRACE(hw::simd::isa_name(isa));
                    std::vector<double> m = input;
                    double condition = -7.0;
                    ASSERT_EQ(hw::linalg::ge_matrix_inv(m.data(), rows, cols, &condition, isa), code);
                    ASSERT_TRUE(same_bits(condition, expected_condition));
                    for (size_t q = 0; q < m.size(); ++q)
                        ASSERT_TRUE(same_bits(m[q], expected[q])) << "element " << q << ": " << m[q] << " vs " << expected[q];
                }
            }
}

}  // namespace
