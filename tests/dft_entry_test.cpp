// hw_DFT through the reference host: messages in order with every array untouched, results
// against the oracle along the right axis, the roots table it creates, and zero lengths.
#include "fourier_support.h"

namespace {

using hwtest::complex_rtable;
using hwtest::cplx;
using refhost::Host;
using refhost::RTableSpec;

HostValue zeros(Host &h, std::initializer_list<int32_t> lengths, int32_t order = HW_ORDER_C, bool read_only = false,
                int32_t type = HW_DATATYPE_COMPLEX, int32_t storage = HW_STORAGE_RECT) {
    return h.rtable(RTableSpec{refhost::dims(lengths), type, storage, order, read_only});
}

// An rtable of 64 dimensions of length 1.
HostValue rank64(Host &h) {
    RTableSpec spec;
    spec.bounds.assign(64, {1, 1});
    return h.rtable(spec);
}

// Upper bounds of the rtables in `g_huge` read 1024 times larger, so that a small rtable
// claims more than 2^31 - 1 elements without the storage behind it.
HostValue g_huge[2];
host_rtable_upper_fn g_real_upper;
int huge_upper(HostValue rt, int d) {
    const int upper = g_real_upper(rt, d);
    return rt == g_huge[0] || rt == g_huge[1] ? upper * 1024 : upper;
}

TEST(DftEntry, RefusesBadArgumentsInOrder) {
    struct Case {
        const char *what;
        std::vector<HostValue> (*args)(Host &);
        const char *message;
    };
    const Case cases[] = {
        {"four arguments", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2}), zeros(h, {2}), h.integer(0)}; },
         "incorrect number of arguments"},
        {"float length", [](Host &h) { return std::vector<HostValue>{h.floating(1), h.integer(0), h.integer(0), h.integer(5), h.integer(5)}; },
         "argument #1 must be an integer"},
        {"big integer length", [](Host &h) { return std::vector<HostValue>{h.big_integer(1LL << 40), zeros(h, {2}), zeros(h, {2}), h.integer(0), h.integer(0)}; },
         "argument #1 must be an integer"},
        {"input not an rtable", [](Host &h) { return std::vector<HostValue>{h.integer(1), h.integer(0), h.integer(0), h.integer(5), h.integer(5)}; },
         "argument #2, the input data, must be an 1-d complex rectangular rtable"},
        {"output not an rtable", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2}), h.name("x"), h.floating(0), h.integer(5)}; },
         "argument #3, the output data, must be an 1-d complex rtable"},
        {"float inverse flag", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2}), zeros(h, {2}), h.floating(0), h.floating(0)}; },
         "argument #4, the inverse flag, must be 0 or 1"},
        {"float normalization flag", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2}), zeros(h, {2}), h.integer(2), h.floating(0)}; },
         "argument #5, the normalization flag, must be 0,1 or 2"},
        {"inverse flag 2", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2}), zeros(h, {2}), h.integer(2), h.integer(3)}; },
         "argument #4, the inverse flag, must be 0 or 1"},
        {"inverse flag -1", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2}), zeros(h, {2}), h.integer(-1), h.integer(0)}; },
         "argument #4, the inverse flag, must be 0 or 1"},
        {"normalization flag 3", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2}, HW_ORDER_C, false, HW_DATATYPE_DOUBLE), zeros(h, {2}), h.integer(1), h.integer(3)}; },
         "argument #5, the normalization flag, must be 0,1 or 2"},
        {"real input", [](Host &h) { return std::vector<HostValue>{h.integer(0), zeros(h, {2}, HW_ORDER_C, false, HW_DATATYPE_DOUBLE), zeros(h, {2}), h.integer(1), h.integer(2)}; },
         "argument #2, the input data, must be a complex rectangular rtable"},
        {"sparse input", [](Host &h) { return std::vector<HostValue>{h.integer(0), zeros(h, {2}, HW_ORDER_C, false, HW_DATATYPE_COMPLEX, refhost::kSparseStorage), zeros(h, {2}), h.integer(1), h.integer(2)}; },
         "argument #2, the input data, must be a complex rectangular rtable"},
        {"data length 0", [](Host &h) { return std::vector<HostValue>{h.integer(0), zeros(h, {2}), zeros(h, {2}, HW_ORDER_C, false, HW_DATATYPE_DOUBLE), h.integer(0), h.integer(0)}; },
         "argument #1, the data length, must be a positive integer"},
        {"data length past the input", [](Host &h) { return std::vector<HostValue>{h.integer(9), zeros(h, {8}), zeros(h, {6}, HW_ORDER_C, true), h.integer(0), h.integer(0)}; },
         "data length specification exceeds storage of input"},
        {"transform dimension -1", [](Host &h) { return std::vector<HostValue>{h.integer(-1), zeros(h, {2, 3}), zeros(h, {2}), h.integer(0), h.integer(0)}; },
         "argument #1, the transform dimension, must be 0 or the dimension to be transformed"},
        {"transform dimension 3 of 2", [](Host &h) { return std::vector<HostValue>{h.integer(3), zeros(h, {2, 3}), zeros(h, {2}), h.integer(0), h.integer(0)}; },
         "argument #1, the specified transform dimension exceeds the dimensions of the rtable"},
        {"transform dimension 1 of rank 0", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {}), zeros(h, {}), h.integer(0), h.integer(0)}; },
         "argument #1, the specified transform dimension exceeds the dimensions of the rtable"},
        {"real output", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2, 3}), zeros(h, {2}, HW_ORDER_C, true, HW_DATATYPE_DOUBLE), h.integer(0), h.integer(0)}; },
         "argument #3, the output data, must be a complex rectangular rtable"},
        {"sparse output", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2, 3}), zeros(h, {2}, HW_ORDER_C, true, HW_DATATYPE_COMPLEX, refhost::kSparseStorage), h.integer(0), h.integer(0)}; },
         "argument #3, the output data, must be a complex rectangular rtable"},
        {"read-only output", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2, 3}), zeros(h, {2}, HW_ORDER_C, true), h.integer(0), h.integer(0)}; },
         "argument #3, the output data, cannot be read only"},
        {"output of other rank", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2, 3}), zeros(h, {6}), h.integer(0), h.integer(0)}; },
         "argument #3, the output data, must have the same ordering and dimensions as the input data"},
        {"output in other order", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2, 3}), zeros(h, {2, 3}, refhost::kFortranOrder), h.integer(0), h.integer(0)}; },
         "argument #3, the output data, must have the same ordering and dimensions as the input data"},
        {"data length past the output", [](Host &h) { return std::vector<HostValue>{h.integer(7), zeros(h, {8}), zeros(h, {6}), h.integer(0), h.integer(0)}; },
         "data length specification exceeds storage of output"},
        {"output transposed", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2, 3}), zeros(h, {3, 2}), h.integer(0), h.integer(0)}; },
         "argument #3, the output data, must have the same ordering and dimensions as the input data"},
        {"output longer in the last dimension", [](Host &h) { return std::vector<HostValue>{h.integer(1), zeros(h, {2, 3, 4}, refhost::kFortranOrder), zeros(h, {2, 3, 5}, refhost::kFortranOrder), h.integer(0), h.integer(0)}; },
         "argument #3, the output data, must have the same ordering and dimensions as the input data"},
        {"64 dimensions", [](Host &h) { return std::vector<HostValue>{h.integer(1), rank64(h), rank64(h), h.integer(0), h.integer(0)}; },
         "argument #2, the input data, cannot have more than 63 dimensions"},
        {"read-only input, every dimension", [](Host &h) { return std::vector<HostValue>{h.integer(0), zeros(h, {2, 3}, HW_ORDER_C, true), zeros(h, {2, 3}), h.integer(0), h.integer(0)}; },
         "argument #2, the input data, cannot be read only"},
        {"same rtable twice", [](Host &h) { const HostValue a = zeros(h, {2, 3}); return std::vector<HostValue>{h.integer(2), a, a, h.integer(0), h.integer(0)}; },
         "argument #3, the output data, must not share storage with the input data"},
        {"same vector twice", [](Host &h) { const HostValue a = zeros(h, {4}); return std::vector<HostValue>{h.integer(1), a, a, h.integer(0), h.integer(0)}; },
         "argument #3, the output data, must not share storage with the input data"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Host h;
        const std::vector<HostValue> args = c.args(h);
        std::vector<std::vector<uint8_t>> before;
        for (HostValue a : args)
            if (h.is_rtable(a)) before.push_back(h.bytes(a));
        const refhost::CallResult r = h.call(hwtest::entry("hw_DFT"), args);
        EXPECT_FALSE(r.ok);
        EXPECT_EQ(r.error, c.message);
        EXPECT_TRUE(h.created.empty());
        size_t i = 0;
        for (HostValue a : args)
            if (h.is_rtable(a)) {
                EXPECT_EQ(h.bytes(a), before[i++]);
            }
    }
}

TEST(DftEntry, ShapeIsJudgedBeforeTheTotal) {
    struct Case {
        const char *what;
        std::initializer_list<int32_t> output;
        const char *message;
    };
    const Case cases[] = {
        {"same shape", {2, 2, 2}, "the total data length exceeds the maximum allowable"},
        {"other shape", {2, 2, 3}, "argument #3, the output data, must have the same ordering and dimensions as the input data"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Host h;
        g_huge[0] = zeros(h, {2, 2, 2});
        g_huge[1] = zeros(h, c.output);
        // 2048 x 2048 x 2048 claimed for both: 2^33 elements.
        g_real_upper = reinterpret_cast<host_rtable_upper_fn>(h.kernel()->slot[HOST_SLOT_RTABLE_UPPER]);
        h.kernel()->slot[HOST_SLOT_RTABLE_UPPER] = reinterpret_cast<HostSlot>(&huge_upper);
        const refhost::CallResult r =
            h.call(hwtest::entry("hw_DFT"), {h.integer(0), g_huge[0], g_huge[1], h.integer(0), h.integer(0)});
        EXPECT_EQ(r.error, c.message);
        EXPECT_TRUE(h.created.empty());
    }
}

struct Shape {
    std::initializer_list<int32_t> dims;  // host dimension lengths
    int32_t order;
};

std::vector<size_t> storage_lengths(const Shape &s) {
    std::vector<size_t> lengths(s.dims.begin(), s.dims.end());
    if (s.order != HW_ORDER_C) std::reverse(lengths.begin(), lengths.end());
    return lengths;
}

TEST(DftEntry, TransformsTheChosenDimension) {
    const Shape shapes[] = {{{2, 3}, HW_ORDER_C},        {{2, 3}, refhost::kFortranOrder},
                            {{3, 4, 5}, HW_ORDER_C},     {{3, 4, 5}, refhost::kFortranOrder},
                            {{7}, HW_ORDER_C},           {{5, 1, 2}, HW_ORDER_C}};
    for (const Shape &s : shapes) {
        const std::vector<size_t> lengths = storage_lengths(s);
        const int32_t rank = static_cast<int32_t>(lengths.size());
        for (int32_t d = rank == 1 ? 7 : 1; d <= (rank == 1 ? 7 : rank); ++d)
            for (int32_t inverse : {0, 1}) {
                SCOPED_TRACE(testing::Message() << "rank " << rank << " order " << s.order << " dimension " << d
                                                << " inverse " << inverse);
                Host h;
                size_t total = 1;
                for (size_t l : lengths) total *= l;
                const std::vector<cplx> data = hwtest::random_complex(total, d * 7 + rank);
                const HostValue in = complex_rtable(h, refhost::dims(s.dims), data, s.order);
                const HostValue out = zeros(h, s.dims, s.order);
                const refhost::CallResult r =
                    h.call(hwtest::entry("hw_DFT"), {h.integer(d), in, out, h.integer(inverse), h.integer(0)});
                ASSERT_TRUE(r.ok) << r.error;
                EXPECT_EQ(r.value, h.null());
                const size_t axis = rank == 1 ? 0 : s.order == HW_ORDER_C ? d - 1 : rank - d;
                EXPECT_LT(hwtest::relative_error(hwtest::complexes(h, out),
                                                 hwtest::transform_axis(data, lengths, axis, inverse != 0)),
                          1e-14);
                EXPECT_EQ(hwtest::complexes(h, in), data);
            }
    }
}

TEST(DftEntry, TransformsEveryDimensionThroughTheInput) {
    const struct {
        Shape shape;
        int32_t normalization;
        long double scale;
    } cases[] = {
        {{{2, 3}, HW_ORDER_C}, 0, 1.0L},
        {{{2, 3}, refhost::kFortranOrder}, 2, 1.0L / 6},
        {{{3, 4, 5}, HW_ORDER_C}, 1, 1.0L / std::sqrt(60.0L)},
        {{{3, 4, 5}, refhost::kFortranOrder}, 0, 1.0L},
        {{{1, 4}, HW_ORDER_C}, 2, 0.25L},
        {{{4, 1, 3}, refhost::kFortranOrder}, 2, 1.0L / 12},
    };
    for (const auto &c : cases) {
        const std::vector<size_t> lengths = storage_lengths(c.shape);
        for (int32_t inverse : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "rank " << lengths.size() << " order " << c.shape.order
                                            << " normalization " << c.normalization << " inverse " << inverse);
            Host h;
            size_t total = 1;
            for (size_t l : lengths) total *= l;
            const std::vector<cplx> data = hwtest::random_complex(total, 5);
            const HostValue in = complex_rtable(h, refhost::dims(c.shape.dims), data, c.shape.order);
            const HostValue out = zeros(h, c.shape.dims, c.shape.order);
            const refhost::CallResult r = h.call(hwtest::entry("hw_DFT"),
                                                 {h.integer(0), in, out, h.integer(inverse), h.integer(c.normalization)});
            ASSERT_TRUE(r.ok) << r.error;
            EXPECT_LT(hwtest::relative_error(hwtest::complexes(h, out),
                                             hwtest::transform_all(data, lengths, inverse != 0, c.scale)),
                      1e-14);
            // The input carries every pass but the last, each scaled by its own length.
            std::vector<cplx> carried = data;
            long double carried_scale = 1;
            for (size_t a = 0; a + 1 < lengths.size(); ++a) {
                carried = hwtest::transform_axis(carried, lengths, a, inverse != 0);
                carried_scale *= c.normalization == 0 ? 1.0L
                                 : c.normalization == 1 ? 1.0L / std::sqrt(static_cast<long double>(lengths[a]))
                                                        : 1.0L / lengths[a];
            }
            for (cplx &z : carried) z *= static_cast<double>(carried_scale);
            EXPECT_LT(hwtest::relative_error(hwtest::complexes(h, in), carried), 1e-14);
        }
    }
}

TEST(DftEntry, VectorTransformsOnlyTheFirstElements) {
    Host h;
    const std::vector<cplx> data = hwtest::random_complex(8, 1);
    const std::vector<cplx> output_before = hwtest::random_complex(6, 2);
    const HostValue in = complex_rtable(h, refhost::dims({8}), data);
    const HostValue out = complex_rtable(h, {{0, 5}}, output_before);
    for (int32_t n : {6, 1, 4}) {
        SCOPED_TRACE(testing::Message() << "n " << n);
        const std::vector<cplx> previous = hwtest::complexes(h, out);
        const refhost::CallResult r = h.call(hwtest::entry("hw_DFT"), {h.integer(n), in, out, h.integer(0), h.integer(2)});
        ASSERT_TRUE(r.ok) << r.error;
        const std::vector<cplx> want = hwtest::transform_axis({data.begin(), data.begin() + n}, {size_t(n)}, 0, false,
                                                              1.0L / n);
        const std::vector<cplx> got = hwtest::complexes(h, out);
        EXPECT_LT(hwtest::relative_error({got.begin(), got.begin() + n}, want), 1e-15);
        EXPECT_EQ(std::vector<cplx>(got.begin() + n, got.end()), std::vector<cplx>(previous.begin() + n, previous.end()));
    }
    EXPECT_EQ(hwtest::complexes(h, in), data);
}

TEST(DftEntry, CreatesOneRootsTableForTheLongestLength) {
    const struct {
        const char *what;
        std::initializer_list<int32_t> dims;
        int32_t order, argument1;
        size_t roots;
    } cases[] = {
        {"every dimension of 5 x 8", {5, 8}, HW_ORDER_C, 0, 4},
        {"dimension 1 of 5 x 8", {5, 8}, HW_ORDER_C, 1, 3},
        {"dimension 1 of 5 x 8 in other order", {5, 8}, refhost::kFortranOrder, 1, 3},
        {"dimension 2 of 5 x 8", {5, 8}, HW_ORDER_C, 2, 4},
        {"every dimension of 9 x 2 x 4", {9, 2, 4}, refhost::kFortranOrder, 0, 5},
        {"length 7 of a vector", {10}, HW_ORDER_C, 7, 4},
        {"length 1 of a vector", {10}, HW_ORDER_C, 1, 1},
        {"every dimension of 3 x 0", {3, 0}, HW_ORDER_C, 0, 2},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        Host h;
        const HostValue in = zeros(h, c.dims, c.order), out = zeros(h, c.dims, c.order);
        ASSERT_TRUE(h.call(hwtest::entry("hw_DFT"), {h.integer(c.argument1), in, out, h.integer(0), h.integer(0)}).ok);
        ASSERT_EQ(h.created.size(), 1u);
        const RTableInfo info = h.info(h.created[0]);
        EXPECT_EQ(info.data_type, HW_DATATYPE_COMPLEX);
        EXPECT_EQ(info.storage_type, HW_STORAGE_RECT);
        EXPECT_EQ(h.bounds(h.created[0]), (std::vector<std::pair<int32_t, int32_t>>{{1, int32_t(c.roots)}}));
    }
}

TEST(DftEntry, ZeroLengthsTransformNothing) {
    const struct {
        std::initializer_list<int32_t> dims;
        int32_t argument1;
    } cases[] = {{{3, 0}, 0}, {{3, 0}, 1}, {{0, 4, 2}, 3}, {{}, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "rank " << c.dims.size() << " dimension " << c.argument1);
        Host h;
        const HostValue in = zeros(h, c.dims), out = h.rtable(RTableSpec{refhost::dims(c.dims)});
        std::memset(h.data(out), 0x5A, h.byte_size(out));
        const std::vector<uint8_t> before = h.bytes(out);
        const refhost::CallResult r = h.call(hwtest::entry("hw_DFT"), {h.integer(c.argument1), in, out, h.integer(0), h.integer(2)});
        ASSERT_TRUE(r.ok) << r.error;
        EXPECT_EQ(h.bytes(out), before);
    }
}

TEST(DftEntry, ReadOnlyInputIsReadWhenOnlyOneDimensionIsTransformed) {
    const struct {
        std::initializer_list<int32_t> dims;
        int32_t argument1;
    } cases[] = {{{4}, 3}, {{2, 3}, 2}, {{2, 3}, 1}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "rank " << c.dims.size() << " dimension " << c.argument1);
        Host h;
        const HostValue in = zeros(h, c.dims, HW_ORDER_C, true), out = zeros(h, c.dims);
        EXPECT_TRUE(h.call(hwtest::entry("hw_DFT"), {h.integer(c.argument1), in, out, h.integer(0), h.integer(0)}).ok);
    }
}

TEST(DftEntry, OtherLowerBoundsUseTheLengths) {
    Host h;
    const std::vector<cplx> data = hwtest::random_complex(12, 4);
    const HostValue in = complex_rtable(h, {{0, 2}, {-1, 2}}, data);
    const HostValue out = complex_rtable(h, {{5, 7}, {1, 4}}, std::vector<cplx>(12));
    ASSERT_TRUE(h.call(hwtest::entry("hw_DFT"), {h.integer(2), in, out, h.integer(1), h.integer(0)}).ok);
    EXPECT_LT(hwtest::relative_error(hwtest::complexes(h, out), hwtest::transform_axis(data, {3, 4}, 1, true)), 1e-14);
}

}  // namespace
