// Composite: argument checks in order, the padded-length search against a brute-force
// oracle, and the host calls that hand back its two results.
#include <random>

#include "host_fixture.h"

namespace {

using namespace hwtest;
using refhost::Host;

// Largest prime factor by plain trial division.
uint64_t largest_prime_factor(uint64_t n) {
    uint64_t largest = 1;
    for (uint64_t p = 2; p * p <= n; ++p)
        while (n % p == 0) largest = p, n /= p;
    return n > 1 ? n : largest;
}

struct Found {
    int64_t number;
    int64_t prime;
};

// What the search must find: the first number of the range with the smallest largest prime
// factor below start; a range holding a power of two gives that power of two.
Found oracle(int64_t s, int64_t d) {
    if (s == 1) return {1, 1};
    int64_t p = 1;
    while (p < s) p *= 2;
    if (p <= s + d && p <= INT32_MAX) return {p, 2};
    Found best{0, s};
    for (int64_t n = s; n <= std::min<int64_t>(s + d, INT32_MAX); ++n) {
        const int64_t f = static_cast<int64_t>(largest_prime_factor(static_cast<uint64_t>(n)));
        if (f < best.prime) best = {n, f};
    }
    return best;
}

Found run(Host &h, int64_t s, int64_t d) {
    const HostValue name = h.name("p");
    const refhost::CallResult r = h.call(hwtest::entry("Composite"), {h.integer(s), h.integer(d), name});
    EXPECT_TRUE(r.ok) << r.error;
    if (!r.ok) return {-1, -1};
    return {h.integer_value(r.value), h.integer_value(h.value_of(name))};
}

TEST(CompositeEntry, FindsTheDocumentedNumbers) {
    const struct {
        int64_t s, d, number, prime;
    } cases[] = {
        {1, 0, 1, 1},        {1, 99, 1, 1},      {2, 0, 2, 2},        {3, 1, 4, 2},
        {3, 0, 0, 3},        {7, 0, 0, 7},       {9, 0, 9, 3},        {15, 0, 15, 5},
        {5, 2, 6, 3},        {17, 2, 18, 3},     {97, 3, 100, 5},     {1025, 50, 1029, 7},
        {1000, 23, 1000, 5}, {1000, 24, 1024, 2}, {2147483647, 0, 0, 2147483647},
        {1073741824, 0, 1073741824, 2},
        // The range reaches 2^31, which cannot be handed back: searched up to 2^31 - 1.
        {2147483645, 10, -1, -1},
    };
    Host h;
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << "Composite(" << c.s << ", " << c.d << ")");
        const Found f = run(h, c.s, c.d);
        const Found o = oracle(c.s, c.d);
        EXPECT_EQ(f.number, o.number);
        EXPECT_EQ(f.prime, o.prime);
        if (c.number >= 0) {
            EXPECT_EQ(f.number, c.number);
            EXPECT_EQ(f.prime, c.prime);
        }
    }
}

TEST(CompositeEntry, AgreesWithBruteForceOnRandomRanges) {
    std::mt19937_64 rng(7);
    Host h;
    for (int i = 0; i < 300; ++i) {
        const int64_t s = 2 + static_cast<int64_t>(rng() % (i < 150 ? 5000 : 3000000));
        const int64_t d = static_cast<int64_t>(rng() % 60);
        SCOPED_TRACE(testing::Message() << "Composite(" << s << ", " << d << ")");
        const Found f = run(h, s, d), o = oracle(s, d);
        EXPECT_EQ(f.number, o.number);
        EXPECT_EQ(f.prime, o.prime);
    }
}

TEST(CompositeEntry, RefusesBadArgumentsInOrder) {
    const std::string start = "argument #1, the start number, ", padding = "argument #2, the maximum padding, ";
    expect_untouched("Composite", {
        {{I(5), I(2)}, "incorrect number of arguments"},
        {{F(), F(), I(1)}, start + "must be a positive integer"},
        {{I(-5), F(), I(1)}, padding + "must be a nonnegative integer"},
        {{I(-5), I(-1), I(1)}, "argument #3, the output maximum prime, must be a name"},
        {{I(-5), I(1LL << 31), N()}, padding + "cannot exceed 2^31-1"},
        {{I(-5), I(-1), N()}, padding + "must be a nonnegative integer"},
        {{I(5), I(-(1LL << 40)), N()}, padding + "must be a nonnegative integer"},
        {{I(1LL << 31), I(0), N()}, start + "cannot exceed 2^31-1"},
        {{Word(1LL << 33), I(0), N()}, start + "cannot exceed 2^31-1"},
        {{I(0), I(0), N()}, start + "must be a positive integer"},
    });
}

// 2^31 - 1 as a big integer (a 32-bit host cannot hold it as an immediate); the results
// are handed back in order.
TEST(CompositeEntry, AcceptsBigIntegersWithinRange) {
    Host h;
    const HostValue name = h.name("p");
    const refhost::CallResult r =
        h.call(hwtest::entry("Composite"), {h.big_integer(2147483647), h.big_integer(0), name});
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(h.integer_value(r.value), 0);
    EXPECT_EQ(h.integer_value(h.value_of(name)), 2147483647);
    EXPECT_EQ(std::vector<std::string>(h.log.end() - 3, h.log.end()),
              (std::vector<std::string>{"host_from_int32", "host_assign", "host_from_int32"}));
}

}  // namespace
