// The trigonometry against MPFR: every result must be MPFR's correctly rounded value. The quick
// suite samples; TrigExhaustive (its own CTest label) sweeps every angle the transforms form
// for orders up to 4096.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "simd_levels.h"
#include "trig/exact_trig.h"
#include "trig/octant_kernel.h"
#include "trig/root_steps.h"
#include "trig/trig.h"
#include "trig/trig_tables.h"

namespace {

using hw::simd::Isa;

// MPFR variables of 53 bits for results and of 300 bits for exact arguments.
struct Mpfr {
    mpfr_t s, c, x, y;
    Mpfr() {
        mpfr_inits2(53, s, c, (mpfr_ptr)0);
        mpfr_inits2(300, x, y, (mpfr_ptr)0);
    }
    ~Mpfr() { mpfr_clears(s, c, x, y, (mpfr_ptr)0); }
};

void reference_sin_cos(Mpfr &m, double x, double *sine, double *cosine) {
    mpfr_set_d(m.x, x, MPFR_RNDN);
    mpfr_sin_cos(m.s, m.c, m.x, MPFR_RNDN);
    *sine = mpfr_get_d(m.s, MPFR_RNDN);
    *cosine = mpfr_get_d(m.c, MPFR_RNDN);
}

// cos and sin of 2*pi*t/n, rounded correctly from the exact angle.
void reference_root(Mpfr &m, uint64_t t, uint64_t n, double *cosine, double *sine) {
    mpfr_set_ui(m.x, t % n, MPFR_RNDN);
    mpfr_cosu(m.c, m.x, n, MPFR_RNDN);
    mpfr_sinu(m.s, m.x, n, MPFR_RNDN);
    *cosine = mpfr_get_d(m.c, MPFR_RNDN) + 0.0;
    *sine = mpfr_get_d(m.s, MPFR_RNDN) + 0.0;
}

uint64_t bits(double x) {
    uint64_t b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}

// Counts mismatches and reports the first few.
struct Mismatches {
    int count = 0;
    void check(double got, double want, const char *what, double arg1, double arg2) {
        if (bits(got) == bits(want)) return;
        if (++count <= 5) ADD_FAILURE() << what << " of " << arg1 << ", " << arg2 << ": got " << got << ", want " << want;
    }
};

void check_sin_cos(Mpfr &m, Mismatches &bad, double x) {
    double s, c, rs, rc;
    hw::trig::sin_cos(x, &s, &c);
    reference_sin_cos(m, x, &rs, &rc);
    bad.check(s, rs, "sin", x, 0);
    bad.check(c, rc, "cos", x, 0);
}

void check_root(Mpfr &m, Mismatches &bad, uint64_t t, uint64_t n) {
    double c, s, rc, rs;
    hw::trig::unit_root(t, n, &c, &s);
    reference_root(m, t, n, &rc, &rs);
    bad.check(c, rc, "cos 2pi t/n", t, n);
    bad.check(s, rs, "sin 2pi t/n", t, n);
}

const double kTwoPi = 3.141592653589793 + 3.141592653589793;

TEST(Trig, TablesHoldMpfrValues) {
    Mpfr m;
    mpfr_t v, pi;
    mpfr_inits2(1200, v, pi, (mpfr_ptr)0);
    mpfr_const_pi(pi, MPFR_RNDN);
    for (int j = 0; j <= hw::trig::kTableSteps; ++j) {
        const hw::trig::TableAngle &a = hw::trig::kTableAngles[j];
        mpfr_mul_ui(m.x, pi, j, MPFR_RNDN);
        mpfr_div_ui(m.x, m.x, 1024, MPFR_RNDN);
        mpfr_cos(v, m.x, MPFR_RNDN);
        EXPECT_EQ(a.cos_hi, mpfr_get_d(v, MPFR_RNDN)) << j;
        mpfr_sub_d(v, v, a.cos_hi, MPFR_RNDN);
        EXPECT_EQ(a.cos_lo, mpfr_get_d(v, MPFR_RNDN)) << j;
        mpfr_sin(v, m.x, MPFR_RNDN);
        EXPECT_EQ(a.sin_hi, mpfr_get_d(v, MPFR_RNDN)) << j;
        mpfr_sub_d(v, v, a.sin_hi, MPFR_RNDN);
        EXPECT_EQ(a.sin_lo, mpfr_get_d(v, MPFR_RNDN)) << j;
    }
    // pi/4 limb by limb, and the parts of pi/2 and of the step.
    mpfr_div_ui(v, pi, 4, MPFR_RNDN);
    for (uint64_t limb : hw::trig::kQuarterPiLimbs) {
        mpfr_mul_2ui(v, v, 64, MPFR_RNDN);
        mpfr_floor(m.y, v);
        mpfr_sub(v, v, m.y, MPFR_RNDN);
        EXPECT_EQ(limb >> 32, mpfr_get_ui(m.y, MPFR_RNDN) >> 32);
        EXPECT_EQ(limb & 0xffffffff, mpfr_get_ui(m.y, MPFR_RNDN) & 0xffffffff);
    }
    const double half_pi[] = {hw::trig::kHalfPi1, hw::trig::kHalfPi2, hw::trig::kHalfPi3, hw::trig::kHalfPi4};
    mpfr_div_ui(v, pi, 2, MPFR_RNDN);
    for (double part : half_pi) mpfr_sub_d(v, v, part, MPFR_RNDN);
    EXPECT_LT(std::fabs(mpfr_get_d(v, MPFR_RNDN)), 0x1p-190);
    mpfr_div_ui(v, pi, 1024, MPFR_RNDN);
    for (double part : {hw::trig::kStep1, hw::trig::kStep2, hw::trig::kStep3}) mpfr_sub_d(v, v, part, MPFR_RNDN);
    EXPECT_LT(std::fabs(mpfr_get_d(v, MPFR_RNDN)), 0x1p-140);
    mpfr_div_ui(v, pi, 1024, MPFR_RNDN);
    for (double part : {hw::trig::kStepD1, hw::trig::kStepD2, hw::trig::kStepD3}) mpfr_sub_d(v, v, part, MPFR_RNDN);
    EXPECT_LT(std::fabs(mpfr_get_d(v, MPFR_RNDN)), 0x1p-165);
    mpfr_clears(v, pi, (mpfr_ptr)0);
}

// The fast evaluation's claimed error bound against its actual error on random table angles
// and rests, a margin of 4 required: the bound is what lets a result skip the exact path.
TEST(Trig, FastEvaluationStaysWellInsideItsErrorBound) {
    Mpfr m;
    mpfr_t exact, pi;
    mpfr_inits2(300, exact, pi, (mpfr_ptr)0);
    mpfr_const_pi(pi, MPFR_RNDN);
    std::mt19937_64 rng(7);
    double worst = 0;
    for (int i = 0; i < 100000; ++i) {
        const int j = i < 20000 ? i % 2 : static_cast<int>(rng() % (hw::trig::kTableSteps + 1));
        const double step = 0x1.921fb54442d18p-9;
        const double dh = std::ldexp(static_cast<double>(rng() >> 11), -53) * step - step / 2;
        if (j == 0 && dh <= 0) continue;
        const hw::trig::TableAngle &a = hw::trig::kTableAngles[j];
        const auto v = hw::trig::evaluate_octant(a.cos_hi, a.cos_lo, a.sin_hi, a.sin_lo, dh, 0.0);
        mpfr_mul_ui(m.x, pi, j, MPFR_RNDN);
        mpfr_div_ui(m.x, m.x, 1024, MPFR_RNDN);
        mpfr_add_d(m.x, m.x, dh, MPFR_RNDN);
        for (int which = 0; which < 2; ++which) {
            (which ? mpfr_sin : mpfr_cos)(exact, m.x, MPFR_RNDN);
            const double hi = which ? v.sin_hi : v.cos_hi, lo = which ? v.sin_lo : v.cos_lo;
            mpfr_sub_d(exact, exact, hi, MPFR_RNDN);
            mpfr_sub_d(exact, exact, lo, MPFR_RNDN);
            const double ratio = std::fabs(mpfr_get_d(exact, MPFR_RNDN)) / hw::trig::error_bound<double, int64_t>(hi, v.s3);
            worst = std::max(worst, ratio);
        }
    }
    EXPECT_LT(worst, 0.25);
    std::printf("worst error / bound %g\n", worst);
    mpfr_clears(exact, pi, (mpfr_ptr)0);
}

// The results of rotations for x_m = fl(m*theta) (a chain of products here, a tree in the
// batch: the bound is the same) against MPFR and their bound eps_m, a margin of 4 required;
// prints the share of results that the rounding test sends to sin_cos.
TEST(Trig, RotationsStayWellInsideTheirErrorBound) {
    Mpfr m;
    mpfr_t exact;
    mpfr_init2(exact, 300);
    std::mt19937_64 rng(13);
    double worst = 0;
    long results = 0, unsure = 0;
    for (int trial = 0; trial < 40; ++trial) {
        const uint64_t n = trial < 20 ? 8 + trial : 8 + rng() % 20000;
        const double theta = kTwoPi / static_cast<double>(n);
        double e1, t1, t2, v[4];
        const hw::trig::Rotation<double> first = hw::trig::first_rotation(theta, e1);
        hw::trig::split(theta, t1, t2);
        hw::trig::Rotation<double> z = first;
        for (uint64_t k = 1; k < (n + 1) / 2 && k < 2000; ++k, z = hw::trig::rotate(z, first), ++results) {
            const double x = static_cast<double>(k) * theta;
            hw::trig::rotation_to_angle(z, hw::trig::exact_rest<double>(k, x, t1, t2), v[0], v[1], v[2], v[3]);
            const double eps = static_cast<double>(k) * (e1 + hw::trig::kRotationError) + hw::trig::kOutputError;
            unsure += !hw::trig::rounds_surely_signed<double, int64_t>(v[0], v[1], eps) ||
                      !hw::trig::rounds_surely_signed<double, int64_t>(v[2], v[3], eps);
            mpfr_set_d(m.x, x, MPFR_RNDN);
            for (int which = 0; which < 2; ++which) {
                (which ? mpfr_sin : mpfr_cos)(exact, m.x, MPFR_RNDN);
                mpfr_sub_d(exact, exact, v[2 * which], MPFR_RNDN);
                mpfr_sub_d(exact, exact, v[2 * which + 1], MPFR_RNDN);
                worst = std::max(worst, std::fabs(mpfr_get_d(exact, MPFR_RNDN)) / eps);
            }
        }
    }
    EXPECT_LT(worst, 0.25);
    std::printf("worst error / bound %g; sent to sin_cos %ld of %ld\n", worst, unsure, results);
    mpfr_clear(exact);
}

// The rounding test at the edges of its room: half an ulp either side, a quarter below a power
// of two, and nothing for a tie.
TEST(Trig, RoundingTestKeepsClearOfMidpoints) {
    struct Row {
        double hi, lo, eps;
        bool sure;
    };
    const Row rows[] = {{1.5, 0x1.fp-54, 0x1p-60, true},  {1.5, 0x1p-53, 0, false},      {1.5, -0x1.fp-54, 0x1p-60, true},
                        {1.5, 0x1.fp-54, 0x1p-58, false}, {1.0, -0x1.fp-56, 0x1p-62, true}, {1.0, -0x1.ffp-55, 0x1p-62, false},
                        {1.0, 0x1.fp-54, 0x1p-60, true},  {0.0, 0.0, 0.0, true}};
    for (const Row &r : rows)
        EXPECT_EQ(r.sure, static_cast<bool>(hw::trig::rounds_surely<double, int64_t>(r.hi, r.lo, r.eps)))
            << r.hi << " " << r.lo << " " << r.eps;
}

// The exact path on its own (the fast path hands it only rare cases).
TEST(Trig, ExactPathIsCorrectlyRounded) {
    Mpfr m;
    Mismatches bad;
    std::mt19937_64 rng(11);
    for (int i = 0; i < 3000; ++i) {
        const uint64_t n = 1 + rng() % (i % 2 ? 4096 : uint64_t{1} << 32), a = rng() % (n + 1);
        double c, s, rc, rs;
        hw::trig::exact_octant_root(a, n, &c, &s);
        reference_root(m, a, 8 * n, &rc, &rs);
        bad.check(c, rc, "exact cos", a, n);
        bad.check(s, rs, "exact sin", a, n);
        const double y = std::ldexp(static_cast<double>(rng() >> 11), -50) + 0x1p-27;
        const int k = static_cast<int>(y * 0.6366197723675814 + 0.5);
        const bool negative = hw::trig::exact_quadrant_rest(y, k, &c, &s);
        mpfr_set_d(m.x, y, MPFR_RNDN);
        mpfr_const_pi(m.y, MPFR_RNDN);
        mpfr_mul_ui(m.y, m.y, k, MPFR_RNDN);
        mpfr_div_2ui(m.y, m.y, 1, MPFR_RNDN);
        mpfr_sub(m.x, m.x, m.y, MPFR_RNDN);
        EXPECT_EQ(negative, mpfr_sgn(m.x) < 0);
        mpfr_abs(m.x, m.x, MPFR_RNDN);
        mpfr_sin_cos(m.s, m.c, m.x, MPFR_RNDN);
        bad.check(c, mpfr_get_d(m.c, MPFR_RNDN), "exact cos rest", y, k);
        bad.check(s, mpfr_get_d(m.s, MPFR_RNDN), "exact sin rest", y, k);
    }
}

TEST(Trig, SinCosSamplesAreCorrectlyRounded) {
    Mpfr m;
    Mismatches bad;
    std::mt19937_64 rng(3);
    for (double x : {0.0, -0.0, 0x1p-1074, 0x1p-28, 0x1.fffffffffffffp-28, 0x1p-27, 0x1p-26, 0.5, 1.0, 2.0, 4.0,
                     8.0, 0.7853981633974483, 1.5707963267948966, 3.141592653589793, 4.71238898038469,
                     6.283185307179586, 7.853981633974483})
        for (double sign : {1.0, -1.0}) check_sin_cos(m, bad, sign * x);
    for (int i = 0; i < 200000; ++i) {
        const double u = std::ldexp(static_cast<double>(rng() >> 11), -53);
        check_sin_cos(m, bad, i % 2 ? 16 * u - 8 : std::ldexp(u, -static_cast<int>(rng() % 30)));
    }
    for (double x : {double(NAN), double(INFINITY), -40.0}) {
        double s, c;
        hw::trig::sin_cos(x, &s, &c);
        EXPECT_TRUE(std::isnan(s) && std::isnan(c)) << x;
    }
}

TEST(Trig, UnitRootSamplesAreCorrectlyRounded) {
    Mpfr m;
    Mismatches bad;
    std::mt19937_64 rng(5);
    for (uint64_t n : {1ull, 2ull, 3ull, 4ull, 6ull, 8ull, 12ull, 4294967295ull, 4294967296ull})
        for (uint64_t t = 0; t < 2 * n && t < 64; ++t) check_root(m, bad, n > 64 ? n - 1 - t : t, n);
    for (int i = 0; i < 100000; ++i) {
        const uint64_t n = 1 + (rng() >> (64 - 1 - static_cast<int>(rng() % 32)));
        check_root(m, bad, rng(), n);
    }
}

// Every level's batch gives the scalar unit_root's bits, for counts around the vector width, steps
// that wrap around the circle, and whole circles of orders with and without factors 2, 4, 8.
TEST(Trig, BatchesGiveScalarBitsOnEveryLevel) {
    struct Case {
        uint64_t n, first, step;
        size_t count;
    };
    const Case cases[] = {{1, 0, 1, 3}, {7, 3, 5, 17}, {1024, 0, 1, 1024}, {1000, 999, 37, 61}, {12, 0, 1, 12}, {14, 0, 1, 14}, {9, 0, 1, 9},
                          {4294967296ull, 123456789, 4000000007ull, 40}, {4294967291ull, 5, 1, 9}};
    for (const Case &k : cases) {
        std::vector<double> want(2 * k.count);
        for (size_t i = 0; i < k.count; ++i)
            hw::trig::unit_root(k.first + i * (k.step % k.n), k.n, &want[2 * i], &want[2 * i + 1]);
        for (Isa isa : hwtest::runnable_levels()) {
            std::vector<double> got(2 * k.count + 1, -7.0);
            HW_PICK(isa, unit_roots)(k.n, k.first, k.step, k.count, got.data());
            EXPECT_EQ(0, std::memcmp(got.data(), want.data(), want.size() * sizeof(double)))
                << hw::simd::isa_name(isa) << " n " << k.n;
            EXPECT_EQ(-7.0, got.back()) << "wrote past the batch";
            if (k.first != 0 || k.step != 1 || k.count != k.n) continue;
            HW_PICK(isa, unit_roots_circle)(k.n, got.data());
            EXPECT_EQ(0, std::memcmp(got.data(), want.data(), want.size() * sizeof(double))) << "circle, n " << k.n;
        }
    }
}

// Every level's sin_cos batch gives the scalar sin_cos's bits on random angles of every size,
// the special ones, and angles whose fast evaluation cannot decide the rounding (found by
// search), at two offsets against the vector width; and so do the multiples m*(2pi/n) of the
// direct transform's tables for n <= 512 and some larger n (the sweep below takes every
// n <= 4096), over the whole circle so that both of their paths run.
TEST(Trig, SinCosBatchGivesScalarBitsOnEveryLevel) {
    std::vector<double> x = {0.0, -0.0, 0x1p-1074, -0x1p-27, 0x1.fffffffffffffp-28, 8.0, -31.9, 32.0, NAN, -NAN, INFINITY,
                             0x1.a02d7e3aefaebp+2, -0x1.59fe54037f98bp+0, 0x1.99c81a151ad79p+1, 0x1.924ae3cd89751p+1};
    std::mt19937_64 rng(9);
    for (int i = 0; i < 20000; ++i) {
        const double u = std::ldexp(static_cast<double>(rng() >> 11), -53);
        x.push_back(i % 2 ? 16 * u - 8 : std::ldexp(u, -static_cast<int>(rng() % 40)));
    }
    std::vector<double> want(2 * x.size()), got(2 * x.size());
    for (size_t i = 0; i < x.size(); ++i) hw::trig::sin_cos(x[i], &want[i], &want[x.size() + i]);
    for (uint64_t n = 1; n <= 4096; n += n < 512 ? 1 : 593) {
        const double step = kTwoPi / static_cast<double>(n), sign = n % 2 ? 1.0 : -1.0;
        std::vector<double> expect(2 * n), multiples(2 * n + 1);
        for (uint64_t k = 0; k < n; ++k) {
            hw::trig::sin_cos(static_cast<double>(k) * step, &expect[2 * k + 1], &expect[2 * k]);
            expect[2 * k + 1] *= sign;
        }
        for (Isa isa : hwtest::runnable_levels()) {
            multiples.back() = -7.0;
            HW_PICK(isa, sin_cos_multiples)(step, n, sign, multiples.data());
            EXPECT_EQ(0, std::memcmp(multiples.data(), expect.data(), 2 * n * sizeof(double))) << n;
            EXPECT_EQ(-7.0, multiples.back()) << "wrote past the multiples";
        }
    }
    for (Isa isa : hwtest::runnable_levels())
        for (size_t skip : {0, 3}) {
            const size_t count = x.size() - skip;
            HW_PICK(isa, sin_cos_batch)(&x[skip], count, &got[0], &got[count]);
            EXPECT_EQ(0, std::memcmp(&got[0], &want[skip], count * sizeof(double))) << hw::simd::isa_name(isa);
            EXPECT_EQ(0, std::memcmp(&got[count], &want[x.size() + skip], count * sizeof(double))) << hw::simd::isa_name(isa);
        }
}

// The full sweeps (label trig-exhaustive): for every order n <= 4096 and k < n, the angles
// (k*2pi)/n and k*(2pi/n) as the transforms form them, and every root of unity, batch by
// batch on every level, and the sin_cos batch and the multiples of the angles k*(2pi/n).
TEST(TrigExhaustive, EveryTransformAngleAndRootUpTo4096) {
    Mpfr m;
    Mismatches bad;
    std::vector<double> batch, angles;
    const std::vector<Isa> levels = hwtest::runnable_levels();
    for (uint64_t n = 1; n <= 4096; ++n) {
        const double step = kTwoPi / static_cast<double>(n);
        angles.resize(3 * n);
        for (uint64_t k = 0; k < n; ++k) {
            const double product_first = static_cast<double>(k) * kTwoPi / static_cast<double>(n);
            const double step_first = static_cast<double>(k) * step;
            check_sin_cos(m, bad, product_first);
            if (step_first != product_first) check_sin_cos(m, bad, step_first);
            angles[k] = step_first;
            hw::trig::sin_cos(step_first, &angles[n + k], &angles[2 * n + k]);
        }
        for (Isa isa : levels) {
            batch.resize(2 * n);
            HW_PICK(isa, sin_cos_batch)(angles.data(), n, &batch[0], &batch[n]);
            EXPECT_EQ(0, std::memcmp(&batch[0], &angles[n], 2 * n * sizeof(double))) << "sin_cos batch, n " << n;
            HW_PICK(isa, sin_cos_multiples)(step, n, 1.0, batch.data());
            for (uint64_t k = 0; k < n; ++k) {
                bad.check(batch[2 * k], angles[2 * n + k], "multiples cos", k, n);
                bad.check(batch[2 * k + 1], angles[n + k], "multiples sin", k, n);
            }
        }
        batch.resize(2 * n * (levels.size() + 1));
        for (size_t l = 0; l < levels.size(); ++l) {
            HW_PICK(levels[l], unit_roots)(n, 0, 1, n, &batch[2 * n * l]);
            HW_PICK(levels[l], unit_roots_circle)(n, &batch[2 * n * levels.size()]);
            EXPECT_EQ(0, std::memcmp(&batch[2 * n * l], &batch[2 * n * levels.size()], 2 * n * sizeof(double))) << n;
        }
        for (uint64_t t = 0; t < n; ++t) {
            double rc, rs;
            reference_root(m, t, n, &rc, &rs);
            for (size_t l = 0; l < levels.size(); ++l) {
                bad.check(batch[2 * (n * l + t)], rc, "batch cos 2pi t/n", t, n);
                bad.check(batch[2 * (n * l + t) + 1], rs, "batch sin 2pi t/n", t, n);
            }
        }
    }
    EXPECT_EQ(0, bad.count);
}

TEST(TrigExhaustive, MillionsOfRandomAngles) {
    Mpfr m;
    Mismatches bad;
    std::mt19937_64 rng(1);
    for (int i = 0; i < 3000000; ++i)
        check_sin_cos(m, bad, std::ldexp(static_cast<double>(rng() >> 11), -50) - 8.0);
    EXPECT_EQ(0, bad.count);
}

}  // namespace
