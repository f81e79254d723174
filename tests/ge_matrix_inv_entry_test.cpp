// hw_GEMatrixInv through the reference host: messages in order with the data untouched,
// results, and the host calls it makes.
#include "host_fixture.h"

namespace {

using namespace hwtest;
using refhost::Host;

TEST(GEMatrixInvEntry, RefusesBadArgumentsInOrder) {
    const char *count = "incorect number of arguments, GEMatrixInv takes 1 argument",
               *singular = "the given matrix cannot be solved";
    expect_untouched("hw_GEMatrixInv", {
        {{}, count},
        {{T({1, 2}, kReal), I(1)}, count},
        {{I(1)}, "argument #1 must be an rtable"},
        {{T({1, 2}, kSparse | kOtherOrder)}, "argument #1 must be an rtable with RTABLE_RECT storage"},
        {{T({1, 2, 1}, kOtherOrder)}, "argument #1, the the first output variable, must be an rtable of datatype double"},
        {{T({2}, kReal | kOtherOrder)}, "argument #1 must be a two dimensional rtable"},
        {{T({1, 2}, kReal | kOtherOrder)}, "argument #1 must be an rtable with C_order order type"},
        {{T({2, 4}, kReal, {0, 0, 1, 0, 0, 0, 0, 1})}, singular},
        {{T({3, 2}, kReal, {1, 2, 3, 4, 5, 6})}, singular},  // fewer columns than rows
    });
}

// Results in place: a permutation, a square matrix without the identity block left alone,
// bounds other than 1 read as lengths, and an ill-conditioned inverse left in place.
TEST(GEMatrixInvEntry, InvertsInPlace) {
    const struct { Bounds bounds; std::vector<double> before, after; const char *error; } cases[] = {
        {{{1, 2}, {1, 4}}, {0, 1, 1, 0, 1, 0, 0, 1}, {1, 0, 0, 1, 0, 1, 1, 0}, ""},
        {{{1, 2}, {1, 2}}, {3, 1, 4, 1}, {3, 1, 4, 1}, ""},
        {{{0, 1}, {-1, 2}}, {2, 0, 1, 0, 0, 4, 0, 1}, {1, 0, 0.5, 0, 0, 1, 0, 0.25}, ""},
        {{{1, 2}, {1, 4}}, {1, 1, 1, 0, 1, 1 + 1e-12, 0, 1}, {}, "problem is ill conditioned, result may be meaningless"},
    };
    for (const auto &c : cases) {
        Host h;
        const HostValue m = make_args(h, {B(c.bounds, kReal)})[0];
        std::memcpy(h.data(m), c.before.data(), h.byte_size(m));
        const refhost::CallResult r = h.call(entry("hw_GEMatrixInv"), {m});
        EXPECT_EQ(r.error, c.error);
        if (r.ok) {
            EXPECT_EQ(r.value, h.null());
            EXPECT_EQ(doubles(h, m), c.after);
        } else {
            EXPECT_EQ(doubles(h, m)[0], 1.0);
            EXPECT_NEAR(doubles(h, m)[2] / 1e12, 1.0, 1e-3);
        }
    }
    Host h;
    h.call(entry("hw_GEMatrixInv"), make_args(h, {T({1, 2}, kReal, {2, 1})}));
    EXPECT_EQ(h.log, (std::vector<std::string>{"host_arg_count", "host_is_rtable", "host_rtable_info",
                                               "host_rtable_data", "host_rtable_upper", "host_rtable_upper",
                                               "host_rtable_lower", "host_rtable_lower", "host_null"}));
}

}  // namespace
