// The run-time choice of instruction-set level, and one kernel giving the same bits on each.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "simd/scale.h"
#include "simd_levels.h"

namespace {

using hw::simd::Isa;

TEST(SimdDispatch, BestLevelRunsHereAndBaselineAlwaysDoes) {
    EXPECT_TRUE(hw::simd::cpu_has(Isa::baseline));
    EXPECT_TRUE(hw::simd::cpu_has(hw::simd::best_isa()));
}

TEST(SimdDispatch, ScaleGivesBaselineBitsOnEveryLevelAndLength) {
    for (size_t n : {0, 1, 3, 8, 17, 64, 1001}) {
        std::vector<double> want(n);
        for (size_t i = 0; i < n; ++i) want[i] = 1.0 / (i + 3) - 0.3;
        std::vector<double> in = want;
        for (double &x : want) x *= 0.1;
        for (Isa isa : hwtest::runnable_levels()) {
            std::vector<double> got = in;
            HW_PICK(isa, scale_doubles)(got.data(), n, 0.1);
            EXPECT_TRUE(n == 0 || std::memcmp(got.data(), want.data(), n * sizeof(double)) == 0)
                << hw::simd::isa_name(isa) << " n " << n;
            // A factor of -0.0 must reach every lane with its sign.
            HW_PICK(isa, scale_doubles)(got.data(), n, -0.0);
            for (size_t i = 0; i < n; ++i) EXPECT_EQ(std::signbit(got[i]), !std::signbit(in[i] * 0.1)) << i;
        }
    }
}

}  // namespace
