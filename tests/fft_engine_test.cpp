// The FFT engine on every instruction-set level against the long-double oracle: lengths that
// exercise every butterfly, pass order and both ways of reordering; the same bits on every
// level and with either reordering; the radix list, the generic radix's root table and the
// working storage as the engine leaves them; the radix decomposition.
#include <cstring>

#include "fft/autosort.h"
#include "fft/butterflies.h"
#include "fft/engine.h"
#include "fft/modular.h"
#include "fft/odd_butterflies.h"
#include "fft/radix_kinds.h"
#include "fft/small_roots.h"
#include "fourier_support.h"
#include "simd_levels.h"
#include "trig/trig.h"

namespace {

using namespace hwtest;
using hw::simd::Isa;

struct FftRun {
    std::vector<cplx> data, roots;
    std::vector<uint32_t> list;  // the radix list as the engine left it
};

// The FFT engine on `x` on one instruction-set level, with working storage as the FFT entry
// lays it out: max(2P, n when out of place) complex values, the roots after the first P (P the
// last radix when it needs the generic butterfly, else 0), then guard values that must survive.
// `cache` bytes as the engine's cache size: small values run the passes block by block.
FftRun run_fft(hw::simd::Isa isa, std::vector<cplx> x, uint32_t n, uint32_t stride, uint32_t batch,
                      bool inverse, bool storage, size_t cache = hw::fft::kCacheBytes) {
    uint32_t radices[32];
    const uint32_t count = ehw_RadixDec(n, radices), last = radices[count - 1];
    const uint32_t generic = hw::fft::needs_generic_butterfly(last) ? last : 0;
    const size_t used = std::max<size_t>(2 * generic, storage ? n : 0);
    const cplx guard(12345.678, -1);
    std::vector<cplx> work(used + 4, guard);
    double *const w = reinterpret_cast<double *>(work.data());
    EXPECT_EQ(hw::fft::transform(isa, n, radices, count, reinterpret_cast<double *>(x.data()), w, w + 2 * generic,
                                 inverse, storage, stride, batch, cache), 0);
    EXPECT_EQ(std::vector<cplx>(work.begin() + used, work.end()), std::vector<cplx>(4, guard)) << "storage overrun";
    return {x, {work.begin() + generic, work.begin() + 2 * generic}, {radices, radices + count}};
}

bool same_bits(const std::vector<cplx> &a, const std::vector<cplx> &b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(cplx)) == 0);
}

// Every single radix, every specialised pair order, repeated and generic radices, long lists,
// strided batches, blocks of one butterfly next to wide ones, runs too long for the mirrored
// reordering's tiles.
TEST(FftEngine, MatchesOracleWithTheSameBitsEverywhere) {
    const struct { uint32_t n, stride, batch; } cases[] = {
        {2, 7, 5},   {3, 1, 1},   {4, 1, 1},    {5, 1, 1},   {6, 1, 1},   {7, 1, 1},   {8, 1, 1},   {9, 1, 1},
        {16, 1, 1},  {13, 1, 1},  {12, 3, 2},   {18, 1, 1},  {24, 1, 1},  {27, 1, 1},  {32, 1, 1},  {36, 4, 3},
        {54, 2, 3},  {64, 1, 1},  {81, 5, 1},   {96, 1, 1},  {128, 1, 1}, {49, 1, 1},  {121, 1, 1}, {210, 1, 4},
        {256, 1, 1}, {539, 3, 1}, {997, 1, 1},  {1000, 2, 2}, {768, 1, 1}, {2048, 2, 2}, {338, 1, 1}, {360, 1, 1},
        {1029, 1, 1}, {1225, 1, 1}, {4096, 1, 1}, {16, 3, 1}, {64, 2, 1},  {6000, 1, 1}, {68, 3, 2}, {289, 1, 1},
        {1650, 2, 1}, {1031, 1, 1}, {10, 1, 9},  {77, 2, 3},  {64, 65, 1}};
    for (const auto &c : cases)
        for (bool inverse : {false, true}) {
            SCOPED_TRACE(testing::Message() << "n " << c.n << " stride " << c.stride << " batch " << c.batch
                                            << " inverse " << inverse);
            const std::vector<cplx> x = random_complex(size_t{c.n} * c.stride * c.batch, c.n);
            const FftRun in_place = run_fft(Isa::baseline, x, c.n, c.stride, c.batch, inverse, false);
            // A wrong twiddle or digit order gives errors of order 1; rounding about 1e-16 log n.
            if (c.n <= 2048) {
                EXPECT_LT(relative_error(in_place.data, transform_axis(x, {c.batch, c.n, c.stride}, 1, inverse)), 1e-14);
            }
            std::vector<uint32_t> fresh(32);
            fresh.resize(ehw_RadixDec(c.n, fresh.data()));
            // In place, equal neighbouring radices are merged in the list; out of place it is only read.
            EXPECT_EQ(in_place.list != fresh, std::adjacent_find(fresh.begin(), fresh.end()) != fresh.end());
            for (Isa isa : runnable_levels())
                for (bool storage : {false, true})
                    for (size_t cache : {hw::fft::kCacheBytes, size_t{512}}) {  // whole, then block by block
                        const FftRun r = run_fft(isa, x, c.n, c.stride, c.batch, inverse, storage, cache);
                        EXPECT_TRUE(same_bits(r.data, in_place.data))
                            << hw::simd::isa_name(isa) << " storage " << storage << " cache " << cache;
                        EXPECT_EQ(r.list, storage ? fresh : in_place.list);
                        if (!storage) {  // out of place the roots lie inside the temporary
                            EXPECT_TRUE(same_bits(r.roots, in_place.roots));
                        }
                    }
            // The root table of the generic radix: exp(∓2πik/p), the library's roots for
            // k < p/2 and their mirror images above.
            const size_t p = in_place.roots.size();
            for (size_t k = 0; k < (p + 1) / 2; ++k) {
                double cosine, sine;
                hw::trig::unit_root(k, p, &cosine, &sine);
                EXPECT_EQ(in_place.roots[k], cplx(cosine, inverse ? sine : -sine)) << k;
                if (k > 0) {
                    EXPECT_EQ(in_place.roots[p - k], std::conj(in_place.roots[k])) << k;
                }
            }
        }
}

// Hand-made lists (any list whose product is n): composite odd radices, 15 in a caller's list,
// the last generic radix not last. The root table is that of the list's last generic radix.
TEST(FftEngine, HandMadeListsKeepTheRootTableOfTheirLastGenericRadix) {
    const std::vector<std::vector<uint32_t>> lists = {{15, 4}, {7, 15}, {21, 2, 5}, {7, 7, 4}, {15, 2, 2}};
    for (const auto &list : lists)
        for (bool inverse : {false, true}) {
            uint32_t n = 1, last = 0;
            for (uint32_t r : list) n *= r, last = hw_fft_is_generic_radix(r) ? r : last;
            SCOPED_TRACE(testing::Message() << "n " << n << " last generic " << last << " inverse " << inverse);
            const std::vector<cplx> x = random_complex(n, n);
            const size_t p = hw_fft_generic_radix(list.data(), static_cast<uint32_t>(list.size()));
            std::vector<cplx> first;
            for (Isa isa : runnable_levels()) {
                std::vector<cplx> y = x, work(2 * p + 1, cplx(7, 7));
                std::vector<uint32_t> radices = list;
                double *w = reinterpret_cast<double *>(work.data());
                ASSERT_EQ(hw::fft::transform(isa, n, radices.data(), static_cast<uint32_t>(radices.size()),
                                             reinterpret_cast<double *>(y.data()), w, w + 2 * p, inverse, false, 1, 1),
                          0);
                EXPECT_LT(relative_error(y, transform_axis(x, {1, n, 1}, 1, inverse)), 1e-14);
                if (first.empty()) first = y;
                EXPECT_TRUE(same_bits(y, first)) << hw::simd::isa_name(isa);
                EXPECT_EQ(work[2 * p], cplx(7, 7)) << "storage overrun";
                for (uint32_t k = 0; k < last; ++k) {
                    double cosine, sine;
                    hw::trig::unit_root(std::min(k, last - k), last, &cosine, &sine);
                    EXPECT_EQ(work[p + k], cplx(cosine, (2 * k < last) == inverse ? sine : -sine)) << k;
                }
            }
        }
}

// Contiguous sequences short enough to sort themselves pass by pass: last passes narrower than
// a vector, an odd number of passes, the longest such length, roots of orders without a
// constant table. Out of place the working storage ends holding the last sequence's result.
TEST(FftEngine, SelfSortingPathKeepsTheContract) {
    const struct { std::vector<uint32_t> list, merged; } cases[] = {
        {{4, 8}, {4, 8}},        {{4, 4, 2}, {16, 2}},         {{2, 3, 2, 5}, {2, 3, 2, 5}}, {{3, 5, 7}, {3, 5, 7}}, {{16, 16, 4}, {256, 4}},
        {{8, 5, 5, 5}, {8, 5, 25}}, {{7, 7, 11}, {49, 11}},     {{15, 4}, {15, 4}},       {{6, 3}, {6, 3}}};
    constexpr uint32_t batch = 3;
    for (const auto &c : cases)
        for (bool inverse : {false, true}) {
            uint32_t n = 1;
            for (uint32_t r : c.list) n *= r;
            ASSERT_TRUE(hw::fft::fits_autosort(n, c.list.data(), static_cast<uint32_t>(c.list.size()), 1));
            SCOPED_TRACE(testing::Message() << "n " << n << " inverse " << inverse);
            const std::vector<cplx> x = random_complex(size_t{n} * batch, n);
            std::vector<cplx> first;
            for (Isa isa : runnable_levels())
                for (bool storage : {false, true}) {
                    std::vector<cplx> y = x, work(n + 1, cplx(7, 7)), roots(16);
                    std::vector<uint32_t> list = c.list;
                    ASSERT_EQ(hw::fft::transform(isa, n, list.data(), static_cast<uint32_t>(list.size()),
                                                 reinterpret_cast<double *>(y.data()),
                                                 reinterpret_cast<double *>(work.data()),
                                                 reinterpret_cast<double *>(roots.data()), inverse, storage, 1, batch),
                              0);
                    if (first.empty()) {
                        first = y;
                        EXPECT_LT(relative_error(y, transform_axis(x, {batch, n, 1}, 1, inverse)), 1e-14);
                    }
                    EXPECT_TRUE(same_bits(y, first)) << hw::simd::isa_name(isa) << " storage " << storage;
                    EXPECT_EQ(work[n], cplx(7, 7)) << "storage overrun";
                    list.resize(storage ? c.list.size() : c.merged.size());
                    EXPECT_EQ(list, storage ? c.list : c.merged);
                    if (storage) {
                        EXPECT_TRUE(same_bits({work.begin(), work.end() - 1}, {y.end() - n, y.end()}));
                    }
                }
        }
}

TEST(FftEngine, RefusesAnUnsupportedEvenRadixBeforeTouchingTheData) {
    uint32_t ten[] = {10}, late_zero[] = {2, 5, 0}, late_twelve[] = {4, 3, 12};
    for (auto [list, count, n] : {std::tuple{ten, 1u, 10u}, {late_zero, 3u, 10u}, {late_twelve, 3u, 144u}}) {
        std::vector<double> x(2 * n, 1.5), work(2 * n);
        EXPECT_EQ(ehw_FFT(n, list, count, 3.141592653589793, x.data(), work.data(), work.data() + n, 0, 1, 1, 1), 1);
        EXPECT_EQ(x, std::vector<double>(2 * n, 1.5));
    }
}

// The butterflies' constants are the roots of unity they name, rounded to nearest.
TEST(FftEngine, ButterflyConstantsAreExactRoots) {
    using namespace hw::fft;
    struct Root { int t, n; double cosine, sine; };
    std::vector<Root> roots = {
        {1, 8, kCos1_8, kCos1_8},   {1, 16, kCos1_16, kSin1_16}, {1, 3, -0.5, kSin1_3},    {1, 5, kCos1_5, kSin1_5},
        {2, 5, kCos2_5, kSin2_5}, {1, 9, kCos1_9, kSin1_9},    {2, 9, kCos2_9, kSin2_9}, {4, 9, kCos4_9, kSin4_9}};
    const auto add = [&roots]<int R>(OddRoots<R>) {
        for (int t = 1; 2 * t < R; ++t) roots.push_back({t, R, OddRoots<R>::cosine[t - 1], OddRoots<R>::sine[t - 1]});
    };
    add(OddRoots<7>{});
    add(OddRoots<11>{});
    add(OddRoots<13>{});
    for (const auto &r : roots) {
        const long double angle = 6.283185307179586476925286766559L * r.t / r.n;
        EXPECT_EQ(static_cast<double>(std::cos(angle)), r.cosine) << r.t << "/" << r.n;
        EXPECT_EQ(static_cast<double>(std::sin(angle)), r.sine) << r.t << "/" << r.n;
    }
}

// The constant tables serve every order dividing 6720 or 4096 with unit_root's bits, signs of
// zero included.
TEST(FftEngine, ConstantRootTablesHoldExactRoots) {
    using namespace hw::fft;
    double got[2 * kSmallRootOrder], circle[2 * kSmallRootOrder];
    for (uint32_t n = 1; n <= kSmallRootOrder; ++n) {
        if (!has_constant_roots(n)) continue;
        constant_unit_roots(n, 0, 1, n, got);
        constant_circle(n, circle);
        for (uint32_t t = 0; t < n; ++t) {
            double cosine, sine;
            hw::trig::unit_root(t, n, &cosine, &sine);
            ASSERT_EQ(std::memcmp(got + 2 * t, &cosine, 8), 0) << t << "/" << n;
            ASSERT_EQ(std::memcmp(got + 2 * t + 1, &sine, 8), 0) << t << "/" << n;
            ASSERT_EQ(std::memcmp(circle + 2 * t, got + 2 * t, 16), 0) << t << "/" << n;
        }
    }
}

// Products modulo primes against plain division, short and wide (past 32 bits); the
// primitive root's powers run through every nonzero residue before reaching 1.
TEST(FftEngine, ModularArithmeticOfPrimeLengths) {
    using namespace hw::modular;
    std::mt19937 rng(11);
    for (uint32_t n : {17u, 997u, 4099u, 65537u, 2147483647u}) {
        ASSERT_TRUE(is_odd_prime(n));
        const uint64_t reciprocal = reciprocal_of(n);
        for (int i = 0; i < 1000; ++i) {
            const uint32_t a = rng() % n, b = i % 2 ? rng() % n : rng() % 64;
            ASSERT_EQ(times_mod(a, b, n, reciprocal), uint64_t{a} * b % n) << a << " " << b << " " << n;
        }
        const uint32_t g = primitive_root(n);
        if (n < 100000) {
            uint32_t order = 1;
            for (uint32_t v = g; v != 1; v = times_mod(v, g, n, reciprocal)) ++order;
            EXPECT_EQ(order, n - 1) << n;
        }
        EXPECT_EQ(power_mod(g, n - 1, n), 1u);
    }
    EXPECT_FALSE(is_odd_prime(1001) || is_odd_prime(4097) || is_odd_prime(2) || is_odd_prime(65535));
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
