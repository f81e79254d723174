// hw_FFT through the reference host: messages in order with every array untouched, results
// against the oracle along the right axis, normalisation, and its working storage.
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
        {"64 dimensions", {I(0), Rank64(), I(0), I(0), I(0), I(0)}, "argument #2, the data, cannot have more than 63 dimensions"},
        {"2^33 elements", {I(1), T({2, 2, 2}, kHuge), I(0), I(0), I(0), I(0)}, "the total data length exceeds the maximum allowable"},
        {"real working storage", {I(14), T({14}), I(0), I(0), I(0), T({100}, R | S)}, "the working storage must have complex datatype"},
        {"sparse working storage", {I(0), T({2, 14}), I(0), I(0), I(0), T({1}, S)}, "the working storage must have rectangular storage"},
        {"13 for 14", {I(14), T({14}), I(0), I(0), I(0), T({13})}, "the working storage must be at least 14 in length"},
        {"2 x 6 for 14", {I(0), T({14, 2}, O), I(0), I(1), I(0), T({2, 6})}, "the working storage must be at least 14 in length"},
        {"100 for 112 out of place", {I(112), T({112}), I(0), I(1), I(0), T({100})}, "the working storage must be at least 112 in length"},
    });
}

// Every mode on arrays of rank 1 to 3 in both orders and both storage flags, against the
// oracle, scaled by the product of the transformed lengths.
TEST(FftEntry, TransformsAlongTheRightAxes) {
    const struct {
        std::vector<int32_t> dims;
        int32_t order;
    } shapes[] = {{{10}, HW_ORDER_C}, {{3, 4}, HW_ORDER_C}, {{3, 4}, refhost::kFortranOrder},
                  {{3, 7, 10}, HW_ORDER_C}, {{3, 7, 10}, refhost::kFortranOrder}, {{4, 1, 13}, refhost::kFortranOrder}};
    for (const auto &s : shapes) {
        const std::vector<size_t> lengths = storage_lengths(s.dims, s.order);
        const size_t rank = lengths.size(), total = element_total(lengths);
        for (size_t d = rank == 1 ? 1 : 0; d <= rank; ++d)
            for (int32_t storage : {0, 1})
                for (int32_t normalization : {0, 1, 2}) {
                    const bool inverse = normalization == 1;
                    SCOPED_TRACE(testing::Message() << "rank " << rank << " order " << s.order << " dimension " << d
                                                    << " storage " << storage << " normalization " << normalization);
                    Host h;
                    const std::vector<cplx> data = random_complex(total, unsigned(d + rank));
                    std::vector<std::pair<int32_t, int32_t>> bounds;
                    for (int32_t l : s.dims) bounds.emplace_back(0, l - 1);
                    const HostValue rt = complex_rtable(h, bounds, data, s.order);
                    const int64_t argument1 = rank == 1 ? 10 : int64_t(d);
                    const refhost::CallResult r = h.call(entry("hw_FFT"), {h.integer(argument1), rt, h.integer(inverse),
                                                                           h.integer(storage), h.integer(normalization), h.integer(0)});
                    ASSERT_TRUE(r.ok) << r.error;
                    EXPECT_EQ(r.value, h.null());
                    const size_t first = d == 0 ? 0 : s.order == HW_ORDER_C ? d - 1 : rank - d;
                    const size_t last = d == 0 ? rank : first + 1;
                    long double n = 1;
                    for (size_t a = first; a < last; ++a) n *= lengths[a];
                    const long double scale = normalization == 0 ? 1.0L : normalization == 1 ? 1.0L / std::sqrt(n) : 1.0L / n;
                    EXPECT_LT(relative_error(complexes(h, rt), transform_axes(data, lengths, first, last, inverse, scale)), 1e-13);
                }
    }
}

TEST(FftEntry, VectorTransformsTheFirstElements) {
    for (int32_t n : {8, 7, 1}) {
        SCOPED_TRACE(testing::Message() << "n " << n);
        Host h;
        const std::vector<cplx> data = random_complex(10, 3);
        const HostValue rt = complex_rtable(h, refhost::dims({10}), data);
        ASSERT_TRUE(h.call(entry("hw_FFT"), {h.integer(n), rt, h.integer(0), h.integer(0), h.integer(2), h.integer(0)}).ok);
        const std::vector<cplx> got = complexes(h, rt);
        EXPECT_LT(relative_error({got.begin(), got.begin() + n},
                                 transform_axis({data.begin(), data.begin() + n}, {size_t(n)}, 0, false, 1.0L / n)),
                  1e-14);
        EXPECT_EQ(std::vector<cplx>(got.begin() + n, got.end()), std::vector<cplx>(data.begin() + n, data.end()));
    }
}

// The working storage: created at the size needed or not at all, or the one given used;
// zero lengths and rank 0 succeed.
TEST(FftEntry, WorkingStorage) {
    const struct {
        const char *what;
        std::vector<int32_t> dims;
        int64_t argument1;
        int32_t storage;
        Arg work;
        int32_t created;  // length of the created rtable, 0 for none
    } cases[] = {
        {"14 in place", {14}, 14, 0, I(0), 14},
        {"14 out of place", {14}, 14, 1, I(0), 14},
        {"112 in place", {112}, 112, 0, I(0), 14},
        {"112 out of place", {112}, 112, 1, I(0), 112},
        {"1024 in place, argument 6 unusable", {1024}, 1024, 0, T({1}, kReal | kSparse), 0},
        {"1024 out of place", {1024}, 1024, 1, I(0), 1024},
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
        const std::vector<HostValue> args = make_args(h, {I(c.argument1), T(c.dims), I(0), I(c.storage), I(2), c.work});
        const std::vector<cplx> data = random_complex(h.element_count(args[1]), 4);
        if (!data.empty()) std::memcpy(h.data(args[1]), data.data(), h.byte_size(args[1]));
        const std::vector<uint8_t> work_before = h.is_rtable(args[5]) ? h.bytes(args[5]) : std::vector<uint8_t>{};
        ASSERT_TRUE(h.call(entry("hw_FFT"), args).ok);
        if (c.created == 0) {
            EXPECT_TRUE(h.created.empty());
        } else {
            ASSERT_EQ(h.created.size(), 1u);
            EXPECT_EQ(h.info(h.created[0]).data_type, HW_DATATYPE_COMPLEX);
            EXPECT_EQ(h.bounds(h.created[0]), (std::vector<std::pair<int32_t, int32_t>>{{1, c.created}}));
        }
        if (c.work.kind == Arg::Table && c.storage == 1) {
            EXPECT_NE(h.bytes(args[5]), work_before);  // the reordering went through it
        }
        const std::vector<size_t> lengths(c.dims.begin(), c.dims.end());
        const size_t first = c.argument1 == 0 || c.dims.size() == 1 ? 0 : size_t(c.argument1 - 1);
        const size_t last = c.argument1 == 0 ? lengths.size() : first + 1;
        if (element_total(lengths) > 0 && !lengths.empty()) {
            const long double n = element_total(std::vector<size_t>(lengths.begin() + first, lengths.begin() + last));
            EXPECT_LT(relative_error(complexes(h, args[1]), transform_axes(data, lengths, first, last, false, 1.0L / n)), 1e-13);
        } else {
            EXPECT_EQ(complexes(h, args[1]), data);  // nothing transformed; rank 0 scaled by 1
        }
    }
}

}  // namespace
