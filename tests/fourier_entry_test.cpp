// hw_FFT and hw_DFT through the reference host: messages in order with every array untouched,
// results against the oracle along the right axes, hw_FFT's working storage and hw_DFT's roots
// table.
#include "fourier_support.h"

namespace {

using namespace hwtest;
using refhost::Host;

constexpr int R = kReal, S = kSparse, O = kOtherOrder, RO = kReadOnly, U = kUnbacked;
// 2^33 elements claimed by bounds alone.
const Arg kHuge = B({{1, 2048}, {1, 2048}, {1, 2048}}, U);
// 1 x 2^32 and 0 x 2^32 elements, and 0 x (2^31 - 2).
const Arg kLong = B({{1, 1}, {INT32_MIN, INT32_MAX}}, U), kEmptyLong = B({{1, 0}, {INT32_MIN, INT32_MAX}}),
          kEmptyWide = B({{1, 0}, {1, 2147483646}});

TEST(FftEntry, RefusesBadArgumentsInOrder) {
    const std::string data = "argument #2, the data, must be an 1-d complex rectangular rtable",
                      inverse = "argument #3, the inverse flag, must be 0 or 1",
                      storage = "argument #4, the storage flag, must be 0 or 1",
                      at_least = "the working storage must be at least ";
    expect_untouched("hw_FFT", {
        {{I(1), T({2}), I(0), I(0), I(0)}, "incorrect number of arguments"},
        {{F(), I(0), F(), I(0), I(0), I(0)}, "argument #1, must be an integer"},
        {{I(1), I(0), F(), I(0), I(0), I(0)}, data},
        {{I(1), T({2}), F(), F(), I(0), I(0)}, inverse},
        {{I(1), T({2}), I(7), F(), F(), I(0)}, storage},
        {{I(1), T({2}), I(7), I(7), F(), I(5)}, "argument #5, the normalization flag, must be 0,1, or 2"},
        {{I(1), T({2}), I(7), I(0), I(0), I(5)}, "argument #6, the working storage, must be 0 or an rtable"},
        {{I(1), T({2}), I(2), I(2), I(0), I(0)}, inverse},
        {{I(1), T({2}), I(-1), I(0), I(0), I(0)}, inverse},
        {{I(1), T({2}), I(1), I(2), I(3), I(0)}, storage},
        {{I(1), T({2}, R), I(1), I(1), I(3), I(0)}, "argument #5, the normalization flag, must be 0,1 or 2"},
        {{I(0), T({2, 2}, R | RO), I(0), I(0), I(0), I(0)}, data},
        {{I(1), T({2}, S | RO), I(0), I(0), I(0), I(0)}, data},
        {{I(0), T({4}, RO), I(0), I(0), I(0), I(0)}, "argument #2, the data, cannot be read only"},
        {{I(0), T({4}), I(0), I(0), I(0), I(0)}, "argument #1, the data length, must be a positive integer"},
        {{I(11), T({10}), I(0), I(0), I(0), I(0)}, "data length specification exceeds storage of input"},
        {{I(-1), T({2, 3}), I(0), I(0), I(0), I(0)}, "argument #1, the transform dimension, must be 0 or the dimension to be transformed"},
        {{I(3), T({2, 3}), I(0), I(0), I(0), I(0)}, "argument #1, the specified transform dimension exceeds the dimensions of the rtable"},
        {{I(0), T(std::vector<int32_t>(64, 1)), I(0), I(0), I(0), I(0)}, "argument #2, the data, cannot have more than 63 dimensions"},
        {{I(1), kHuge, I(0), I(0), I(0), I(0)}, "the total data length exceeds the maximum allowable"},
        {{I(14), T({14}), I(0), I(0), I(0), T({100}, R | S)}, "the working storage must have complex datatype"},
        {{I(0), T({2, 14}), I(0), I(0), I(0), T({1}, S)}, "the working storage must have rectangular storage"},
        {{I(14), T({14}), I(0), I(0), I(0), T({13})}, at_least + "14 in length"},
        {{I(0), T({14, 2}, O), I(0), I(1), I(0), T({2, 6})}, at_least + "14 in length"},
        {{I(14), T({14}), I(0), I(0), I(0), Same(1)}, "argument #6, the working storage, must not share storage with the data"},
        {{I(0), T({3, 7}), I(0), I(1), I(0), Same(1)}, "argument #6, the working storage, must not share storage with the data"},
        {{I(0), kLong, I(0), I(0), I(0), I(0)}, "the total data length exceeds the maximum allowable"},
    });
}

TEST(DftEntry, RefusesBadArgumentsInOrder) {
    const std::string input = "argument #2, the input data, must be a complex rectangular rtable",
                      output = "argument #3, the output data, must be a complex rectangular rtable",
                      shape = "argument #3, the output data, must have the same ordering and dimensions as the input data",
                      normalization = "argument #5, the normalization flag, must be 0,1 or 2";
    expect_untouched("hw_DFT", {
        {{I(1), T({2}), T({2}), I(0)}, "incorrect number of arguments"},
        {{F(), I(0), I(0), I(5), I(5)}, "argument #1 must be an integer"},
        {{I(1), I(0), I(0), I(5), I(5)}, "argument #2, the input data, must be an 1-d complex rectangular rtable"},
        {{I(1), T({2}), N(), F(), I(5)}, "argument #3, the output data, must be an 1-d complex rtable"},
        {{I(1), T({2}), T({2}), F(), F()}, "argument #4, the inverse flag, must be 0 or 1"},
        {{I(1), T({2}), T({2}), I(2), F()}, normalization},
        {{I(1), T({2}), T({2}), I(2), I(3)}, "argument #4, the inverse flag, must be 0 or 1"},
        {{I(1), T({2}, R), T({2}), I(1), I(3)}, normalization},
        {{I(0), T({2}, R), T({2}), I(1), I(2)}, input},
        {{I(0), T({2}, S), T({2}), I(1), I(2)}, input},
        {{I(0), T({2}), T({2}, R), I(0), I(0)}, "argument #1, the data length, must be a positive integer"},
        {{I(9), T({8}), T({6}, RO), I(0), I(0)}, "data length specification exceeds storage of input"},
        {{I(1), T({}), T({}), I(0), I(0)}, "argument #1, the specified transform dimension exceeds the dimensions of the rtable"},
        {{I(1), T({2, 3}), T({2}, R | RO), I(0), I(0)}, output},
        {{I(1), T({2, 3}), T({2}, S | RO), I(0), I(0)}, output},
        {{I(1), T({2, 3}), T({2}, RO), I(0), I(0)}, "argument #3, the output data, cannot be read only"},
        {{I(1), T({2, 3}), T({6}), I(0), I(0)}, shape},
        {{I(1), T({2, 3}), T({2, 3}, O), I(0), I(0)}, shape},
        {{I(7), T({8}), T({6}), I(0), I(0)}, "data length specification exceeds storage of output"},
        {{I(1), T({2, 3}), T({3, 2}), I(0), I(0)}, shape},
        {{I(0), kHuge, B({{1, 2048}, {1, 2047}, {1, 2048}}, U), I(0), I(0)}, shape},
        {{I(0), kHuge, kHuge, I(0), I(0)}, "the total data length exceeds the maximum allowable"},
        {{I(2), kLong, kLong, I(0), I(0)}, "the total data length exceeds the maximum allowable"},
        {{I(1), T(std::vector<int32_t>(64, 1)), T(std::vector<int32_t>(64, 1)), I(0), I(0)}, "argument #2, the input data, cannot have more than 63 dimensions"},
        {{I(0), T({2, 3}, RO), T({2, 3}), I(0), I(0)}, "argument #2, the input data, cannot be read only"},
        {{I(1), T({4}), Same(1), I(0), I(0)}, "argument #3, the output data, must not share storage with the input data"},
    });
}

// A zero length transforms nothing and needs nothing: no working storage, checked or made,
// and no roots table; however long the other dimensions are.
TEST(FourierEntry, ZeroLengthsNeedNothing) {
    expect_untouched("hw_FFT", {{{I(0), kEmptyWide, I(0), I(1), I(0), T({1}, R)}, ""},
                                {{I(2), kEmptyLong, I(0), I(1), I(2), I(0)}, ""}});
    expect_untouched("hw_DFT", {{{I(0), kEmptyWide, kEmptyWide, I(0), I(1)}, ""},
                                {{I(1), kEmptyLong, kEmptyLong, I(0), I(0)}, ""}});
}

// hw_FFT in place and out of place, and hw_DFT into a separate output (shorter for a vector),
// against the oracle: the first elements of a vector, and every dimension or all of arrays of
// rank 2 and 3 in both orders, with every normalisation. hw_DFT leaves its input unchanged
// unless every dimension went through it.
TEST(FourierEntry, TransformsAlongTheRightAxes) {
    const int32_t C = HW_ORDER_C, F = refhost::kFortranOrder;
    const struct { std::vector<int32_t> dims; int32_t order; std::vector<int64_t> arguments; } shapes[] = {
        {{10}, C, {8, 7, 1}},          {{3, 4}, C, {0, 1, 2}},         {{3, 4}, F, {0, 1, 2}},
        {{3, 7, 10}, C, {0, 1, 2, 3}}, {{3, 7, 10}, F, {0, 1, 2, 3}}, {{4, 1, 13}, F, {0, 1, 2, 3}}};
    for (const auto &s : shapes)
        for (int64_t argument1 : s.arguments)
            for (int32_t normalization : {0, 1, 2})
                for (int32_t storage : {0, 1, -1}) {  // -1 for hw_DFT
                    SCOPED_TRACE(testing::Message() << "rank " << s.dims.size() << " order " << s.order << " argument "
                                                    << argument1 << " normalization " << normalization
                                                    << " storage " << storage);
                    const bool inverse = normalization == 1, dft = storage < 0, vector = s.dims.size() == 1;
                    Host h;
                    const std::vector<cplx> data = random_complex(element_total(s.dims), unsigned(argument1 + 3));
                    const HostValue in = complex_rtable(h, s.dims, data, s.order);
                    std::vector<cplx> want = dft ? random_complex(vector ? 8 : data.size(), 9) : data;
                    const HostValue out =
                        dft ? complex_rtable(h, vector ? std::vector<int32_t>{8} : s.dims, want, s.order) : in;
                    const HostValue a = h.integer(argument1), i = h.integer(inverse), n = h.integer(normalization);
                    const refhost::CallResult r = dft ? h.call(entry("hw_DFT"), {a, in, out, i, n})
                                                      : h.call(entry("hw_FFT"), {a, in, i, h.integer(storage), n, h.integer(0)});
                    ASSERT_TRUE(r.ok) << r.error;
                    EXPECT_EQ(r.value, h.null());
                    const std::vector<cplx> result =
                        entry_oracle(data, s.dims, s.order, argument1, inverse, normalization);
                    std::copy_n(result.begin(), vector ? argument1 : int64_t(result.size()), want.begin());
                    EXPECT_LT(relative_error(complexes(h, out), want), 1e-13);
                    if (dft) {
                        EXPECT_LT(relative_error(complexes(h, in), vector ? data : entry_oracle(data, s.dims, s.order, argument1,
                                                                                                inverse, normalization, true)),
                                  1e-13);
                    }
                }
}

// The working storage: created at the size needed or not at all, or the one given used
// whatever its order and flags; zero lengths and rank 0 succeed. hw_FFT normalises by 1/N.
TEST(FftEntry, WorkingStorage) {
    const struct {  // created: length of the created rtable, 0 for none
        std::vector<int32_t> dims; int64_t argument1; int32_t storage; Arg work; int32_t created;
    } cases[] = {
        {{112}, 112, 0, I(0), 14},
        {{112}, 112, 1, I(0), 112},
        {{1024}, 1024, 0, T({1}, R | S), 0},
        {{1024}, 1024, 0, Same(1), 0},
        {{3, 4, 5}, 0, 0, I(0), 0},
        {{3, 4, 5}, 0, 1, I(0), 5},
        {{7, 22}, 0, 0, I(0), 22},
        {{7, 22}, 1, 0, I(0), 14},
        {{1, 13}, 1, 1, I(0), 0},
        {{112}, 112, 1, T({8, 14}, O | RO), 0},
        {{3, 0}, 0, 1, I(0), 0},
        {{}, 0, 1, I(0), 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "rank " << c.dims.size() << " argument " << c.argument1 << " storage "
                                        << c.storage);
        Host h;
        const std::vector<cplx> data = random_complex(element_total(c.dims), 4);
        const std::vector<HostValue> args = make_args(
            h, {I(c.argument1), T(c.dims, 0, as_doubles(data)), I(0),
                I(c.storage), I(2), c.work});
        const std::vector<uint8_t> work_before = h.is_rtable(args[5]) ? h.bytes(args[5]) : std::vector<uint8_t>{};
        ASSERT_TRUE(h.call(entry("hw_FFT"), args).ok);
        EXPECT_LT(relative_error(complexes(h, args[1]), entry_oracle(data, c.dims, HW_ORDER_C, c.argument1, false, 2)),
                  1e-13);
        ASSERT_EQ(h.created.size(), c.created ? 1u : 0u);
        if (c.created) {
            EXPECT_EQ(h.info(h.created[0]).data_type, HW_DATATYPE_COMPLEX);
            EXPECT_EQ(h.bounds(h.created[0]), (Bounds{{1, c.created}}));
        }
        if (c.work.kind == Arg::Table && c.storage == 1) {
            EXPECT_NE(h.bytes(args[5]), work_before);  // reordered through it
        }
    }
}

// One roots table of (M + 1) / 2 elements for the longest transformed length M (none, -1,
// when a length is 0); zero lengths and rank 0 succeed without touching the output; a
// read-only input is fine for one dimension.
TEST(DftEntry, RootsTableAndDegenerateShapes) {
    const struct { std::vector<int32_t> dims; int flags; int64_t argument1; int32_t roots; } cases[] = {
        {{5, 8}, 0, 0, 4}, {{9, 2, 4}, 0, 0, 5}, {{5, 8}, O | RO, 1, 3}, {{10}, RO, 7, 4},
        {{3, 0}, 0, 0, -1}, {{0, 4, 2}, 0, 3, -1}, {{}, 0, 0, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "rank " << c.dims.size() << " flags " << c.flags << " argument "
                                        << c.argument1);
        Host h;
        const std::vector<HostValue> args =
            make_args(h, {I(c.argument1), T(c.dims, c.flags), T(c.dims, c.flags & O), I(0), I(0)});
        const std::vector<uint8_t> output_before = h.bytes(args[2]);
        const refhost::CallResult r = h.call(entry("hw_DFT"), args);
        ASSERT_TRUE(r.ok) << r.error;
        ASSERT_EQ(h.created.size(), c.roots < 0 ? 0u : 1u);
        if (c.roots >= 0) {
            EXPECT_EQ(h.info(h.created[0]).data_type, HW_DATATYPE_COMPLEX);
            EXPECT_EQ(h.bounds(h.created[0]), (Bounds{{1, c.roots}}));
        }
        if (element_total(c.dims) <= 1) {
            EXPECT_EQ(h.bytes(args[2]), output_before);
        }
    }
}

}  // namespace
