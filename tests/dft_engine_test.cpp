// ehw_DFT: small transforms with known values, the long-double oracle over many lengths and
// layouts, the roots table it leaves, and its normalisation.
#include "fourier_support.h"

namespace {

using hwtest::cplx;

constexpr double kPi = 3.141592653589793;

std::vector<cplx> run_dft(const std::vector<cplx> &in, uint32_t n, int32_t inverse, uint32_t stride,
                          uint32_t batch, uint32_t normalization, std::vector<cplx> *roots_out = nullptr) {
    std::vector<cplx> out(in.size(), cplx(7, 7));
    std::vector<cplx> roots((n + 1) / 2);
    EXPECT_EQ(ehw_DFT(n, kPi, reinterpret_cast<const double *>(in.data()), reinterpret_cast<double *>(out.data()),
                      reinterpret_cast<double *>(roots.data()), inverse, stride, batch, normalization),
              0);
    if (roots_out) *roots_out = roots;
    return out;
}

TEST(DftEngine, KnownSmallTransforms) {
    const double c3 = std::cos(2 * kPi / 3), s3 = std::sin(2 * kPi / 3);
    const struct {
        const char *what;
        std::vector<cplx> in;
        int32_t inverse;
        std::vector<cplx> out;
    } cases[] = {
        {"length 1", {{2.5, -1}}, 0, {{2.5, -1}}},
        {"length 2 forward", {{1, 0}, {2, 0}}, 0, {{3, 0}, {-1, 0}}},
        {"length 2 inverse", {{1, 0}, {2, 0}}, 1, {{3, 0}, {-1, 0}}},
        {"length 3 forward", {{0, 0}, {1, 0}, {0, 0}}, 0, {{1, 0}, {c3, -s3}, {c3, s3}}},
        {"length 3 inverse", {{0, 0}, {1, 0}, {0, 0}}, 1, {{1, 0}, {c3, s3}, {c3, -s3}}},
        {"length 4 forward", {{0, 0}, {1, 0}, {0, 0}, {0, 0}}, 0, {{1, 0}, {0, -1}, {-1, 0}, {0, 1}}},
        {"length 4 inverse", {{0, 0}, {1, 0}, {0, 0}, {0, 0}}, 1, {{1, 0}, {0, 1}, {-1, 0}, {0, -1}}},
        {"length 6 constant", {{1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}}, 0,
         {{6, 6}, {0, 0}, {0, 0}, {0, 0}, {0, 0}, {0, 0}}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<cplx> out = run_dft(c.in, static_cast<uint32_t>(c.in.size()), c.inverse, 1, 1, 0);
        for (size_t k = 0; k < out.size(); ++k) {
            EXPECT_NEAR(out[k].real(), c.out[k].real(), 1e-15) << "k = " << k;
            EXPECT_NEAR(out[k].imag(), c.out[k].imag(), 1e-15) << "k = " << k;
        }
    }
}

TEST(DftEngine, MatchesOracleOverLengthsAndLayouts) {
    struct Layout {
        uint32_t stride, batch;
    };
    const Layout layouts[] = {{1, 1}, {3, 2}, {1, 4}, {5, 1}};
    std::vector<uint32_t> lengths;
    for (uint32_t n = 1; n <= 33; ++n) lengths.push_back(n);
    for (uint32_t n : {49u, 64u, 97u, 101u, 120u}) lengths.push_back(n);
    for (uint32_t n : lengths)
        for (const Layout &l : layouts)
            for (int32_t inverse : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "n " << n << " stride " << l.stride << " batch " << l.batch
                                                << " inverse " << inverse);
                const std::vector<cplx> in = hwtest::random_complex(size_t{n} * l.stride * l.batch, n * 31 + l.stride);
                const std::vector<cplx> want = hwtest::transform_axis(in, {l.batch, n, l.stride}, 1, inverse != 0);
                EXPECT_LT(hwtest::relative_error(run_dft(in, n, inverse, l.stride, l.batch, 0), want), 1e-14);
            }
}

TEST(DftEngine, AnyNonzeroInverseIsTheInverse) {
    const std::vector<cplx> in = hwtest::random_complex(7, 3);
    EXPECT_EQ(run_dft(in, 7, -5, 1, 1, 0), run_dft(in, 7, 1, 1, 1, 0));
}

TEST(DftEngine, RootsTableHoldsTheHalfCircle) {
    for (uint32_t n : {1u, 2u, 5u, 8u, 9u}) {
        for (int32_t inverse : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "n " << n << " inverse " << inverse);
            std::vector<cplx> roots;
            run_dft(std::vector<cplx>(n), n, inverse, 1, 1, 0, &roots);
            const double theta = (kPi + kPi) / n;
            ASSERT_EQ(roots.size(), (n + 1) / 2);
            for (uint32_t m = 0; m < roots.size(); ++m) {
                const double angle = m * theta;
                EXPECT_EQ(roots[m], cplx(std::cos(angle), inverse ? std::sin(angle) : -std::sin(angle))) << m;
            }
        }
    }
}

TEST(DftEngine, NormalisationScalesEveryOutputElement) {
    const struct {
        uint32_t n, stride, batch, normalization;
        long double scale;
    } cases[] = {
        {5, 3, 2, 1, 1.0L / std::sqrt(5.0L)},
        {5, 3, 2, 2, 0.2L},
        {5, 3, 2, 9, 0.2L},  // any value above 1 is 1/n
        {8, 1, 3, 2, 0.125L},
        {1, 2, 2, 1, 1.0L},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "n " << c.n << " normalization " << c.normalization);
        const std::vector<cplx> in = hwtest::random_complex(size_t{c.n} * c.stride * c.batch, c.n);
        const std::vector<cplx> want = hwtest::transform_axis(in, {c.batch, c.n, c.stride}, 1, false, c.scale);
        EXPECT_LT(hwtest::relative_error(run_dft(in, c.n, 0, c.stride, c.batch, c.normalization), want), 1e-14);
    }
}

TEST(DftEngine, RoundTripsWithNormalisation) {
    const std::vector<cplx> in = hwtest::random_complex(30, 11);
    const struct {
        uint32_t forward, back;
    } cases[] = {{0, 2}, {1, 1}};
    for (const auto &c : cases) {
        const std::vector<cplx> out = run_dft(run_dft(in, 15, 0, 1, 2, c.forward), 15, 1, 1, 2, c.back);
        EXPECT_LT(hwtest::relative_error(out, in), 1e-14);
    }
}

}  // namespace
