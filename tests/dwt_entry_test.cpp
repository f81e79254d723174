// hw_DWT and hw_DWTinv through the reference host: every message in first-failure order with
// all rtables untouched, the inverse's engine codes as messages, and strided layouts.
#include "host_fixture.h"

#include <cmath>
#include <functional>
#include <string>

namespace {

using refhost::Host;
using refhost::RTableSpec;
using Args = std::vector<HostValue>;

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

HostValue rtable_of(Host &h, std::vector<int32_t> lengths, int32_t type, int32_t storage = HW_STORAGE_RECT) {
    RTableSpec s;
    for (int32_t n : lengths) s.bounds.push_back({1, n});
    s.data_type = type;
    s.storage_type = storage;
    return h.rtable(s);
}

struct Case {
    std::string what;
    std::function<void(Host &, Args &)> change;  // args[i] is argument i + 1
    std::string forward, inverse;
};

// The layout integers of the two coefficient sets (arguments 11 to 13 and 15 to 17), which
// share one pattern of messages.
void add_coefficient_layout_cases(std::vector<Case> &cases) {
    const char *const sets[2] = {"first", "second"};
    const char *const fields[3] = {"data skip", "transform skip", "offset"};
    for (int set = 0; set < 2; ++set)
        for (int field = 0; field < 3; ++field) {
            const int arg = 11 + 4 * set + field;
            const std::string head = "argument #" + std::to_string(arg) + ", the " + fields[field] + " for the " +
                                     sets[set];
            const std::string label = std::string(sets[set]) + " " + fields[field];
            cases.push_back({label + " a float", [arg](Host &h, Args &a) { a[arg - 1] = h.floating(1); },
                             head + " output variable, must be an immediate integer",
                             head + " input variable, must be an immediate integer"});
            cases.push_back({label + " negative", [arg](Host &h, Args &a) { a[arg - 1] = h.integer(-1); },
                             head + " output variable, cannot be negative", head + " input variable, cannot be negative"});
        }
}

std::vector<Case> cases() {
    std::vector<Case> all{
        {"16 arguments", [](Host &, Args &a) { a.pop_back(); }, "incorrect number of arguments, DWT takes 17 arguments",
         "incorrect number of arguments, DWT takes 17 arguments"},
        {"data not an rtable", [](Host &h, Args &a) { a[0] = h.integer(1); },
         "argument #1, the input data, must be an rtable", "argument #1, the output data, must be an rtable"},
        {"data sparse", [](Host &h, Args &a) { a[0] = rtable_of(h, {7}, HW_DATATYPE_DOUBLE, refhost::kSparseStorage); },
         "argument #1, the input data, must be an rtable with RTABLE_RECT storage",
         "argument #1, the output data, must be an rtable with RTABLE_RECT storage"},
        {"data complex", [](Host &h, Args &a) { a[0] = rtable_of(h, {7}, HW_DATATYPE_COMPLEX); },
         "argument #1, the input data, must be an rtable of datatype double",
         "argument #1, the output data, must be an rtable of datatype double"},
        {"data skip a float", [](Host &h, Args &a) { a[1] = h.floating(1); },
         "argument #2, the data skip for the input data, must be an immediate integer",
         "argument #2, the data skip for the output data, must be an immediate integer"},
        {"data skip negative", [](Host &h, Args &a) { a[1] = h.integer(-1); },
         "argument #2, the data skip for the input data, cannot be negative",
         "argument #2, the data skip for the output data, cannot be negative"},
        {"transform skip a big integer", [](Host &h, Args &a) { a[2] = h.big_integer(1); },
         "argument #3, the transformation skip for the input data, must be an immediate integer",
         "argument #3, the transformation skip for the output data, must be an immediate integer"},
        {"transform skip negative", [](Host &h, Args &a) { a[2] = h.integer(-3); },
         "argument #3, the transform skip for the input data, cannot be negative",
         "argument #3, the transform skip for the output data, cannot be negative"},
        {"offset a name", [](Host &h, Args &a) { a[3] = h.name("o"); },
         "argument #4, the offset for the input data, must be an immediate integer",
         "argument #4, the offset for the output data, must be an immediate integer"},
        {"offset negative", [](Host &h, Args &a) { a[3] = h.integer(-1); },
         "argument #4, the offset for the input data, cannot be negative",
         "argument #4, the offset for the output data, cannot be negative"},
        {"length a float", [](Host &h, Args &a) { a[4] = h.floating(7); },
         "argument #5, the first data length, must be an immediate integer",
         "argument #5, the first data length, must be an immediate integer"},
        {"length 0", [](Host &h, Args &a) { a[4] = h.integer(0); },
         "argument #5, the first data length, must be greater or equal to 1",
         "argument #5, the first data length, must be greater or equal to 1"},
        {"count a name", [](Host &h, Args &a) { a[5] = h.name("c"); },
         "argument #6, the number of transformations, must be an immediate integer",
         "argument #6, the number of transformations, must be an immediate integer"},
        {"count 0", [](Host &h, Args &a) { a[5] = h.integer(0); },
         "argument #6, the number of transformations, must be greater or equal to 1",
         "argument #6, the number of transformations, must be greater or equal to 1"},
        {"high pass not an rtable", [](Host &h, Args &a) { a[6] = h.integer(2); },
         "argument #7, the high pass filter, must be an rtable", "argument #7, the high pass filter, must be an rtable"},
        {"high pass sparse", [](Host &h, Args &a) { a[6] = rtable_of(h, {2}, HW_DATATYPE_DOUBLE, refhost::kSparseStorage); },
         "argument #7, the high pass filter, must be an rtable with RTABLE_RECT storage",
         "argument #7, the high pass filter, must be an rtable with RTABLE_RECT storage"},
        {"high pass complex", [](Host &h, Args &a) { a[6] = rtable_of(h, {2}, HW_DATATYPE_COMPLEX); },
         "argument #7, the high pass filter, must be an rtable of datatype double",
         "argument #7, the high pass filter, must be an rtable of datatype double"},
        {"high pass two dimensional", [](Host &h, Args &a) { a[6] = rtable_of(h, {1, 2}, HW_DATATYPE_DOUBLE); },
         "argument #7, the high pass filter, must be an rtable of dimension 1",
         "argument #7, the high pass filter, must be an rtable of dimension 1"},
        {"low pass not an rtable", [](Host &h, Args &a) { a[7] = h.null(); },
         "argument #8, the low pass filter, must be an rtable", "argument #8, the low pass filter, must be an rtable"},
        {"low pass sparse", [](Host &h, Args &a) { a[7] = rtable_of(h, {2}, HW_DATATYPE_DOUBLE, refhost::kSparseStorage); },
         "argument #8, the low pass filter, must be an rtable with RTABLE_RECT storage",
         "argument #8, the low pass filter, must be an rtable with RTABLE_RECT storage"},
        {"low pass complex", [](Host &h, Args &a) { a[7] = rtable_of(h, {2}, HW_DATATYPE_COMPLEX); },
         "argument #8, the low pass filter, must be an rtable of datatype double",
         "argument #8, the low pass filter, must be an rtable of datatype double"},
        {"low pass rank 0", [](Host &h, Args &a) { a[7] = rtable_of(h, {}, HW_DATATYPE_DOUBLE); },
         "argument #8, the low pass filter, must be an rtable of dimension 1",
         "argument #8, the low pass filter, must be an rtable of dimension 1"},
        {"filters of 4 and 5 taps, data too short as well",
         [](Host &h, Args &a) {
             a[6] = doubles(h, {1, 2, 3, 4});
             a[7] = doubles(h, {1, 2, 3, 4, 5});
             a[4] = h.integer(3);
         },
         "arguments #7 and #8, the high and low pass filters, must be rtables of the same size",
         "arguments #7 and #8, the high and low pass filters, must be rtables of the same size"},
        {"empty filters",
         [](Host &h, Args &a) {
             a[6] = rtable_of(h, {0}, HW_DATATYPE_DOUBLE);
             a[7] = rtable_of(h, {0}, HW_DATATYPE_DOUBLE);
         },
         "arguments #7 and #8, the high and low pass filters, must be of length at least 1",
         "arguments #7 and #8, the high and low pass filters, must be of length at least 1"},
        {"flag a float", [](Host &h, Args &a) { a[8] = h.floating(0); },
         "argument #9, the flag for end conditions, must be an immediate integer",
         "argument #9, the flag for end conditions, must be an immediate integer"},
        {"flag 3", [](Host &h, Args &a) { a[8] = h.integer(3); },
         "argument #9, the flag for end conditions, must be 0, 1 or 2",
         "argument #9, the flag for end conditions, must be 0 or 1 or 2"},
        {"flag -1", [](Host &h, Args &a) { a[8] = h.integer(-1); },
         "argument #9, the flag for end conditions, must be 0, 1 or 2",
         "argument #9, the flag for end conditions, must be 0 or 1 or 2"},
        {"first not an rtable", [](Host &h, Args &a) { a[9] = h.integer(0); },
         "argument #10, the first output variable, must be an rtable",
         "argument #10, the first input variable, must be an rtable"},
        {"first sparse", [](Host &h, Args &a) { a[9] = rtable_of(h, {4}, HW_DATATYPE_DOUBLE, refhost::kSparseStorage); },
         "argument #10, the first output variable, must be an rtable with RTABLE_RECT storage",
         "argument #10, the first input variable, must be an rtable with RTABLE_RECT storage"},
        {"first of 32-bit integers", [](Host &h, Args &a) { a[9] = rtable_of(h, {4}, refhost::kInt32Type); },
         "argument #10, the the first output variable, must be an rtable of datatype double",
         "argument #10, the the first input variable, must be an rtable of datatype double"},
        {"second not an rtable", [](Host &h, Args &a) { a[13] = h.name("s"); },
         "argument #14, the second output variable, must be an rtable",
         "argument #14, the second input variable, must be an rtable"},
        {"second sparse", [](Host &h, Args &a) { a[13] = rtable_of(h, {4}, HW_DATATYPE_DOUBLE, refhost::kSparseStorage); },
         "argument #14, the second output variable, must be an rtable with RTABLE_RECT storage",
         "argument #14, the second input variable, must be an rtable with RTABLE_RECT storage"},
        {"second complex", [](Host &h, Args &a) { a[13] = rtable_of(h, {4}, HW_DATATYPE_COMPLEX); },
         "argument #14, the the second output variable, must be an rtable of datatype double",
         "argument #14, the the second input variable, must be an rtable of datatype double"},
        {"data one short", [](Host &h, Args &a) { a[0] = doubles(h, {1, 2, 3, 4, 5, 6}); },
         "The input data is not big enough for the given offset and skips",
         "The output data is not big enough for the given offset and skips"},
        {"data offset one too far", [](Host &h, Args &a) { a[3] = h.integer(1); },
         "The input data is not big enough for the given offset and skips",
         "The output data is not big enough for the given offset and skips"},
        {"two signals need the transform skip", [](Host &h, Args &a) { a[5] = h.integer(2); },
         "The input data is not big enough for the given offset and skips",
         "The output data is not big enough for the given offset and skips"},
        {"first of three elements", [](Host &h, Args &a) { a[9] = doubles(h, {0, 0, 0}); },
         "The first output variable is not big enough for the given offset and skips",
         "The first input variable is not big enough for the given offset and skips"},
        {"first skip past 32 bits", [](Host &h, Args &a) { a[10] = h.integer(0x3fffffff); },
         "The first output variable is not big enough for the given offset and skips",
         "The first input variable is not big enough for the given offset and skips"},
        {"second offset one too far", [](Host &h, Args &a) { a[16] = h.integer(1); },
         "The second output variable is not big enough for the given offset and skips",
         "The second input variable is not big enough for the given offset and skips"},
        {"second set past 32 bits",
         [](Host &h, Args &a) {
             a[4] = h.integer(0x3fffffff);
             a[5] = h.integer(0x3fffffff);
             a[1] = h.integer(0);
             a[2] = h.integer(0);
             a[10] = h.integer(0);
             a[11] = h.integer(0);
             a[14] = h.integer(0x3fffffff);
             a[15] = h.integer(0x3fffffff);
         },
         "The second output variable is not big enough for the given offset and skips",
         "The second input variable is not big enough for the given offset and skips"},
        {"filter longer than the data",
         [](Host &h, Args &a) {
             a[6] = doubles(h, std::vector<double>(8, 1.0));
             a[7] = doubles(h, std::vector<double>(8, 1.0));
             a[4] = h.integer(7);
         },
         "The data length must be at least as long as the filter mask",
         "The data length must be at least as long as the filter mask"},
    };
    add_coefficient_layout_cases(all);
    return all;
}

void expect_refused(HostEntry entry, const Case &c, const std::string &message) {
    Host h;
    Args args = valid_args(h);
    c.change(h, args);
    std::vector<std::vector<uint8_t>> before;
    for (HostValue a : args)
        if (h.is_rtable(a)) before.push_back(h.bytes(a));
    const refhost::CallResult r = h.call(entry, args);
    EXPECT_FALSE(r.ok);
    EXPECT_EQ(r.error, message);
    size_t i = 0;
    for (HostValue a : args) {
        if (h.is_rtable(a)) {
            EXPECT_EQ(h.bytes(a), before[i++]);
        }
    }
}

TEST(DwtEntry, RefusesBadArgumentsInOrder) {
    for (const Case &c : cases()) {
        SCOPED_TRACE(c.what);
        expect_refused(hwtest::entry("hw_DWT"), c, c.forward);
        expect_refused(hwtest::entry("hw_DWTinv"), c, c.inverse);
    }
}

TEST(DwtEntry, InverseEngineCodesBecomeMessages) {
    struct Code {
        const char *what;
        std::vector<double> h, g;
        int32_t flag, n;
        const char *message;
    };
    const Code codes[] = {
        {"singular taps", {1, 1, 1}, {2, 2, 0}, 0, 7, "The given filter mask is not invertible"},
        {"one tap", {1}, {2}, 1, 7, "The given filter mask is not invertible"},
        {"empty tail column", {0, 1}, {0, 1}, 1, 4,
         "Error inverting filter mask with f=1 overflow condition: the filter mask is not invertible"},
        {"ill conditioned tail", {1, 1}, {1, 1 + 1e-13}, 1, 4,
         "Error inverting filter mask with f=1 overflow condition: problem is ill conditioned, result may be "
         "meaningless"},
        {"inconsistent odd length", {1, 0.5}, {-0.5, 1}, 1, 7,
         "Error inverting filter mask with f=1 overflow condition: problem is over conditioned, and does not appear "
         "to be solvable"},
    };
    for (const Code &c : codes) {
        SCOPED_TRACE(c.what);
        Host h;
        const int32_t half = (c.n + 1) / 2;
        std::vector<double> coefficients(half, 1.0);
        coefficients[0] = 0.5;
        Args a = valid_args(h);
        a[0] = doubles(h, std::vector<double>(c.n, 0.0));
        a[2] = a[4] = h.integer(c.n);
        a[6] = doubles(h, c.h);
        a[7] = doubles(h, c.g);
        a[8] = h.integer(c.flag);
        a[9] = doubles(h, coefficients);
        const std::vector<double> other{0.3, -1.0, 2.0, 3.0};
        a[13] = doubles(h, std::vector<double>(other.begin(), other.begin() + half));
        a[11] = a[15] = h.integer(half);
        const refhost::CallResult r = h.call(hwtest::entry("hw_DWTinv"), a);
        EXPECT_FALSE(r.ok);
        EXPECT_EQ(r.error, c.message);
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
        const HostValue data = hwtest::double_rtable(h, refhost::dims({2, 15}), x);
        const HostValue first = doubles(h, out), second = doubles(h, out);
        const HostValue hp = doubles(h, {1.0, 0.5, (3 - s) / d, (1 - s) / d});
        const HostValue lp = doubles(h, {-0.5, 1.0, 0.25, -0.125});
        Args fwd{data, h.integer(count), h.integer(1), h.integer(2), h.integer(n), h.integer(count), hp, lp,
                 h.integer(flag), first, h.integer(2), h.integer(12), h.integer(3), second, h.integer(1),
                 h.integer(half + 2), h.integer(0)};
        const refhost::CallResult r = h.call(hwtest::entry("hw_DWT"), fwd);
        ASSERT_TRUE(r.ok) << r.error;
        EXPECT_EQ(r.value, h.null());
        const std::vector<double> c1 = hwtest::doubles(h, first), c2 = hwtest::doubles(h, second);
        for (size_t i = 0; i < out.size(); ++i) {
            const bool in1 = i >= 3 && (i - 3) % 2 == 0 && (i - 3) % 12 / 2 < half && (i - 3) / 12 < count;
            const bool in2 = i % (half + 2) < half && i / (half + 2) < count;
            EXPECT_EQ(c1[i] == -2.0, !in1) << i;
            EXPECT_EQ(c2[i] == -2.0, !in2) << i;
        }
        const HostValue rebuilt = hwtest::double_rtable(h, refhost::dims({2, 15}), std::vector<double>(30, -1.0));
        Args inv = fwd;
        inv[0] = rebuilt;
        const refhost::CallResult ri = h.call(hwtest::entry("hw_DWTinv"), inv);
        ASSERT_TRUE(ri.ok) << ri.error;
        const std::vector<double> back = hwtest::doubles(h, rebuilt);
        for (size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(back[i], x[i], 1e-12) << i;
    }
}

}  // namespace
