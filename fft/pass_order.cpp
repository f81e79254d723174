// Choosing a mirrored pass order (fft/pass_order.h).
#include "fft/pass_order.h"

#include <initializer_list>

#include "fft/pass.h"
#include "fft/radix_kinds.h"
#include "hw.h"

namespace hw::fft {
namespace {

// A prime factor above 5 (the list's entries above 5 are primes).
bool is_listed(uint32_t c, const uint32_t *list, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i)
        if (list[i] == c && needs_generic_butterfly(c)) return true;
    return false;
}

bool is_square(uint32_t x, uint32_t *root) {
    uint64_t r = static_cast<uint64_t>(__builtin_sqrt(static_cast<double>(x)));  // exact for squares below 2^32
    while (r * r > x) --r;
    while ((r + 1) * (r + 1) <= x) ++r;
    *root = static_cast<uint32_t>(r);
    return r * r == x;
}

}  // namespace

uint32_t mirrored_pass_order(uint32_t n, uint32_t *radices, uint32_t *outer) {
    // The square-free part c: the product of the primes with an odd exponent in n.
    uint32_t list[kMaxRadices], c = 1;
    const bool own_butterfly = is_power_of_two_radix(n) || is_symmetric_pair_radix(n) || is_prime_factor_radix(n);
    const uint32_t count = own_butterfly ? 1 : ehw_RadixDec(n, list);
    if (count == 1) {  // one pass: nothing to reorder
        radices[0] = n;
        *outer = 0;
        return 1;
    }
    uint32_t rest = n;
    for (uint32_t p = 2; p * p <= rest && p <= 16; ++p)
        while (rest % (p * p) == 0) rest /= p * p;
    for (uint32_t i = 0; i < count; ++i)
        if (list[i] > 16 && rest % (uint64_t{list[i]} * list[i]) == 0) rest /= list[i] * list[i];
    c = rest;
    uint32_t best = 0;
    for (const uint32_t t2 : {1u, 4u, 16u, 9u}) {
        const uint64_t middle = uint64_t{c} * t2;
        if (middle > n || n % middle != 0) continue;
        const bool usable = middle == 1 || is_power_of_two_radix(static_cast<uint32_t>(middle)) ||
                            is_symmetric_pair_radix(static_cast<uint32_t>(middle)) ||
                            is_prime_factor_radix(static_cast<uint32_t>(middle)) ||
                            (t2 == 1 && is_listed(c, list, count));
        uint32_t s;
        if (!usable || !is_square(static_cast<uint32_t>(n / middle), &s)) continue;
        uint32_t side[kMaxRadices];
        const uint32_t k = s > 1 ? ehw_RadixDec(s, side) : 0;
        const uint32_t total = 2 * k + (middle > 1);
        if (best != 0 && total >= best) continue;
        best = total;
        *outer = k;
        for (uint32_t i = 0; i < k; ++i) radices[i] = radices[total - 1 - i] = side[i];
        if (middle > 1) radices[k] = static_cast<uint32_t>(middle);
    }
    return best;
}

}  // namespace hw::fft
