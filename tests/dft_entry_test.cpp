// hw_DFT through the reference host: messages in order with every array untouched, results
// against the oracle along the right axis, and the roots table it creates.
#include "fourier_support.h"

namespace {

using namespace hwtest;
using refhost::Host;

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
        {"64 dimensions", {I(1), Rank64(), Rank64(), I(0), I(0)}, "argument #2, the input data, cannot have more than 63 dimensions"},
        {"read-only input, all", {I(0), T({2, 3}, RO), T({2, 3}), I(0), I(0)}, "argument #2, the input data, cannot be read only"},
        {"same rtable twice", {I(2), T({2, 3}), Same(1), I(0), I(0)}, "argument #3, the output data, must not share storage with the input data"},
        {"same vector twice", {I(1), T({4}), Same(1), I(0), I(0)}, "argument #3, the output data, must not share storage with the input data"},
    });
}

// Every mode on arrays of rank 1 to 3 in both orders: the output against the oracle, and
// the input unchanged unless every dimension went through it.
TEST(DftEntry, TransformsAlongTheRightAxes) {
    const struct {
        std::vector<int32_t> dims;
        int32_t order;
    } shapes[] = {{{7}, HW_ORDER_C}, {{2, 3}, HW_ORDER_C}, {{2, 3}, refhost::kFortranOrder},
                  {{3, 4, 5}, HW_ORDER_C}, {{3, 4, 5}, refhost::kFortranOrder}, {{4, 1, 3}, refhost::kFortranOrder}};
    for (const auto &s : shapes) {
        const std::vector<size_t> lengths = storage_lengths(s.dims, s.order);
        const size_t rank = lengths.size(), total = element_total(lengths);
        for (size_t d = rank == 1 ? 1 : 0; d <= rank; ++d)
            for (int32_t normalization : {0, 1, 2}) {
                const bool inverse = normalization == 1;
                SCOPED_TRACE(testing::Message() << "rank " << rank << " order " << s.order << " dimension " << d
                                                << " normalization " << normalization);
                Host h;
                const std::vector<cplx> data = random_complex(total, unsigned(d + rank));
                std::vector<std::pair<int32_t, int32_t>> bounds;
                for (int32_t l : s.dims) bounds.emplace_back(-1, l - 2);  // lengths, not upper bounds
                const HostValue in = complex_rtable(h, bounds, data, s.order);
                const HostValue out = complex_rtable(h, bounds, std::vector<cplx>(total), s.order);
                const int64_t argument1 = rank == 1 ? 7 : int64_t(d);
                const refhost::CallResult r = h.call(entry("hw_DFT"), {h.integer(argument1), in, out,
                                                                       h.integer(inverse), h.integer(normalization)});
                ASSERT_TRUE(r.ok) << r.error;
                EXPECT_EQ(r.value, h.null());
                const size_t first = d == 0 ? 0 : s.order == HW_ORDER_C ? d - 1 : rank - d;
                const size_t last = d == 0 ? rank : first + 1;
                long double scale = 1, carried_scale = 1;  // each pass scales by its own length
                for (size_t a = first; a < last; ++a) {
                    const long double f = normalization == 0 ? 1.0L
                                          : normalization == 1 ? 1.0L / std::sqrt(static_cast<long double>(lengths[a]))
                                                               : 1.0L / lengths[a];
                    scale *= f;
                    if (a + 1 < last) carried_scale *= f;
                }
                EXPECT_LT(relative_error(complexes(h, out), transform_axes(data, lengths, first, last, inverse, scale)), 1e-14);
                const std::vector<cplx> carried =
                    d == 0 && rank >= 2 ? transform_axes(data, lengths, 0, rank - 1, inverse, carried_scale) : data;
                EXPECT_LT(relative_error(complexes(h, in), carried), 1e-14);
            }
    }
}

TEST(DftEntry, VectorWritesOnlyTheFirstElements) {
    Host h;
    const std::vector<cplx> data = random_complex(8, 1);
    const HostValue in = complex_rtable(h, refhost::dims({8}), data);
    const HostValue out = complex_rtable(h, refhost::dims({6}), random_complex(6, 2));
    for (int32_t n : {6, 1, 4}) {
        SCOPED_TRACE(testing::Message() << "n " << n);
        const std::vector<cplx> before = complexes(h, out);
        ASSERT_TRUE(h.call(entry("hw_DFT"), {h.integer(n), in, out, h.integer(0), h.integer(0)}).ok);
        const std::vector<cplx> got = complexes(h, out);
        EXPECT_LT(relative_error({got.begin(), got.begin() + n},
                                 transform_axis({data.begin(), data.begin() + n}, {size_t(n)}, 0, false)),
                  1e-15);
        EXPECT_EQ(std::vector<cplx>(got.begin() + n, got.end()), std::vector<cplx>(before.begin() + n, before.end()));
    }
}

// One roots table of (M + 1) / 2 elements for the longest transformed length M; zero
// lengths succeed without touching the output; a read-only input is fine for one dimension.
TEST(DftEntry, RootsTableAndDegenerateShapes) {
    const struct {
        std::vector<int32_t> dims;
        int flags;
        int64_t argument1;
        int32_t roots;
    } cases[] = {
        {{5, 8}, 0, 0, 4},       {{5, 8}, 0, 1, 3},       {{5, 8}, kOtherOrder, 2, 4}, {{5, 8}, kReadOnly, 2, 4},
        {{9, 2, 4}, 0, 0, 5},    {{10}, kReadOnly, 7, 4}, {{10}, 0, 1, 1},              {{3, 0}, 0, 0, 2},
        {{3, 0}, 0, 1, 2},       {{0, 4, 2}, 0, 3, 1},    {{}, 0, 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "rank " << c.dims.size() << " flags " << c.flags << " argument " << c.argument1);
        Host h;
        const std::vector<HostValue> args = make_args(h, {I(c.argument1), T(c.dims, c.flags), T(c.dims, c.flags & kOtherOrder), I(0), I(0)});
        const std::vector<uint8_t> output_before = h.bytes(args[2]);
        const refhost::CallResult r = h.call(entry("hw_DFT"), args);
        ASSERT_TRUE(r.ok) << r.error;
        ASSERT_EQ(h.created.size(), 1u);
        EXPECT_EQ(h.info(h.created[0]).data_type, HW_DATATYPE_COMPLEX);
        EXPECT_EQ(h.bounds(h.created[0]), (std::vector<std::pair<int32_t, int32_t>>{{1, c.roots}}));
        if (h.element_count(args[1]) == 0 || c.dims.empty()) {
            EXPECT_EQ(h.bytes(args[2]), output_before);
        }
    }
}

}  // namespace
