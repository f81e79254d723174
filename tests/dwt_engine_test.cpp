// The wavelet engines: the worked examples exactly, the forward engine against a reference
// written from the definition, round trips through the inverse, and the inverse's codes.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "hw.h"

namespace {

using Vec = std::vector<double>;

// A strided set of `count` signals inside one buffer.
struct Layout {
    int32_t skip, tskip, offset;
    size_t size(int32_t len, int32_t count) const {
        return size_t(offset) + size_t(tskip) * (count - 1) + size_t(skip) * (len - 1) + 1;
    }
    size_t at(int32_t t, int32_t i) const { return size_t(offset) + size_t(t) * tskip + size_t(i) * skip; }
};

struct Coefficients {
    Vec first, second;
};

Coefficients forward(const Vec &data, Layout in, int32_t n, int32_t count, const Vec &h, const Vec &g, int32_t flag,
                     Layout out) {
    const int32_t half = (n + 1) / 2;
    Coefficients c{Vec(out.size(half, count), -7.0), Vec(out.size(half, count), -7.0)};
    EXPECT_EQ(0, ehw_DWT(data.data(), in.skip, in.tskip, in.offset, n, count, h.data(), g.data(), int32_t(h.size()),
                         flag, c.first.data(), out.skip, out.tskip, out.offset, c.second.data(), out.skip, out.tskip,
                         out.offset));
    return c;
}

int32_t inverse(Vec &data, Layout in, int32_t n, int32_t count, const Vec &h, const Vec &g, int32_t flag,
                const Coefficients &c, Layout out) {
    return ehw_DWTinv(data.data(), in.skip, in.tskip, in.offset, n, count, h.data(), g.data(), int32_t(h.size()),
                      flag, c.first.data(), out.skip, out.tskip, out.offset, c.second.data(), out.skip, out.tskip,
                      out.offset);
}

// The forward transform straight from its definition: extended samples, correlation, the
// same accumulation order (outputs from 0.0, each tap high pass then low pass).
Coefficients reference_forward(const Vec &x, int32_t n, const Vec &h, const Vec &g, int32_t flag) {
    const int32_t half = (n + 1) / 2;
    Coefficients c{Vec(half), Vec(half)};
    for (int32_t k = 0; k < half; ++k) {
        double a = 0.0, b = 0.0;
        for (size_t j = 0; j < h.size(); ++j) {
            int32_t i = 2 * k + int32_t(j);
            if (i >= n) {
                if (flag == 1) i = 2 * n - 2 - i;
                else if (flag == 2) i = i % n;
                else continue;
            }
            a = a + x[i] * h[j];
            b = b + x[i] * g[j];
        }
        c.first[k] = a;
        c.second[k] = b;
    }
    return c;
}

Vec random_vector(std::mt19937 &rng, size_t n) {
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Vec v(n);
    for (double &e : v) e = u(rng);
    return v;
}

const Layout kPacked1{1, 0, 0};

TEST(DwtEngine, WorkedExamples) {
    struct Case {
        const char *what;
        Vec x, h, g;
        int32_t flag;
        Vec first, second;
    };
    const Vec six{1, 2, 3, 4, 5, 6}, five{1, 2, 3, 4, 5};
    const Case cases[] = {
        {"n 6, zero end", six, {1, 2, 3}, {1, 0, -1}, 0, {14, 26, 17}, {-2, -2, 5}},
        {"n 6, mirror", six, {1, 2, 3}, {1, 0, -1}, 1, {14, 26, 32}, {-2, -2, 0}},
        {"n 6, periodic", six, {1, 2, 3}, {1, 0, -1}, 2, {14, 26, 20}, {-2, -2, 4}},
        {"n 6, flag 3 acts as zero", six, {1, 2, 3}, {1, 0, -1}, 3, {14, 26, 17}, {-2, -2, 5}},
        {"n 5, zero end", five, {1, 1}, {1, -1}, 0, {3, 7, 5}, {-1, -1, 5}},
        {"n 5, mirror", five, {1, 1}, {1, -1}, 1, {3, 7, 9}, {-1, -1, 1}},
        {"n 5, periodic", five, {1, 1}, {1, -1}, 2, {3, 7, 6}, {-1, -1, 4}},
        {"one sample, one tap", {3}, {2}, {-5}, 1, {6}, {-15}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        const int32_t n = int32_t(c.x.size());
        const Coefficients r = forward(c.x, kPacked1, n, 1, c.h, c.g, c.flag, kPacked1);
        EXPECT_EQ(r.first, c.first);
        EXPECT_EQ(r.second, c.second);
    }
}

// Both loop orders (data skip below and above the transform skip), every end condition,
// odd and even lengths and filter lengths: bit for bit the reference.
TEST(DwtEngine, MatchesReferenceInBothLoopOrders) {
    std::mt19937 rng(11);
    const int32_t count = 3;
    for (int32_t flag : {0, 1, 2, 3})
        for (int32_t taps : {1, 2, 3, 4, 7, 8})
            for (int32_t n : {taps, taps + 1, 2 * taps + 3, 40, 41}) {
                SCOPED_TRACE(::testing::Message() << "flag " << flag << " L " << taps << " n " << n);
                const Vec h = random_vector(rng, taps), g = random_vector(rng, taps);
                const Layout by_signal{1, n + 2, 3}, interleaved{count, 1, 1};
                Vec a(by_signal.size(n, count)), b(interleaved.size(n, count));
                std::vector<Vec> signals;
                for (int32_t t = 0; t < count; ++t) {
                    signals.push_back(random_vector(rng, n));
                    for (int32_t i = 0; i < n; ++i) {
                        a[by_signal.at(t, i)] = signals[t][i];
                        b[interleaved.at(t, i)] = signals[t][i];
                    }
                }
                const int32_t half = (n + 1) / 2;
                const Layout out_a{2, 2 * half + 1, 1}, out_b{count, 1, 0};
                const Coefficients ca = forward(a, by_signal, n, count, h, g, flag, out_a);
                const Coefficients cb = forward(b, interleaved, n, count, h, g, flag, out_b);
                for (int32_t t = 0; t < count; ++t) {
                    const Coefficients want = reference_forward(signals[t], n, h, g, flag);
                    for (int32_t k = 0; k < half; ++k) {
                        ASSERT_EQ(ca.first[out_a.at(t, k)], want.first[k]);
                        ASSERT_EQ(ca.second[out_a.at(t, k)], want.second[k]);
                        ASSERT_EQ(cb.first[out_b.at(t, k)], want.first[k]);
                        ASSERT_EQ(cb.second[out_b.at(t, k)], want.second[k]);
                    }
                }
                // Elements between the addressed ones stay as they were.
                std::vector<bool> addressed(ca.first.size());
                for (int32_t t = 0; t < count; ++t)
                    for (int32_t k = 0; k < half; ++k) addressed[out_a.at(t, k)] = true;
                for (size_t i = 0; i < addressed.size(); ++i)
                    if (!addressed[i]) {
                        ASSERT_EQ(ca.first[i], -7.0);
                        ASSERT_EQ(ca.second[i], -7.0);
                    }
            }
}

struct RoundTrip {
    const char *what;
    int32_t flag;
    std::vector<int32_t> lengths;
    Vec (*h)(std::mt19937 &, int32_t);
    Vec (*g)(std::mt19937 &, int32_t);
    std::vector<int32_t> taps;
};

// Random masks with taps 0 and 1 well away from a singular 2 x 2 system.
Vec random_high(std::mt19937 &rng, int32_t taps) {
    Vec v = random_vector(rng, taps);
    v[0] = 1.0;
    v[1] = 0.25;
    return v;
}
Vec random_low(std::mt19937 &rng, int32_t taps) {
    Vec v = random_vector(rng, taps);
    v[0] = -0.25;
    v[1] = 1.0;
    return v;
}
Vec haar_high(std::mt19937 &, int32_t) { return {M_SQRT1_2, M_SQRT1_2}; }
Vec haar_low(std::mt19937 &, int32_t) { return {M_SQRT1_2, -M_SQRT1_2}; }
// An orthonormal four-tap periodic filter bank and its quadrature mirror.
Vec four_tap_high(std::mt19937 &, int32_t) {
    const double s = std::sqrt(3.0), d = 4.0 * M_SQRT2;
    return {(1 + s) / d, (3 + s) / d, (3 - s) / d, (1 - s) / d};
}
Vec four_tap_low(std::mt19937 &rng, int32_t taps) {
    const Vec h = four_tap_high(rng, taps);
    return {h[3], -h[2], h[1], -h[0]};
}

TEST(DwtEngine, RoundTrips) {
    const RoundTrip cases[] = {
        {"zero end, random masks", 0, {0, 1, 9, 24}, random_high, random_low, {2, 3, 4, 5}},
        {"mirror, random masks", 1, {0, 1, 2, 9, 24}, random_high, random_low, {2, 3, 4, 5}},
        {"zero end, Haar", 0, {2, 3, 10, 11}, haar_high, haar_low, {2}},
        {"mirror, Haar", 1, {2, 3, 10, 11}, haar_high, haar_low, {2}},
        {"periodic, Haar", 2, {2, 10}, haar_high, haar_low, {2}},
        {"periodic, four taps", 2, {4, 8, 32}, four_tap_high, four_tap_low, {4}},
    };
    std::mt19937 rng(5);
    for (const RoundTrip &c : cases)
        for (int32_t taps : c.taps)
            for (int32_t extra : c.lengths) {
                // Lengths below the taps are offsets from the filter length (0 gives n = L).
                const int32_t n = extra < taps || c.flag != 2 ? taps + extra : extra;
                SCOPED_TRACE(::testing::Message() << c.what << ", L " << taps << ", n " << n);
                const Vec h = c.h(rng, taps), g = c.g(rng, taps);
                const int32_t count = 2;
                const Layout in{1, n, 0};
                Vec x(in.size(n, count));
                x = random_vector(rng, x.size());
                const int32_t half = (n + 1) / 2;
                const Layout out{1, half, 0};
                const Coefficients co = forward(x, in, n, count, h, g, c.flag, out);
                Vec back(x.size(), 99.0);
                ASSERT_EQ(0, inverse(back, in, n, count, h, g, c.flag, co, out));
                for (size_t i = 0; i < x.size(); ++i) ASSERT_NEAR(back[i], x[i], 1e-9) << i;
            }
}

TEST(DwtEngine, InverseFailureCodes) {
    struct Case {
        const char *what;
        Vec h, g;
        int32_t flag, n;
        int32_t code;
        size_t written;  // samples at the end of signal 0 written before the failure
    };
    const Case cases[] = {
        {"singular taps, zero end", {1, 1, 1}, {2, 2, 0}, 0, 6, 2, 0},
        {"singular taps, mirror, after the tail", {1, 1, 1}, {2, 2, 0}, 1, 6, 2, 2},
        {"one tap, zero end", {1}, {1}, 0, 4, 2, 0},
        {"one tap, mirror", {1}, {1}, 1, 4, 2, 0},
        {"empty tail column", {0, 1}, {0, 1}, 1, 4, 11, 0},
        {"ill conditioned tail", {1, 1}, {1, 1 + 1e-13}, 1, 4, 13, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        const Vec x{0.5, -1, 2, 0.25, 1.5, -0.75};
        const Coefficients co = forward(x, kPacked1, c.n, 1, c.h, c.g, c.flag, kPacked1);
        Vec back(c.n, 99.0);
        EXPECT_EQ(c.code, inverse(back, kPacked1, c.n, 1, c.h, c.g, c.flag, co, kPacked1));
        for (size_t i = 0; i < back.size(); ++i) {
            if (i + c.written < back.size()) {
                EXPECT_EQ(back[i], 99.0) << i;
            } else {
                EXPECT_NE(back[i], 99.0) << i;
            }
        }
    }
    // Periodic synthesis has no failure even for those masks.
    Vec x(6, 1.0);
    const Coefficients co = forward(x, kPacked1, 6, 1, {1, 1, 1}, {2, 2, 0}, 2, kPacked1);
    EXPECT_EQ(0, inverse(x, kPacked1, 6, 1, {1, 1, 1}, {2, 2, 0}, 2, co, kPacked1));
}

// Odd lengths under the mirror condition: genuine coefficients pass the consistency test, a
// disturbed last coefficient stops at that signal with the earlier ones complete.
TEST(DwtEngine, MirrorConsistencyTest) {
    std::mt19937 rng(3);
    for (int32_t taps : {2, 3, 4}) {
        SCOPED_TRACE(taps);
        const int32_t n = 9, count = 3;
        const Vec h = random_high(rng, taps), g = random_low(rng, taps);
        const Layout in{1, n, 0}, out{1, 5, 0};
        const Vec x = random_vector(rng, in.size(n, count));
        Coefficients co = forward(x, in, n, count, h, g, 1, out);
        co.first[out.at(1, 4)] += 1e-6;
        Vec back(x.size(), 99.0);
        EXPECT_EQ(14, inverse(back, in, n, count, h, g, 1, co, out));
        for (int32_t i = 0; i < n; ++i) EXPECT_NEAR(back[in.at(0, i)], x[in.at(0, i)], 1e-9);
        for (int32_t i = 0; i < n; ++i) EXPECT_EQ(back[in.at(2, i)], 99.0);
    }
}

}  // namespace
