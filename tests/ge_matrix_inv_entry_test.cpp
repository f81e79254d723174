// hw_GEMatrixInv through the reference host: messages in order with the data untouched,
// results, and the host calls it makes.
#include "host_fixture.h"

namespace {

using refhost::Host;
using refhost::RTableSpec;

HostValue matrix(Host &h, const std::vector<double> &values, int32_t rows, int32_t cols) {
    return hwtest::double_rtable(h, refhost::dims({rows, cols}), values);
}

TEST(GEMatrixInvEntry, RefusesBadArgumentsInOrder) {
    struct Case {
        const char *what;
        std::vector<HostValue> (*args)(Host &);
        const char *message;
    };
    const Case cases[] = {
        {"no argument", [](Host &) { return std::vector<HostValue>{}; },
         "incorect number of arguments, GEMatrixInv takes 1 argument"},
        {"two arguments", [](Host &h) { return std::vector<HostValue>{matrix(h, {2, 1}, 1, 2), h.integer(1)}; },
         "incorect number of arguments, GEMatrixInv takes 1 argument"},
        {"an integer", [](Host &h) { return std::vector<HostValue>{h.integer(1)}; },
         "argument #1 must be an rtable"},
        {"sparse complex", [](Host &h) {
             RTableSpec s{refhost::dims({1, 2}), HW_DATATYPE_COMPLEX, refhost::kSparseStorage, 2, false};
             return std::vector<HostValue>{h.rtable(s)};
         }, "argument #1 must be an rtable with RTABLE_RECT storage"},
        {"complex rank 3", [](Host &h) {
             RTableSpec s{refhost::dims({1, 2, 1}), HW_DATATYPE_COMPLEX, HW_STORAGE_RECT, 2, false};
             return std::vector<HostValue>{h.rtable(s)};
         }, "argument #1, the the first output variable, must be an rtable of datatype double"},
        {"rank 1 in other order", [](Host &h) {
             RTableSpec s{refhost::dims({2}), HW_DATATYPE_DOUBLE, HW_STORAGE_RECT, refhost::kFortranOrder, false};
             return std::vector<HostValue>{h.rtable(s)};
         }, "argument #1 must be a two dimensional rtable"},
        {"other order", [](Host &h) {
             RTableSpec s{refhost::dims({1, 2}), HW_DATATYPE_DOUBLE, HW_STORAGE_RECT, refhost::kFortranOrder, false};
             return std::vector<HostValue>{h.rtable(s)};
         }, "argument #1 must be an rtable with C_order order type"},
        {"singular", [](Host &h) { return std::vector<HostValue>{matrix(h, {0, 0, 1, 0, 0, 0, 0, 1}, 2, 4)}; },
         "the given matrix cannot be solved"},
        {"fewer columns than rows", [](Host &h) { return std::vector<HostValue>{matrix(h, {1, 2, 3, 4, 5, 6}, 3, 2)}; },
         "the given matrix cannot be solved"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Host h;
        const std::vector<HostValue> args = c.args(h);
        std::vector<std::vector<uint8_t>> before;
        for (HostValue a : args)
            if (h.is_rtable(a)) before.push_back(h.bytes(a));
        const refhost::CallResult r = h.call(hwtest::entry("hw_GEMatrixInv"), args);
        EXPECT_FALSE(r.ok);
        EXPECT_EQ(r.error, c.message);
        size_t i = 0;
        for (HostValue a : args) {
            if (h.is_rtable(a)) {
                EXPECT_EQ(h.bytes(a), before[i++]);
            }
        }
    }
}

TEST(GEMatrixInvEntry, InvertsInPlace) {
    Host h;
    const HostValue m = matrix(h, {0, 1, 1, 0, 1, 0, 0, 1}, 2, 4);
    const refhost::CallResult r = h.call(hwtest::entry("hw_GEMatrixInv"), {m});
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.value, h.null());
    EXPECT_EQ(hwtest::doubles(h, m), (std::vector<double>{1, 0, 0, 1, 0, 1, 1, 0}));
    EXPECT_EQ(h.log, (std::vector<std::string>{"host_arg_count", "host_is_rtable", "host_rtable_info",
                                               "host_rtable_data", "host_rtable_upper", "host_rtable_upper",
                                               "host_rtable_lower", "host_rtable_lower", "host_null"}));
}

TEST(GEMatrixInvEntry, IllConditionedLeavesTheInverse) {
    Host h;
    const HostValue m = matrix(h, {1, 1, 1, 0, 1, 1 + 1e-12, 0, 1}, 2, 4);
    const refhost::CallResult r = h.call(hwtest::entry("hw_GEMatrixInv"), {m});
    EXPECT_EQ(r.error, "problem is ill conditioned, result may be meaningless");
    const std::vector<double> v = hwtest::doubles(h, m);
    EXPECT_EQ(v[0], 1.0);
    EXPECT_NEAR(v[2] / 1e12, 1.0, 1e-3);
}

TEST(GEMatrixInvEntry, SquareMatrixWithoutIdentityIsLeftAlone) {
    Host h;
    const HostValue m = matrix(h, {3, 1, 4, 1}, 2, 2);
    EXPECT_TRUE(h.call(hwtest::entry("hw_GEMatrixInv"), {m}).ok);
    EXPECT_EQ(hwtest::doubles(h, m), (std::vector<double>{3, 1, 4, 1}));
}

TEST(GEMatrixInvEntry, OtherLowerBoundsUseTheDimensionLengths) {
    // Bounds 0..1 by -1..2: a 2 x 4 matrix whose upper bounds (1 and 2) are not its lengths.
    Host h;
    const HostValue m = hwtest::double_rtable(h, {{0, 1}, {-1, 2}}, {2, 0, 1, 0, 0, 4, 0, 1});
    ASSERT_TRUE(h.call(hwtest::entry("hw_GEMatrixInv"), {m}).ok);
    EXPECT_EQ(hwtest::doubles(h, m), (std::vector<double>{1, 0, 0.5, 0, 0, 1, 0, 0.25}));
}

}  // namespace
