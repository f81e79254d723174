// The FFT and direct DFT engines against the long-double oracle: lengths that exercise every
// butterfly, pass order and both ways of reordering; the DFT's roots table; the radix
// decomposition.
#include "fft/radix_kinds.h"
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

// The FFT engine on `x` as the FFT entry runs it: working storage of max(2P, n when out of
// place) complex values with the roots after the first P (P the last radix when it needs the
// generic butterfly, else 0), then guard values that must survive. `radix_list` receives the
// list as the engine left it.
std::vector<cplx> run_fft(std::vector<cplx> x, uint32_t n, uint32_t stride, uint32_t batch, bool inverse, int storage,
                          std::vector<uint32_t> *radix_list = nullptr) {
    uint32_t radices[32];
    const uint32_t count = ehw_RadixDec(n, radices), last = radices[count - 1];
    const uint32_t generic = hw::fft::needs_generic_butterfly(last) ? last : 0;
    const size_t used = std::max<size_t>(2 * generic, storage ? n : 0);
    const cplx guard(12345.678, -1);
    std::vector<cplx> work(used + 4, guard);
    double *const w = reinterpret_cast<double *>(work.data());
    EXPECT_EQ(ehw_FFT(n, radices, count, kPi, reinterpret_cast<double *>(x.data()), w, w + 2 * generic,
                      inverse, storage, stride, batch), 0);
    EXPECT_EQ(std::vector<cplx>(work.begin() + used, work.end()), std::vector<cplx>(4, guard)) << "storage overrun";
    if (radix_list) radix_list->assign(radices, radices + count);
    return x;
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
            EXPECT_LT(relative_error(run_dft(in, n, inverse, 3, 1, 0, &roots), run_fft(in, n, 3, 1, inverse, 0)), 1e-13)
                << "n " << n << " inverse " << inverse;
        }
}

// Every single radix, every specialised pair order, repeated and generic radices, long lists,
// strided batches; in place and out of place give the same bits.
TEST(FftEngine, MatchesOracleWithBothReorderings) {
    const struct { uint32_t n, stride, batch; } cases[] = {
        {2, 7, 5},   {3, 1, 1},   {4, 1, 1},   {5, 1, 1},    {6, 1, 1},   {7, 1, 1},    {8, 1, 1},   {9, 1, 1},
        {16, 1, 1},  {13, 1, 1},  {12, 3, 2},  {18, 1, 1},   {24, 1, 1},  {27, 1, 1},   {32, 1, 1},  {36, 4, 3},
        {54, 2, 3},  {64, 1, 1},  {81, 5, 1},  {96, 1, 1},   {128, 1, 1}, {49, 1, 1},   {121, 1, 1}, {210, 1, 4},
        {256, 1, 1}, {539, 3, 1}, {997, 1, 1}, {1000, 2, 2}, {768, 1, 1}, {2048, 2, 2}, {338, 1, 1}, {360, 1, 1},
        {1029, 1, 1}, {1225, 1, 1}};
    for (const auto &c : cases)
        for (bool inverse : {false, true}) {
            SCOPED_TRACE(testing::Message() << "n " << c.n << " stride " << c.stride << " batch " << c.batch
                                            << " inverse " << inverse);
            const std::vector<cplx> x = random_complex(size_t{c.n} * c.stride * c.batch, c.n);
            std::vector<uint32_t> in_place_list, out_of_place_list, fresh(32);
            const std::vector<cplx> y = run_fft(x, c.n, c.stride, c.batch, inverse, 0, &in_place_list);
            EXPECT_EQ(y, run_fft(x, c.n, c.stride, c.batch, inverse, 1, &out_of_place_list));  // bit for bit
            // A wrong twiddle or digit order gives errors of order 1; rounding about 1e-16 log n.
            EXPECT_LT(relative_error(y, transform_axis(x, {c.batch, c.n, c.stride}, 1, inverse)), 1e-14);
            fresh.resize(ehw_RadixDec(c.n, fresh.data()));
            EXPECT_EQ(out_of_place_list, fresh);  // only read
            // In place, equal neighbouring radices are merged in the list.
            EXPECT_EQ(in_place_list != fresh, std::adjacent_find(fresh.begin(), fresh.end()) != fresh.end());
        }
}

TEST(FftEngine, RefusesUnsupportedEvenRadixAndZero) {
    std::vector<double> x(20, 1.0), work(40);
    uint32_t ten[] = {10}, zero[] = {2, 0};
    EXPECT_EQ(ehw_FFT(10, ten, 1, kPi, x.data(), work.data(), work.data() + 20, 0, 1, 1, 1), 1);
    EXPECT_EQ(ehw_FFT(4, zero, 2, kPi, x.data(), work.data(), work.data() + 20, 0, 1, 1, 1), 1);
}

TEST(RadixDec, OrdersRadicesForThePasses) {
    const struct { uint32_t n; std::vector<uint32_t> list; } cases[] = {
        {0, {}},        {1, {}},       {2, {2}},        {12, {6, 2}},     {24, {8, 3}},         {36, {6, 6}},
        {96, {16, 6}},  {64, {16, 4}}, {128, {16, 8}},  {54, {6, 9}},     {81, {9, 9}},         {27, {9, 3}},
        {26, {2, 13}},  {97, {97}},    {539, {7, 7, 11}}, {210, {6, 5, 7}}, {1000, {8, 5, 5, 5}},
        {2147483647u, {2147483647u}}, {4294967295u, {3, 5, 17, 257, 65537}}};
    for (const auto &c : cases) {
        uint32_t r[32];
        EXPECT_EQ(std::vector<uint32_t>(r, r + ehw_RadixDec(c.n, r)), c.list) << "n " << c.n;
    }
}

}  // namespace
