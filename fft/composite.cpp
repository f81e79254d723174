// Composite: of the numbers start .. start + padding, the one whose largest prime factor is
// smallest, for choosing a padded transform length.
#include "host/arg_checks.h"

namespace {

using namespace hw::host;

// Largest prime factor of n (n >= 2), or 0 when it is certain to exceed `best`: the trial
// division gives up once its divisor passes the best factor found so far.
uint32_t largest_prime_factor_below(uint32_t n, uint32_t best) {
    uint32_t q = n;
    while ((q & 1u) == 0) q >>= 1;
    if (q == 1) return 2;
    uint32_t t = 3;
    for (;;) {
        while (q % t == 0) q /= t;
        if (q == 1) return t;
        t += 2;
        if (q < t * t) return q;  // what remains is prime
        if (t > best) return 0;
    }
}

}  // namespace

extern "C" HostValue Composite(HostKernel *k, HostValue *args) {
    check_arg_count(k, args, 3, "incorrect number of arguments");
    require(k, is_integer(k, args[1]), "argument #1, the start number, must be a positive integer");
    require(k, is_integer(k, args[2]), "argument #2, the maximum padding, must be a nonnegative integer");
    require(k, is_name(k, args[3]), "argument #3, the output maximum prime, must be a name");
    const uint32_t d = static_cast<uint32_t>(
        bounded_integer(k, args[2], 0.0, "argument #2, the maximum padding, cannot exceed 2^31-1",
                        "argument #2, the maximum padding, must be a nonnegative integer"));
    double start;
    const uint32_t s = static_cast<uint32_t>(
        bounded_integer(k, args[1], 1.0, "argument #1, the start number, cannot exceed 2^31-1",
                        "argument #1, the start number, must be a positive integer", &start));

    uint32_t best_number = 0;
    uint32_t best_prime = s;
    uint32_t last = s + d;
    if (s == 1) {
        best_number = best_prime = 1;
    } else {
        // Smallest power of two not below s, found in floating point.
        uint64_t p = 1;
        for (double x = start - 0.1; x > 1.0; x *= 0.5) p *= 2;
        if (d >= p - s && p <= 0x7FFFFFFFu) {
            best_number = static_cast<uint32_t>(p);
            best_prime = 2;
        } else {
            // A power of two of 2^31 cannot be handed back; search up to 2^31 - 1 instead.
            if (last > 0x7FFFFFFFu) last = 0x7FFFFFFFu;
            for (uint32_t n = s;; ++n) {
                const uint32_t f = largest_prime_factor_below(n, best_prime);
                if (f != 0 && f < best_prime) {
                    best_prime = f;
                    best_number = n;
                }
                if (n == last) break;
            }
        }
    }
    const HostValue prime = from_int32(k, static_cast<int32_t>(best_prime));
    assign(k, args[3], prime);
    return from_int32(k, static_cast<int32_t>(best_number));
}
