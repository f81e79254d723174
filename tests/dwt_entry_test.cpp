// hw_DWT and hw_DWTinv through the reference host: every message in first-failure order with
// all rtables untouched, the inverse's engine codes as messages, and strided layouts.
#include "host_fixture.h"

#include <cmath>
#include <functional>
#include <string>

namespace {

using refhost::Host;
using Args = std::vector<HostValue>;
using Make = std::function<HostValue(Host &)>;

HostValue doubles(Host &h, std::vector<double> v) {
    return hwtest::double_rtable(h, refhost::dims({int32_t(v.size())}), v);
}

// A valid call: seven samples, one signal, two-tap masks, zero end condition, packed layouts.
Args valid_args(Host &h) {
    return {doubles(h, {1, 2, 3, 4, 5, 6, 7}), h.integer(1), h.integer(7), h.integer(0), h.integer(7),
            h.integer(1), doubles(h, {1, 1}), doubles(h, {1, -1}), h.integer(0), doubles(h, {0, 0, 0, 0}),
            h.integer(1), h.integer(4), h.integer(0), doubles(h, {0, 0, 0, 0}), h.integer(1), h.integer(4),
            h.integer(0)};
}

Make rt(std::vector<std::pair<int32_t, int32_t>> bounds, int32_t type = HW_DATATYPE_DOUBLE,
        int32_t storage = HW_STORAGE_RECT) {
    return [=](Host &h) { return h.rtable({bounds, type, storage}); };
}
Make num(int64_t v) { return [v](Host &h) { return h.integer(v); }; }
const Make flt = [](Host &h) { return h.floating(1); };
const Make nam = [](Host &h) { return h.name("x"); };
const Make bigint = [](Host &h) { return h.big_integer(1); };
Make sparse(int32_t n) { return rt({{1, n}}, HW_DATATYPE_DOUBLE, refhost::kSparseStorage); }
Make cplx(int32_t n) { return rt({{1, n}}, HW_DATATYPE_COMPLEX); }
Make vec(std::vector<double> v) { return [v](Host &h) { return doubles(h, v); }; }

// Arguments to replace (1-based, 0 drops the last) and the forward message; the inverse message,
// when not given, is the forward one with "input" and "output" exchanged.
struct Case {
    std::vector<std::pair<int, Make>> changes;
    std::string forward, inverse = "";
};

std::string swap_io(std::string s) {
    for (size_t i = 0; (i = s.find("put", i)) != std::string::npos; i += 3)
        if (i >= 3 && s.compare(i - 3, 3, "out") == 0) s.replace(i - 3, 3, "in"), --i;
        else if (i >= 2 && s.compare(i - 2, 2, "in") == 0) s.replace(i - 2, 2, "out"), ++i;
    return s;
}

// Arguments the checks accept but the inverse engine refuses: given masks, end and length.
Case engine(std::vector<double> h, std::vector<double> g, int32_t flag, int32_t n, std::string message) {
    const int32_t half = (n + 1) / 2;
    std::vector<double> first(half, 1.0), second{0.3, -1.0, 2.0, 3.0};
    first[0] = 0.5, second.resize(half);
    return {{{1, vec(std::vector<double>(n, 0.0))}, {3, num(n)}, {5, num(n)}, {7, vec(h)}, {8, vec(g)}, {9, num(flag)},
             {10, vec(first)}, {12, num(half)}, {14, vec(second)}, {16, num(half)}}, "", message};
}

std::vector<Case> cases() {
    const std::string big = " is not big enough for the given offset and skips", neg = ", cannot be negative",
                      imm = ", must be an immediate integer", dbl = ", must be an rtable of datatype double",
                      rect = ", must be an rtable with RTABLE_RECT storage", d1 = "argument #1, the input data",
                      hp = "argument #7, the high pass filter", lp = "argument #8, the low pass filter",
                      flag = "argument #9, the flag for end conditions, must be 0",
                      c1 = "argument #10, the first output variable", c2 = "argument #14, the second output variable",
                      tail = "Error inverting filter mask with f=1 overflow condition: ";
    const int32_t wide = 0x3fffffff;
    std::vector<Case> all{
        {{{0, nullptr}}, "incorrect number of arguments, DWT takes 17 arguments"},
        {{{1, num(1)}}, d1 + ", must be an rtable"},
        {{{1, sparse(7)}}, d1 + rect},
        {{{1, cplx(7)}}, d1 + dbl},
        {{{2, flt}}, "argument #2, the data skip for the input data" + imm},
        {{{2, num(-1)}}, "argument #2, the data skip for the input data" + neg},
        {{{3, bigint}}, "argument #3, the transformation skip for the input data" + imm},
        {{{3, num(-3)}}, "argument #3, the transform skip for the input data" + neg},
        {{{4, nam}}, "argument #4, the offset for the input data" + imm},
        {{{4, num(-1)}}, "argument #4, the offset for the input data" + neg},
        {{{5, flt}}, "argument #5, the first data length" + imm},
        {{{5, num(0)}}, "argument #5, the first data length, must be greater or equal to 1"},
        {{{6, nam}}, "argument #6, the number of transformations" + imm},
        {{{6, num(0)}}, "argument #6, the number of transformations, must be greater or equal to 1"},
        {{{7, num(2)}}, hp + ", must be an rtable"},
        {{{7, sparse(2)}}, hp + rect},
        {{{7, cplx(2)}}, hp + dbl},
        {{{7, rt({{1, 1}, {1, 2}})}}, hp + ", must be an rtable of dimension 1"},
        {{{8, [](Host &h) { return h.null(); }}}, lp + ", must be an rtable"},
        {{{8, sparse(2)}}, lp + rect},
        {{{8, cplx(2)}}, lp + dbl},
        {{{8, rt({})}}, lp + ", must be an rtable of dimension 1"},
        {{{7, vec({1, 2, 3, 4})}, {8, vec({1, 2, 3, 4, 5})}, {5, num(3)}},
         "arguments #7 and #8, the high and low pass filters, must be rtables of the same size"},
        {{{7, rt({{1, 0}})}, {8, rt({{1, 0}})}},
         "arguments #7 and #8, the high and low pass filters, must be of length at least 1"},
        {{{9, flt}}, "argument #9, the flag for end conditions" + imm},
        {{{9, num(3)}}, flag + ", 1 or 2", flag + " or 1 or 2"},
        {{{9, num(-1)}}, flag + ", 1 or 2", flag + " or 1 or 2"},
        {{{10, num(0)}}, c1 + ", must be an rtable"},
        {{{10, sparse(4)}}, c1 + rect},
        {{{10, rt({{1, 4}}, refhost::kInt32Type)}}, "argument #10, the the first output variable" + dbl},
        {{{14, nam}}, c2 + ", must be an rtable"},
        {{{14, sparse(4)}}, c2 + rect},
        {{{14, cplx(4)}}, "argument #14, the the second output variable" + dbl},
        {{{1, vec({1, 2, 3, 4, 5, 6})}}, "The input data" + big},
        {{{4, num(1)}}, "The input data" + big},
        {{{6, num(2)}}, "The input data" + big},  // two signals need the transform skip
        {{{10, vec({0, 0, 0})}}, "The first output variable" + big},
        {{{11, num(wide)}}, "The first output variable" + big},
        {{{17, num(1)}}, "The second output variable" + big},
        {{{5, num(wide)}, {6, num(wide)}, {2, num(0)}, {3, num(0)}, {11, num(0)}, {12, num(0)}, {15, num(wide)},
          {16, num(wide)}},
         "The second output variable" + big},
        {{{7, vec(std::vector<double>(8, 1))}, {8, vec(std::vector<double>(8, 1))}},
         "The data length must be at least as long as the filter mask"},
    };
    // The layout integers of the two coefficient sets share one pattern of messages.
    const char *const sets[2] = {"first", "second"}, *const fields[3] = {"data skip", "transform skip", "offset"};
    for (int set = 0; set < 2; ++set)
        for (int field = 0; field < 3; ++field) {
            const int arg = 11 + 4 * set + field;
            const std::string head = "argument #" + std::to_string(arg) + ", the " + fields[field] + " for the " +
                                     sets[set] + " output variable";
            all.push_back({{{arg, flt}}, head + imm});
            all.push_back({{{arg, num(-1)}}, head + neg});
        }
    // The inverse engine's codes (the forward call succeeds with these arguments).
    all.push_back(engine({1, 1, 1}, {2, 2, 0}, 0, 7, "The given filter mask is not invertible"));
    all.push_back(engine({1}, {2}, 1, 7, "The given filter mask is not invertible"));
    all.push_back(engine({0, 1}, {0, 1}, 1, 4, tail + "the filter mask is not invertible"));
    all.push_back(engine({1, 1}, {1, 1 + 1e-13}, 1, 4, tail + "problem is ill conditioned, result may be meaningless"));
    all.push_back(
        engine({1, 0.5}, {-0.5, 1}, 1, 7, tail + "problem is over conditioned, and does not appear to be solvable"));
    return all;
}

void expect_refused(const char *entry, const Case &c, const std::string &message) {
    Host h;
    Args args = valid_args(h);
    for (const auto &[arg, make] : c.changes) {
        if (arg == 0) args.pop_back();
        else args[arg - 1] = make(h);
    }
    std::vector<std::vector<uint8_t>> before;
    for (HostValue a : args) before.push_back(h.is_rtable(a) ? h.bytes(a) : std::vector<uint8_t>{});
    const refhost::CallResult r = h.call(hwtest::entry(entry), args);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error, message);
    for (size_t i = 0; i < args.size(); ++i) {
        if (h.is_rtable(args[i])) {
            EXPECT_EQ(h.bytes(args[i]), before[i]) << "argument " << i + 1;
        }
    }
}

TEST(DwtEntry, RefusesBadArgumentsInOrder) {
    for (const Case &c : cases()) {
        const std::string inverse = c.inverse.empty() ? swap_io(c.forward) : c.inverse;
        SCOPED_TRACE(inverse);
        if (!c.forward.empty()) expect_refused("hw_DWT", c, c.forward);
        expect_refused("hw_DWTinv", c, inverse);
    }
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
        const HostValue first = doubles(h, out), second = doubles(h, out);
        Args args{hwtest::double_rtable(h, refhost::dims({2, 15}), x), h.integer(count), h.integer(1), h.integer(2),
                  h.integer(n), h.integer(count), doubles(h, {1.0, 0.5, (3 - s) / d, (1 - s) / d}),
                  doubles(h, {-0.5, 1.0, 0.25, -0.125}), h.integer(flag), first, h.integer(2), h.integer(12),
                  h.integer(3), second, h.integer(1), h.integer(half + 2), h.integer(0)};
        const refhost::CallResult r = h.call(hwtest::entry("hw_DWT"), args);
        ASSERT_TRUE(r.ok) << r.error;
        EXPECT_EQ(r.value, h.null());
        const std::vector<double> c1 = hwtest::doubles(h, first), c2 = hwtest::doubles(h, second);
        for (size_t i = 0; i < out.size(); ++i) {
            const bool in1 = i >= 3 && (i - 3) % 2 == 0 && (i - 3) % 12 / 2 < half && (i - 3) / 12 < count;
            EXPECT_EQ(c1[i] == -2.0, !in1) << i;
            EXPECT_EQ(c2[i] == -2.0, !(i % (half + 2) < half && i / (half + 2) < count)) << i;
        }
        args[0] = hwtest::double_rtable(h, refhost::dims({2, 15}), std::vector<double>(30, -1.0));
        const refhost::CallResult ri = h.call(hwtest::entry("hw_DWTinv"), args);
        ASSERT_TRUE(ri.ok) << ri.error;
        const std::vector<double> back = hwtest::doubles(h, args[0]);
        for (size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(back[i], x[i], 1e-12) << i;
    }
}

}  // namespace
