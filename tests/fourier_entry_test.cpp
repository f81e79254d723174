// hw_FFT and hw_DFT through the reference host: messages in order with every array untouched,
// results against the oracle along the right axes, hw_FFT's working storage and hw_DFT's roots
// table.
#include "fourier_support.h"

namespace {

using namespace hwtest;
using refhost::Host;

TEST(FftEntry, RefusesBadArgumentsInOrder) {
    const int R = kReal, S = kSparse, O = kOtherOrder, RO = kReadOnly;
    expect_refusals("hw_FFT", {
        {"five arguments", {I(1), T({2}), I(0), I(0), I(0)}, "incorrect number of arguments"},
        {"float first", {F(), I(0), F(), I(0), I(0), I(0)}, "argument #1, must be an integer"},
        {"data an integer", {I(1), I(0), F(), I(0), I(0), I(0)}, "argument #2, the data, must be an 1-d complex rectangular rtable"},
        {"float inverse", {I(1), T({2}), F(), F(), I(0), I(0)}, "argument #3, the inverse flag, must be 0 or 1"},
        {"float storage", {I(1), T({2}), I(7), F(), F(), I(0)}, "argument #4, the storage flag, must be 0 or 1"},
        {"float normalization", {I(1), T({2}), I(7), I(7), F(), I(5)}, "argument #5, the normalization flag, must be 0,1, or 2"},
        {"working storage 5", {I(1), T({2}), I(7), I(0), I(0), I(5)}, "argument #6, the working storage, must be 0 or an rtable"},
        {"inverse 2", {I(1), T({2}), I(2), I(2), I(0), I(0)}, "argument #3, the inverse flag, must be 0 or 1"},
        {"inverse -1", {I(1), T({2}), I(-1), I(0), I(0), I(0)}, "argument #3, the inverse flag, must be 0 or 1"},
        {"storage 2", {I(1), T({2}), I(1), I(2), I(3), I(0)}, "argument #4, the storage flag, must be 0 or 1"},
        {"normalization 3", {I(1), T({2}, R), I(1), I(1), I(3), I(0)}, "argument #5, the normalization flag, must be 0,1 or 2"},
        {"real rank 2", {I(0), T({2, 2}, R | RO), I(0), I(0), I(0), I(0)}, "argument #2, the data, must be an 1-d complex rectangular rtable"},
        {"sparse", {I(1), T({2}, S | RO), I(0), I(0), I(0), I(0)}, "argument #2, the data, must be an 1-d complex rectangular rtable"},
        {"read only", {I(0), T({4}, RO), I(0), I(0), I(0), I(0)}, "argument #2, the data, cannot be read only"},
        {"length 0", {I(0), T({4}), I(0), I(0), I(0), I(0)}, "argument #1, the data length, must be a positive integer"},
        {"length 11 of 10", {I(11), T({10}), I(0), I(0), I(0), I(0)}, "data length specification exceeds storage of input"},
        {"dimension -1", {I(-1), T({2, 3}), I(0), I(0), I(0), I(0)}, "argument #1, the transform dimension, must be 0 or the dimension to be transformed"},
        {"dimension 3 of 2", {I(3), T({2, 3}), I(0), I(0), I(0), I(0)}, "argument #1, the specified transform dimension exceeds the dimensions of the rtable"},
        {"64 dimensions", {I(0), T(std::vector<int32_t>(64, 1)), I(0), I(0), I(0), I(0)}, "argument #2, the data, cannot have more than 63 dimensions"},
        {"2^33 elements", {I(1), T({2, 2, 2}, kHuge), I(0), I(0), I(0), I(0)}, "the total data length exceeds the maximum allowable"},
        {"real working storage", {I(14), T({14}), I(0), I(0), I(0), T({100}, R | S)}, "the working storage must have complex datatype"},
        {"sparse working storage", {I(0), T({2, 14}), I(0), I(0), I(0), T({1}, S)}, "the working storage must have rectangular storage"},
        {"13 for 14", {I(14), T({14}), I(0), I(0), I(0), T({13})}, "the working storage must be at least 14 in length"},
        {"2 x 6 for 14", {I(0), T({14, 2}, O), I(0), I(1), I(0), T({2, 6})}, "the working storage must be at least 14 in length"},
        {"100 for 112 out of place", {I(112), T({112}), I(0), I(1), I(0), T({100})}, "the working storage must be at least 112 in length"},
    });
}

TEST(DftEntry, RefusesBadArgumentsInOrder) {
    const int R = kReal, S = kSparse, O = kOtherOrder, RO = kReadOnly;
    expect_refusals("hw_DFT", {
        {"four arguments", {I(1), T({2}), T({2}), I(0)}, "incorrect number of arguments"},
        {"float length", {F(), I(0), I(0), I(5), I(5)}, "argument #1 must be an integer"},
        {"input an integer", {I(1), I(0), I(0), I(5), I(5)}, "argument #2, the input data, must be an 1-d complex rectangular rtable"},
        {"output a name", {I(1), T({2}), N(), F(), I(5)}, "argument #3, the output data, must be an 1-d complex rtable"},
        {"float inverse flag", {I(1), T({2}), T({2}), F(), F()}, "argument #4, the inverse flag, must be 0 or 1"},
        {"float normalization", {I(1), T({2}), T({2}), I(2), F()}, "argument #5, the normalization flag, must be 0,1 or 2"},
        {"inverse flag 2", {I(1), T({2}), T({2}), I(2), I(3)}, "argument #4, the inverse flag, must be 0 or 1"},
        {"normalization 3", {I(1), T({2}, R), T({2}), I(1), I(3)}, "argument #5, the normalization flag, must be 0,1 or 2"},
        {"real input", {I(0), T({2}, R), T({2}), I(1), I(2)}, "argument #2, the input data, must be a complex rectangular rtable"},
        {"sparse input", {I(0), T({2}, S), T({2}), I(1), I(2)}, "argument #2, the input data, must be a complex rectangular rtable"},
        {"length 0", {I(0), T({2}), T({2}, R), I(0), I(0)}, "argument #1, the data length, must be a positive integer"},
        {"length 9 of 8", {I(9), T({8}), T({6}, RO), I(0), I(0)}, "data length specification exceeds storage of input"},
        {"dimension -1", {I(-1), T({2, 3}), T({2}), I(0), I(0)}, "argument #1, the transform dimension, must be 0 or the dimension to be transformed"},
        {"dimension 3 of 2", {I(3), T({2, 3}), T({2}), I(0), I(0)}, "argument #1, the specified transform dimension exceeds the dimensions of the rtable"},
        {"dimension 1 of rank 0", {I(1), T({}), T({}), I(0), I(0)}, "argument #1, the specified transform dimension exceeds the dimensions of the rtable"},
        {"real output", {I(1), T({2, 3}), T({2}, R | RO), I(0), I(0)}, "argument #3, the output data, must be a complex rectangular rtable"},
        {"sparse output", {I(1), T({2, 3}), T({2}, S | RO), I(0), I(0)}, "argument #3, the output data, must be a complex rectangular rtable"},
        {"read-only output", {I(1), T({2, 3}), T({2}, RO), I(0), I(0)}, "argument #3, the output data, cannot be read only"},
        {"output of rank 1", {I(1), T({2, 3}), T({6}), I(0), I(0)}, "argument #3, the output data, must have the same ordering and dimensions as the input data"},
        {"output in other order", {I(1), T({2, 3}), T({2, 3}, O), I(0), I(0)}, "argument #3, the output data, must have the same ordering and dimensions as the input data"},
        {"length 7, output 6", {I(7), T({8}), T({6}), I(0), I(0)}, "data length specification exceeds storage of output"},
        {"output transposed", {I(1), T({2, 3}), T({3, 2}), I(0), I(0)}, "argument #3, the output data, must have the same ordering and dimensions as the input data"},
        {"shape before total", {I(0), T({2, 2, 2}, kHuge), T({2, 3, 2}, kHuge), I(0), I(0)}, "argument #3, the output data, must have the same ordering and dimensions as the input data"},
        {"2^33 elements", {I(0), T({2, 2, 2}, kHuge), T({2, 2, 2}, kHuge), I(0), I(0)}, "the total data length exceeds the maximum allowable"},
        {"64 dimensions", {I(1), T(std::vector<int32_t>(64, 1)), T(std::vector<int32_t>(64, 1)), I(0), I(0)}, "argument #2, the input data, cannot have more than 63 dimensions"},
        {"read-only input, all", {I(0), T({2, 3}, RO), T({2, 3}), I(0), I(0)}, "argument #2, the input data, cannot be read only"},
        {"same rtable twice", {I(2), T({2, 3}), Same(1), I(0), I(0)}, "argument #3, the output data, must not share storage with the input data"},
        {"same vector twice", {I(1), T({4}), Same(1), I(0), I(0)}, "argument #3, the output data, must not share storage with the input data"},
    });
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

// The working storage: created at the size needed or not at all, or the one given used;
// zero lengths and rank 0 succeed.
TEST(FftEntry, WorkingStorage) {
    const struct {  // created: length of the created rtable, 0 for none
        const char *what; std::vector<int32_t> dims; int64_t argument1; int32_t storage; Arg work; int32_t created;
    } cases[] = {
        {"112 in place", {112}, 112, 0, I(0), 14},
        {"112 out of place", {112}, 112, 1, I(0), 112},
        {"1024 in place, argument 6 unusable", {1024}, 1024, 0, T({1}, kReal | kSparse), 0},
        {"3 x 4 x 5 in place", {3, 4, 5}, 0, 0, I(0), 0},
        {"3 x 4 x 5 out of place", {3, 4, 5}, 0, 1, I(0), 5},
        {"7 x 22", {7, 22}, 0, 0, I(0), 22},
        {"7 x 22, dimension 1", {7, 22}, 1, 0, I(0), 14},
        {"1 x 13, dimension 1", {1, 13}, 1, 1, I(0), 0},
        {"given 112", {112}, 112, 1, T({112}), 0},
        {"given 8 x 14, other order, read only", {112}, 112, 1, T({8, 14}, kOtherOrder | kReadOnly), 0},
        {"3 x 0", {3, 0}, 0, 1, I(0), 3},
        {"0 x 4 x 2, dimension 3", {0, 4, 2}, 3, 0, I(0), 0},
        {"rank 0", {}, 0, 1, I(0), 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        Host h;
        const HostValue work = make_args(h, {c.work})[0];
        const std::vector<uint8_t> work_before = h.is_rtable(work) ? h.bytes(work) : std::vector<uint8_t>{};
        const std::vector<cplx> data = random_complex(element_total(c.dims), 4);
        const HostValue rt = complex_rtable(h, c.dims, data);
        ASSERT_TRUE(h.call(entry("hw_FFT"),
                           {h.integer(c.argument1), rt, h.integer(0), h.integer(c.storage), h.integer(2), work}).ok);
        EXPECT_LT(relative_error(complexes(h, rt), entry_oracle(data, c.dims, HW_ORDER_C, c.argument1, false, 2)),
                  1e-13);
        ASSERT_EQ(h.created.size(), c.created ? 1u : 0u);
        if (c.created) {
            EXPECT_EQ(h.info(h.created[0]).data_type, HW_DATATYPE_COMPLEX);
            EXPECT_EQ(h.bounds(h.created[0]), (std::vector<std::pair<int32_t, int32_t>>{{1, c.created}}));
        }
        if (c.work.kind == Arg::Table && c.storage == 1) {
            EXPECT_NE(h.bytes(work), work_before);  // the reordering went through it
        }
    }
}

// One roots table of (M + 1) / 2 elements for the longest transformed length M; zero
// lengths and rank 0 succeed without touching the output; a read-only input is fine for one
// dimension.
TEST(DftEntry, RootsTableAndDegenerateShapes) {
    const struct { std::vector<int32_t> dims; int flags; int64_t argument1; int32_t roots; } cases[] = {
        {{5, 8}, 0, 0, 4}, {{9, 2, 4}, 0, 0, 5}, {{5, 8}, kOtherOrder | kReadOnly, 1, 3}, {{10}, kReadOnly, 7, 4},
        {{3, 0}, 0, 0, 2}, {{0, 4, 2}, 0, 3, 1}, {{}, 0, 0, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "rank " << c.dims.size() << " flags " << c.flags << " argument "
                                        << c.argument1);
        Host h;
        const std::vector<HostValue> args =
            make_args(h, {I(c.argument1), T(c.dims, c.flags), T(c.dims, c.flags & kOtherOrder), I(0), I(0)});
        const std::vector<uint8_t> output_before = h.bytes(args[2]);
        const refhost::CallResult r = h.call(entry("hw_DFT"), args);
        ASSERT_TRUE(r.ok) << r.error;
        ASSERT_EQ(h.created.size(), 1u);
        EXPECT_EQ(h.info(h.created[0]).data_type, HW_DATATYPE_COMPLEX);
        EXPECT_EQ(h.bounds(h.created[0]), (std::vector<std::pair<int32_t, int32_t>>{{1, c.roots}}));
        if (element_total(c.dims) <= 1) {
            EXPECT_EQ(h.bytes(args[2]), output_before);
        }
    }
}

}  // namespace
