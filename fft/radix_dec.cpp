// Splits a transform length into the radices of the engine's passes, in pass order.
#include "hw.h"

namespace {

void take(uint32_t &f, uint32_t r, uint32_t *radices, uint32_t &count, bool repeat) {
    while (f % r == 0) {
        radices[count++] = r;
        f /= r;
        if (!repeat) break;
    }
}

}  // namespace

extern "C" uint32_t ehw_RadixDec(uint32_t length, uint32_t *radices) {
    if (length == 0) return 0;  // 0 would stay divisible by 16 for ever
    uint32_t f = length, count = 0;
    take(f, 16, radices, count, true);
    take(f, 8, radices, count, true);
    take(f, 6, radices, count, true);
    take(f, 9, radices, count, true);
    take(f, 4, radices, count, true);
    take(f, 2, radices, count, false);
    take(f, 3, radices, count, true);
    take(f, 5, radices, count, true);
    if (f == 1) return count;
    // Odd trial divisors from 7; composite ones never divide, their factors being gone.
    for (uint64_t d = 7; d * d <= f; d += 2) {
        take(f, static_cast<uint32_t>(d), radices, count, true);
        if (f == 1) return count;
    }
    radices[count++] = f;  // a prime above every divisor tried
    return count;
}
