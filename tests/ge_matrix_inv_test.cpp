// The Gauss-Jordan engine: documented small cases exactly, and random matrices whose computed
// inverse must multiply back to the identity.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "hw.h"

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

TEST(GEMatrixInvEngine, IllConditionedKeepsTheInverse) {
    std::vector<double> m = {1, 1, 1, 0, 1, 1 + 1e-12, 0, 1};
    double condition = 0;
    EXPECT_EQ(ehw_GEMatrixInv(m.data(), 2, 4, &condition), 3);
    EXPECT_GT(condition, 1e11);
    EXPECT_EQ(m[0], 1.0);
    EXPECT_EQ(m[1], 0.0);
    EXPECT_NEAR(m[2] / 1e12, 1.0, 1e-3);
    EXPECT_NEAR(m[3] / 1e12, -1.0, 1e-3);
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

}  // namespace
