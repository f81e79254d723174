// The FFT engine against a long-double direct DFT, over lengths that exercise every
// butterfly, every pass order and both ways of reordering.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "hw.h"

namespace {

const double kPi = 3.141592653589793;

std::vector<double> random_data(size_t values, unsigned seed) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<double> v(2 * values);
    for (double &x : v) x = u(rng);
    return v;
}

// Direct transform of every sequence of the strided batch layout, in long double.
std::vector<double> oracle(const std::vector<double> &x, uint32_t n, uint32_t stride, uint32_t batch, bool inverse) {
    std::vector<double> y(x.size());
    const long double two_pi = 6.283185307179586476925286766559L;
    std::vector<long double> cos_table(n), sin_table(n);
    for (size_t j = 0; j < n; ++j) {
        cos_table[j] = cosl(two_pi * j / n);
        sin_table[j] = inverse ? sinl(two_pi * j / n) : -sinl(two_pi * j / n);
    }
    for (size_t g = 0; g < batch; ++g)
        for (size_t s = 0; s < stride; ++s)
            for (size_t k = 0; k < n; ++k) {
                long double re = 0, im = 0;
                for (size_t j = 0; j < n; ++j) {
                    const long double c = cos_table[j * k % n], sn = sin_table[j * k % n];
                    const size_t at = 2 * ((g * n + j) * stride + s);
                    re += x[at] * c - x[at + 1] * sn;
                    im += x[at] * sn + x[at + 1] * c;
                }
                const size_t at = 2 * ((g * n + k) * stride + s);
                y[at] = static_cast<double>(re);
                y[at + 1] = static_cast<double>(im);
            }
    return y;
}

double relative_rms_error(const std::vector<double> &got, const std::vector<double> &want) {
    long double err = 0, norm = 0;
    for (size_t i = 0; i < got.size(); ++i) {
        err += (got[i] - want[i]) * static_cast<long double>(got[i] - want[i]);
        norm += want[i] * static_cast<long double>(want[i]);
    }
    return static_cast<double>(std::sqrt(err / norm));
}

// Runs the engine as the FFT entry would: working storage of max(2P, n when storage is 1)
// complex values with the root table after the first P, followed by guard values.
std::vector<double> transform(std::vector<double> x, uint32_t n, uint32_t stride, uint32_t batch, bool inverse,
                              int storage, std::vector<uint32_t> *radix_list = nullptr) {
    uint32_t radices[32];
    const uint32_t count = ehw_RadixDec(n, radices);
    const uint32_t last = radices[count - 1];
    const uint32_t generic = last <= 5 || last == 6 || last == 8 || last == 9 || last == 16 ? 0 : last;
    const size_t w = std::max<size_t>(2 * generic, storage ? n : 0);
    const double guard = 12345.678;
    std::vector<double> work(2 * w + 8, guard);
    EXPECT_EQ(ehw_FFT(n, radices, count, kPi, x.data(), work.data(), work.data() + 2 * generic, inverse, storage,
                      stride, batch), 0);
    for (size_t i = 2 * w; i < work.size(); ++i) EXPECT_EQ(work[i], guard) << "working storage overrun";
    if (radix_list) radix_list->assign(radices, radices + count);
    return x;
}

TEST(FftEngine, MatchesDirectTransform) {
    // Single radices, every specialised pair order, generic primes, and long lists.
    const uint32_t lengths[] = {2,   3,   4,   5,   6,    7,    8,    9,   11,   13,  16,  12, 18,  24, 27,
                                32,  36,  49,  54,  64,   81,   96,   121, 128,  210, 256, 539, 1000, 997,
                                2048, 1029, 16 * 16 * 3, 360, 2 * 13 * 13, 25 * 49};
    for (uint32_t n : lengths)
        for (int inverse = 0; inverse < 2; ++inverse)
            for (int storage = 0; storage < 2; ++storage) {
                SCOPED_TRACE(testing::Message() << "n=" << n << " inverse=" << inverse << " storage=" << storage);
                const std::vector<double> x = random_data(n, n);
                const std::vector<double> y = transform(x, n, 1, 1, inverse, storage);
                // A wrong twiddle or digit order gives errors of order 1; rounding gives 1e-16 * log n.
                EXPECT_LT(relative_rms_error(y, oracle(x, n, 1, 1, inverse)), 2e-15);
            }
}

TEST(FftEngine, StridedBatchesAndStorageAgree) {
    const struct {
        uint32_t n, stride, batch;
    } shapes[] = {{12, 3, 2}, {54, 2, 3}, {81, 5, 1}, {210, 1, 4}, {16 * 16 * 8, 2, 2}, {7 * 7 * 11, 3, 1},
                  {8 * 125, 2, 2}, {36, 4, 3}, {2, 7, 5}, {49, 1, 1}};
    for (const auto &sh : shapes) {
        SCOPED_TRACE(testing::Message() << "n=" << sh.n << " stride=" << sh.stride << " batch=" << sh.batch);
        const std::vector<double> x = random_data(size_t{sh.n} * sh.stride * sh.batch, sh.n + 1);
        std::vector<uint32_t> in_place_list, out_of_place_list;
        const std::vector<double> a = transform(x, sh.n, sh.stride, sh.batch, false, 0, &in_place_list);
        const std::vector<double> b = transform(x, sh.n, sh.stride, sh.batch, false, 1, &out_of_place_list);
        EXPECT_EQ(a, b);  // bit for bit
        EXPECT_LT(relative_rms_error(a, oracle(x, sh.n, sh.stride, sh.batch, false)), 2e-15);
        uint32_t fresh[32];
        const uint32_t count = ehw_RadixDec(sh.n, fresh);
        EXPECT_EQ(out_of_place_list, std::vector<uint32_t>(fresh, fresh + count));  // only read
    }
}

TEST(FftEngine, InPlaceReorderingRewritesTheRadixList) {
    std::vector<uint32_t> list;
    transform(random_data(256, 1), 256, 1, 1, false, 0, &list);
    EXPECT_EQ(list[0], 256u);
}

TEST(FftEngine, RoundTripScalesByLength) {
    const uint32_t n = 2 * 3 * 5 * 7 * 11;
    const std::vector<double> x = random_data(n, 3);
    std::vector<double> y = transform(transform(x, n, 1, 1, false, 0), n, 1, 1, true, 0);
    for (double &v : y) v /= n;
    EXPECT_LT(relative_rms_error(y, x), 1e-15);
}

TEST(FftEngine, RefusesUnsupportedEvenRadix) {
    std::vector<double> x = random_data(10, 4);
    uint32_t radices[] = {10};
    double work[40];
    EXPECT_EQ(ehw_FFT(10, radices, 1, kPi, x.data(), work, work + 20, 0, 1, 1, 1), 1);
    uint32_t zero[] = {2, 0};
    EXPECT_EQ(ehw_FFT(4, zero, 2, kPi, x.data(), work, work + 20, 0, 1, 1, 1), 1);
}

TEST(FftEngine, ImpulseGivesExactRootsOfUnity) {
    std::vector<double> x(16, 0.0);
    x[2] = 1.0;  // impulse at x_1
    uint32_t radices[] = {8};
    ASSERT_EQ(ehw_FFT(8, radices, 1, kPi, x.data(), nullptr, nullptr, 0, 0, 1, 1), 0);
    EXPECT_EQ(x[2], 0.7071067811865476);
    EXPECT_EQ(x[3], -0.7071067811865476);
    std::vector<double> y = {0, 0, 1, 0, 0, 0};
    uint32_t three[] = {3};
    ASSERT_EQ(ehw_FFT(3, three, 1, kPi, y.data(), nullptr, nullptr, 1, 0, 1, 1), 0);
    EXPECT_EQ(y[2], -0.5);
    EXPECT_EQ(y[3], 0.8660254037844386);
}

TEST(RadixDec, OrdersRadicesForThePasses) {
    const struct {
        uint32_t n;
        std::vector<uint32_t> list;
    } cases[] = {{0, {}},          {1, {}},        {2, {2}},         {12, {6, 2}},     {24, {8, 3}},
                 {36, {6, 6}},     {18, {6, 3}},   {96, {16, 6}},    {32, {16, 2}},    {64, {16, 4}},
                 {128, {16, 8}},   {54, {6, 9}},   {81, {9, 9}},     {27, {9, 3}},     {539, {7, 7, 11}},
                 {26, {2, 13}},    {97, {97}},     {210, {6, 5, 7}}, {1000, {8, 5, 5, 5}}, {121, {11, 11}},
                 {2147483647u, {2147483647u}}, {4294967295u, {3, 5, 17, 257, 65537}}};
    for (const auto &c : cases) {
        uint32_t r[32];
        const uint32_t count = ehw_RadixDec(c.n, r);
        EXPECT_EQ(std::vector<uint32_t>(r, r + count), c.list) << "n=" << c.n;
    }
}

}  // namespace
