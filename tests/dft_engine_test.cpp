// ehw_DFT: the long-double oracle over many lengths, layouts and
// normalisations, and the roots table it leaves.
#include "fourier_support.h"

namespace {

using hwtest::cplx;

constexpr double kPi = 3.141592653589793;

std::vector<cplx> run_dft(const std::vector<cplx> &in, uint32_t n, int32_t inverse, uint32_t stride, uint32_t batch,
                          uint32_t normalization, std::vector<cplx> *roots_out = nullptr) {
    std::vector<cplx> out(in.size(), cplx(7, 7)), roots((n + 1) / 2);
    EXPECT_EQ(ehw_DFT(n, kPi, reinterpret_cast<const double *>(in.data()), reinterpret_cast<double *>(out.data()),
                      reinterpret_cast<double *>(roots.data()), inverse, stride, batch, normalization),
              0);
    if (roots_out) *roots_out = roots;
    return out;
}

TEST(DftEngine, MatchesOracleOverLengthsLayoutsAndNormalisations) {
    const struct {
        uint32_t stride, batch, normalization;
        int32_t inverse;  // any nonzero value is the inverse
    } layouts[] = {{1, 1, 0, 1}, {3, 2, 2, -4}, {1, 4, 1, 1}, {5, 1, 7, 1}};
    std::vector<uint32_t> lengths;
    for (uint32_t n = 1; n <= 33; ++n) lengths.push_back(n);
    for (uint32_t n : {49u, 64u, 97u, 101u, 120u}) lengths.push_back(n);
    for (uint32_t n : lengths)
        for (const auto &l : layouts)
            for (int32_t inverse : {0, l.inverse}) {
                SCOPED_TRACE(testing::Message() << "n " << n << " stride " << l.stride << " batch " << l.batch
                                                << " normalization " << l.normalization << " inverse " << inverse);
                const long double scale = l.normalization == 0 ? 1.0L
                                          : l.normalization == 1 ? 1.0L / std::sqrt(static_cast<long double>(n))
                                                                 : 1.0L / n;
                const std::vector<cplx> in = hwtest::random_complex(size_t{n} * l.stride * l.batch, n + l.stride);
                const std::vector<cplx> want = hwtest::transform_axis(in, {l.batch, n, l.stride}, 1, inverse != 0, scale);
                EXPECT_LT(hwtest::relative_error(run_dft(in, n, inverse, l.stride, l.batch, l.normalization), want),
                          1e-14);
            }
}

TEST(DftEngine, RootsTableHoldsTheHalfCircle) {
    for (uint32_t n : {1u, 2u, 5u, 8u, 9u})
        for (int32_t inverse : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "n " << n << " inverse " << inverse);
            std::vector<cplx> roots;
            run_dft(std::vector<cplx>(n), n, inverse, 1, 1, 0, &roots);
            for (uint32_t m = 0; m < roots.size(); ++m) {
                const double angle = m * ((kPi + kPi) / n);
                EXPECT_EQ(roots[m], cplx(std::cos(angle), inverse ? std::sin(angle) : -std::sin(angle))) << m;
            }
        }
}

TEST(DftEngine, AgreesWithTheFftEngine) {
    const struct {
        uint32_t n, stride, batch;
    } cases[] = {{101, 1, 1}, {1009, 1, 1}, {97, 3, 2}, {105, 2, 1}};
    for (const auto &c : cases)
        for (int32_t inverse : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "n " << c.n << " stride " << c.stride << " inverse " << inverse);
            const std::vector<cplx> in = hwtest::random_complex(size_t{c.n} * c.stride * c.batch, c.n);
            std::vector<cplx> fft = in, work(2 * size_t{c.n});
            uint32_t radices[32];
            const uint32_t count = ehw_RadixDec(c.n, radices);
            const uint32_t generic = radices[count - 1];
            ASSERT_EQ(ehw_FFT(c.n, radices, count, kPi, reinterpret_cast<double *>(fft.data()),
                              reinterpret_cast<double *>(work.data()), reinterpret_cast<double *>(work.data() + generic),
                              inverse, 0, c.stride, c.batch),
                      0);
            EXPECT_LT(hwtest::relative_error(run_dft(in, c.n, inverse, c.stride, c.batch, 0), fft), 1e-13);
        }
}

}  // namespace
