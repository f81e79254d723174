// The direct DFT engine: bit for bit the straightforward engine below on every instruction-set
// level, over many lengths and layouts, with signed zeros, infinities and NaNs among the data;
// and close to the long-double oracle.
#include <cstring>

#include "dft/dft_engine.h"
#include "dft_reference.h"
#include "fourier_support.h"
#include "simd_levels.h"

namespace {

using namespace hwtest;

constexpr double kPi = 3.141592653589793;

struct Layout {
    uint32_t n, stride, batch, normalization;
    int32_t inverse;
    int special_values;  // 1: signed zeros, infinities and NaNs among the data; 2: all -0; 3: one infinity
};

// Equal bits, or both NaN: which NaN an operation passes on depends on the compiler's order of
// the operands of + and *, which C++ leaves free.
bool same_bits(const std::vector<cplx> &a, const std::vector<cplx> &b) {
    if (a.size() != b.size()) return false;
    const double *x = reinterpret_cast<const double *>(a.data()), *y = reinterpret_cast<const double *>(b.data());
    for (size_t i = 0; i < 2 * a.size(); ++i)
        if (std::memcmp(&x[i], &y[i], sizeof(double)) != 0 && !(std::isnan(x[i]) && std::isnan(y[i]))) return false;
    return true;
}

TEST(DftEngine, BitIdenticalToTheStraightforwardEngineOnEveryLevel) {
    std::vector<Layout> layouts;
    const uint32_t strides[] = {1, 1, 2, 3, 4, 5, 8, 9, 13, 1, 16};
    for (uint32_t n = 1; n <= 300; ++n)  // every length, with layouts, flags and data varied across n
        layouts.push_back({n, strides[n % 11], 1 + n % 3 % 2 * (n % 7 % 3), n % 4 == 3 ? 7 : n % 4, -int32_t(n % 3 / 2),
                           n % 5 == 2 ? 1 : n % 25 == 4 ? 2 : n % 25 == 9 ? 3 : 0});
    for (const Layout &l : {Layout{1000, 64, 1, 0, 0, 0}, Layout{4001, 1, 1, 2, 1, 0}, Layout{2048, 3, 2, 1, 0, 1},
                            Layout{1009, 8, 1, 0, 1, 0}, Layout{1536, 1, 1, 0, 1, 1}, Layout{3001, 13, 1, 2, 0, 0},
                            Layout{997, 12, 1, 0, 0, 2}, Layout{1536, 4, 1, 2, 0, 0}})
        layouts.push_back(l);
    for (const Layout &l : layouts) {
        SCOPED_TRACE(testing::Message() << "n " << l.n << " stride " << l.stride << " batch " << l.batch
                                        << " normalization " << l.normalization << " inverse " << l.inverse);
        std::vector<cplx> in = random_complex(size_t{l.n} * l.stride * l.batch, l.n);
        if (l.special_values == 2) std::fill(in.begin(), in.end(), cplx(-0.0, -0.0));
        for (size_t i = 0; l.special_values == 3 && i < in.size(); ++i)  // 0·∞ where a power has no sine
            if (i / l.stride % l.n == l.n / 4) in[i] = {INFINITY, 1};
        if (l.special_values == 1) {
            const double specials[] = {-0.0, 0.0, INFINITY, -INFINITY, NAN, -0.0, 1e300, -1e-310};
            for (size_t i = 0; i < in.size(); i += 1 + i % 5) in[i] = {specials[i % 8], specials[(i + 3) % 8]};
        }
        std::vector<cplx> want(in.size()), want_roots((l.n + 1) / 2);
        reference_dft(l.n, kPi, in.data(), want.data(), want_roots.data(), l.inverse, l.stride, l.batch, l.normalization);
        for (hw::simd::Isa isa : runnable_levels()) {
            std::vector<cplx> out(in.size(), cplx(7, 7)), roots(want_roots.size(), cplx(7, 7));
            hw::dft::transform_at_level(isa, l.n, kPi, reinterpret_cast<const double *>(in.data()),
                                        reinterpret_cast<double *>(out.data()), reinterpret_cast<double *>(roots.data()),
                                        l.inverse, l.stride, l.batch, l.normalization);
            EXPECT_TRUE(same_bits(out, want)) << hw::simd::isa_name(isa);
            EXPECT_TRUE(same_bits(roots, want_roots)) << hw::simd::isa_name(isa);
        }
    }
}

TEST(DftEngine, MatchesOracle) {
    const struct { uint32_t n, stride, batch, normalization; } cases[] = {
        {1, 1, 1, 0}, {2, 1, 1, 1}, {3, 3, 2, 2}, {4, 1, 4, 0}, {5, 3, 2, 2}, {8, 5, 1, 7}, {49, 1, 1, 1}, {64, 2, 1, 0},
        {101, 1, 1, 2}, {120, 5, 1, 0}};
    for (const auto &c : cases)
        for (int32_t inverse : {0, 1}) {
            const std::vector<cplx> in = random_complex(size_t{c.n} * c.stride * c.batch, c.n);
            std::vector<cplx> out(in.size()), roots((c.n + 1) / 2);
            ehw_DFT(c.n, kPi, reinterpret_cast<const double *>(in.data()), reinterpret_cast<double *>(out.data()),
                    reinterpret_cast<double *>(roots.data()), inverse, c.stride, c.batch, c.normalization);
            EXPECT_LT(relative_error(out, transform_axis(in, {c.batch, c.n, c.stride}, 1, inverse, c.normalization)), 1e-14)
                << "n " << c.n << " inverse " << inverse;
        }
}

}  // namespace
