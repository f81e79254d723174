// The FFT engine against the long-double oracle: lengths that exercise every butterfly, pass
// order and both ways of reordering; the radix decomposition.
#include "fft/radix_kinds.h"
#include "fourier_support.h"

namespace {

using namespace hwtest;

constexpr double kPi = 3.141592653589793;

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
