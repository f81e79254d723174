// The direct DFT engine against the long-double oracle and its roots table; the DFT and FFT
// engines agree on prime lengths. (The FFT engine's own tests: fft_engine_test.cpp.)
#include "fourier_support.h"

namespace {

using namespace hwtest;

constexpr double kPi = 3.141592653589793;

std::vector<cplx> run_dft(const std::vector<cplx> &in, uint32_t n, int32_t inverse, uint32_t stride, uint32_t batch,
                          uint32_t normalization, std::vector<cplx> *roots) {
    std::vector<cplx> out(in.size(), cplx(7, 7));
    roots->assign((n + 1) / 2, cplx(7, 7));
    EXPECT_EQ(ehw_DFT(n, kPi, reinterpret_cast<const double *>(in.data()), reinterpret_cast<double *>(out.data()),
                      reinterpret_cast<double *>(roots->data()), inverse, stride, batch, normalization),
              0);
    return out;
}

TEST(DftEngine, MatchesOracleOverLengthsLayoutsAndNormalisations) {
    // Any nonzero inverse flag is the inverse; any normalization other than 0 and 1 divides by n.
    const struct { uint32_t stride, batch, normalization; int32_t inverse; } layouts[] = {
        {1, 1, 0, 1}, {3, 2, 2, -4}, {1, 4, 1, 1}, {5, 1, 7, 1}};
    std::vector<uint32_t> lengths = {49, 64, 97, 101, 120};
    for (uint32_t n = 1; n <= 33; ++n) lengths.push_back(n);
    for (uint32_t n : lengths)
        for (const auto &l : layouts)
            for (int32_t inverse : {0, l.inverse}) {
                SCOPED_TRACE(testing::Message() << "n " << n << " stride " << l.stride << " batch " << l.batch
                                                << " normalization " << l.normalization << " inverse " << inverse);
                const std::vector<cplx> in = random_complex(size_t{n} * l.stride * l.batch, n + l.stride);
                std::vector<cplx> roots;
                const std::vector<cplx> out = run_dft(in, n, inverse, l.stride, l.batch, l.normalization, &roots);
                const std::vector<cplx> want = transform_axis(in, {l.batch, n, l.stride}, 1, inverse != 0, l.normalization);
                EXPECT_LT(relative_error(out, want), 1e-14);
                for (uint32_t m = 0; m < roots.size(); ++m) {  // the half circle of roots
                    const double angle = m * (2 * kPi / n), sine = inverse ? std::sin(angle) : -std::sin(angle);
                    EXPECT_LT(std::abs(roots[m] - cplx(std::cos(angle), sine)), 1e-15) << m;
                }
            }
}

TEST(DftEngine, AgreesWithTheFftEngineForPrimeLengths) {
    for (uint32_t n : {1009u, 97u})
        for (int32_t inverse : {0, 1}) {
            const std::vector<cplx> in = random_complex(3 * n, n);  // stride 3
            std::vector<cplx> roots;
            const FftRun fft = run_fft(hw::simd::best_isa(), in, n, 3, 1, inverse, false);
            EXPECT_LT(relative_error(run_dft(in, n, inverse, 3, 1, 0, &roots), fft.data), 1e-13)
                << "n " << n << " inverse " << inverse;
        }
}

}  // namespace
