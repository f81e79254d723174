// hw_DWT and hw_DWTinv through the reference host: every message in first-failure order with
// all rtables untouched, the inverse's engine codes as messages, and strided layouts.
#include <cmath>
#include <string>

#include "host_fixture.h"

namespace {

using namespace hwtest;
using refhost::Host;

// A valid call: seven samples, one signal, two-tap masks, zero end condition, packed layouts.
const std::vector<Arg> kValid = {V({1, 2, 3, 4, 5, 6, 7}), I(1), I(7), I(0), I(7), I(1), V({1, 1}), V({1, -1}), I(0),
                                 T({4}, kReal), I(1), I(4), I(0), T({4}, kReal), I(1), I(4), I(0)};

// A row: changes to the valid call and the message in the roles' own words ("@d" the signal
// set of argument 1, "@1" and "@2" the coefficient sets, "@f" the end-condition values). An
// empty message: the forward entry accepts the call (rows for the inverse engine's codes).
struct Row {
    std::vector<std::pair<int, Arg>> changes;
    std::string message;
};

std::string in_words(std::string s, bool inverse) {
    const char *words[][2] = {{"@d", inverse ? "output data" : "input data"},
                              {"@1", inverse ? "first input variable" : "first output variable"},
                              {"@2", inverse ? "second input variable" : "second output variable"},
                              {"@f", inverse ? "0 or 1 or 2" : "0, 1 or 2"}};
    for (const auto &[mark, word] : words)
        for (size_t i; (i = s.find(mark)) != std::string::npos;) s.replace(i, 2, word);
    return s;
}

// Arguments the checks accept but the inverse engine refuses: given masks, end and length.
Row engine(std::vector<double> h, std::vector<double> g, int32_t flag, int32_t n, std::string message) {
    const int32_t half = (n + 1) / 2;
    std::vector<double> first(half, 1.0), second{0.3, -1.0, 2.0, 3.0};
    first[0] = 0.5, second.resize(half);
    return {{{1, V(std::vector<double>(n, 0.0))}, {3, I(n)}, {5, I(n)}, {7, V(h)}, {8, V(g)}, {9, I(flag)},
             {10, V(first)}, {12, I(half)}, {14, V(second)}, {16, I(half)}}, message};
}

std::vector<Row> rows() {
    const std::string big = " is not big enough for the given offset and skips",
                      tail = "Error inverting filter mask with f=1 overflow condition: ";
    const int32_t wide = 0x3fffffff;
    std::vector<Row> all{{{{0, I(0)}}, "incorrect number of arguments, DWT takes 17 arguments"}};
    // Each signal set: its rtable, then its three layout integers.
    const struct { int arg; const char *role, *the; } sets[] = {{1, "@d", "the "}, {10, "@1", "the the "},
                                                                {14, "@2", "the the "}};
    const char *const fields[] = {"data skip", "transform skip", "offset"};
    for (const auto &s : sets) {
        const std::string head = "argument #" + std::to_string(s.arg) + ", the " + s.role;
        all.push_back({{{s.arg, I(0)}}, head + ", must be an rtable"});
        all.push_back({{{s.arg, T({4}, kReal | kSparse)}}, head + ", must be an rtable with RTABLE_RECT storage"});
        all.push_back({{{s.arg, T({4})}}, "argument #" + std::to_string(s.arg) + ", " + s.the + s.role +
                                              ", must be an rtable of datatype double"});
        for (int f = 0; f < 3; ++f) {
            const std::string field = "argument #" + std::to_string(s.arg + 1 + f) + ", the " + fields[f] + " for the " +
                                      s.role;
            all.push_back({{{s.arg + 1 + f, F()}}, (s.arg == 1 && f == 1 ? "argument #3, the transformation skip for the @d"
                                                                         : field) + ", must be an immediate integer"});
            all.push_back({{{s.arg + 1 + f, I(-1)}}, field + ", cannot be negative"});
        }
    }
    for (const auto &[arg, role] : {std::pair{7, "high pass filter"}, {8, "low pass filter"}}) {
        const std::string head = "argument #" + std::to_string(arg) + ", the " + role + ", must be an rtable";
        all.push_back({{{arg, N()}}, head});
        all.push_back({{{arg, T({2}, kReal | kSparse)}}, head + " with RTABLE_RECT storage"});
        all.push_back({{{arg, T({2})}}, head + " of datatype double"});
        all.push_back({{{arg, T({1, 2}, kReal)}}, head + " of dimension 1"});
    }
    all.insert(all.end(), {
        {{{5, F()}}, "argument #5, the first data length, must be an immediate integer"},
        {{{5, I(0)}}, "argument #5, the first data length, must be greater or equal to 1"},
        {{{6, Word(1LL << 40)}}, "argument #6, the number of transformations, must be an immediate integer"},
        {{{6, I(0)}}, "argument #6, the number of transformations, must be greater or equal to 1"},
        {{{7, V({1, 2, 3, 4})}, {8, V({1, 2, 3, 4, 5})}, {5, I(3)}},
         "arguments #7 and #8, the high and low pass filters, must be rtables of the same size"},
        {{{7, T({0}, kReal)}, {8, T({0}, kReal)}}, "arguments #7 and #8, the high and low pass filters, must be of length at least 1"},
        {{{9, F()}}, "argument #9, the flag for end conditions, must be an immediate integer"},
        {{{9, I(3)}}, "argument #9, the flag for end conditions, must be @f"},
        {{{9, I(-1)}}, "argument #9, the flag for end conditions, must be @f"},
        {{{1, V({1, 2, 3, 4, 5, 6})}}, "The @d" + big},
        {{{4, I(1)}}, "The @d" + big},
        {{{6, I(2)}}, "The @d" + big},  // two signals need the transform skip
        {{{10, V({0, 0, 0})}}, "The @1" + big},
        {{{11, I(wide)}}, "The @1" + big},
        {{{17, I(1)}}, "The @2" + big},
        {{{5, I(wide)}, {6, I(wide)}, {2, I(0)}, {3, I(0)}, {11, I(0)}, {12, I(0)}, {15, I(wide)}, {16, I(wide)}},
         "The @2" + big},
        {{{7, V(std::vector<double>(8, 1))}, {8, V(std::vector<double>(8, 1))}},
         "The data length must be at least as long as the filter mask"},
        engine({1, 1, 1}, {2, 2, 0}, 0, 7, "The given filter mask is not invertible"),
        engine({1}, {2}, 1, 7, "The given filter mask is not invertible"),
        engine({0, 1}, {0, 1}, 1, 4, tail + "the filter mask is not invertible"),
        engine({1, 1}, {1, 1 + 1e-13}, 1, 4, tail + "problem is ill conditioned, result may be meaningless"),
        engine({1, 0.5}, {-0.5, 1}, 1, 7, tail + "problem is over conditioned, and does not appear to be solvable"),
    });
    return all;
}

TEST(DwtEntry, RefusesBadArgumentsInOrder) {
    std::vector<Refusal> forward, inverse;
    for (const Row &r : rows()) {
        const std::vector<Arg> args = with(kValid, r.changes);
        if (r.message.rfind("Error", 0) != 0 && r.message.rfind("The given", 0) != 0)
            forward.push_back({args, in_words(r.message, false)});
        inverse.push_back({args, in_words(r.message, true)});
    }
    expect_untouched("hw_DWT", forward);
    expect_untouched("hw_DWTinv", inverse);
}

// Three interleaved signals with offsets, coefficients in padded blocks: the forward entry
// writes only the addressed elements, and the inverse entry rebuilds only those samples.
TEST(DwtEntry, StridedRoundTripLeavesOtherElements) {
    const int32_t n = 9, count = 3, half = 5;
    const double s = std::sqrt(3.0), d = 4.0 * M_SQRT2;
    for (int32_t flag : {0, 1}) {
        SCOPED_TRACE(flag);
        Host h;
        std::vector<double> x(2 + count * n + 1, -1.0), out(40, -2.0);
        for (int32_t t = 0; t < count; ++t)
            for (int32_t i = 0; i < n; ++i) x[2 + t + i * count] = std::sin(1.0 + t + 0.7 * i);
        std::vector<HostValue> args =
            make_args(h, {T({2, 15}, kReal, x), I(count), I(1), I(2), I(n), I(count),
                          V({1.0, 0.5, (3 - s) / d, (1 - s) / d}), V({-0.5, 1.0, 0.25, -0.125}), I(flag), V(out), I(2),
                          I(12), I(3), V(out), I(1), I(half + 2), I(0)});
        const refhost::CallResult r = h.call(entry("hw_DWT"), args);
        ASSERT_TRUE(r.ok) << r.error;
        EXPECT_EQ(r.value, h.null());
        const std::vector<double> c1 = doubles(h, args[9]), c2 = doubles(h, args[13]);
        for (size_t i = 0; i < out.size(); ++i) {
            const bool in1 = i >= 3 && (i - 3) % 2 == 0 && (i - 3) % 12 / 2 < half && (i - 3) / 12 < count;
            EXPECT_EQ(c1[i] == -2.0, !in1) << i;
            EXPECT_EQ(c2[i] == -2.0, !(i % (half + 2) < half && i / (half + 2) < count)) << i;
        }
        args[0] = make_args(h, {T({2, 15}, kReal, std::vector<double>(30, -1.0))})[0];
        const refhost::CallResult ri = h.call(entry("hw_DWTinv"), args);
        ASSERT_TRUE(ri.ok) << ri.error;
        const std::vector<double> back = doubles(h, args[0]);
        for (size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(back[i], x[i], 1e-12) << i;
    }
}

}  // namespace
