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

// What the search must find: the first number of the range with the smallest largest prime
// factor below start; a range holding a power of two gives that power of two; 2^31 cannot
// be handed back, so the range ends at 2^31 - 1.
std::pair<int64_t, int64_t> oracle(int64_t s, int64_t d) {
    if (s == 1) return {1, 1};
    int64_t p = 1;
    while (p < s) p *= 2;
    if (p <= s + d && p <= INT32_MAX) return {p, 2};
    std::pair<int64_t, int64_t> best{0, s};
    for (int64_t n = s; n <= std::min<int64_t>(s + d, INT32_MAX); ++n) {
        const int64_t f = static_cast<int64_t>(largest_prime_factor(static_cast<uint64_t>(n)));
        if (f < best.second) best = {n, f};
    }
    return best;
}

// The edge cases of the search (start 1, powers of two, primes, ties, the 2^31 end), then
// random ranges, against the brute force; the results handed back in order.
TEST(CompositeEntry, AgreesWithBruteForce) {
    std::vector<std::pair<int64_t, int64_t>> ranges = {
        {1, 0}, {1, 99}, {2, 0}, {3, 1}, {3, 0}, {7, 0}, {9, 0}, {5, 2}, {17, 2}, {97, 3}, {1025, 50},
        {1000, 23}, {1000, 24}, {2147483647, 0}, {1073741824, 0}, {2147483645, 10}};
    std::mt19937_64 rng(7);
    for (int i = 0; i < 300; ++i)
        ranges.emplace_back(2 + int64_t(rng() % (i < 150 ? 5000 : 3000000)), int64_t(rng() % 60));
    Host h;
    const HostValue name = h.name("p");
    for (const auto &[s, d] : ranges) {
        const refhost::CallResult r = h.call(entry("Composite"), {h.integer(s), h.integer(d), name});
        ASSERT_TRUE(r.ok) << r.error;
        EXPECT_EQ(std::pair(h.integer_value(r.value), h.integer_value(h.value_of(name))), oracle(s, d))
            << "Composite(" << s << ", " << d << ")";
    }
    EXPECT_EQ(std::vector<std::string>(h.log.end() - 3, h.log.end()),
              (std::vector<std::string>{"host_from_int32", "host_assign", "host_from_int32"}));
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

// 2^31 - 1 as a big integer (a 32-bit host cannot hold it as an immediate).
TEST(CompositeEntry, AcceptsBigIntegersWithinRange) {
    Host h;
    const HostValue name = h.name("p");
    const refhost::CallResult r = h.call(entry("Composite"), {h.big_integer(2147483647), h.big_integer(0), name});
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(h.integer_value(r.value), 0);
    EXPECT_EQ(h.integer_value(h.value_of(name)), 2147483647);
}

}  // namespace
