// What every pass kernel needs to find its twiddle factors: w(t) from the call's root table, and
// the digit-reversed index rev(j) of consecutive blocks. Included by the per-level pass files.
#pragma once

#include <cstdint>

#include "fft/complex.h"
#include "fft/pass.h"

namespace hw::HW_ISA_NS {
namespace {

// w(t) of the table: one entry per level, multiplied in level order; levels whose digit is 0
// contribute nothing.
inline fourier::Complex<double> root(const fft::RootTable &table, uint32_t t) {
    const auto entry = [](const double *p) { return fourier::Complex<double>{p[0], p[1]}; };
    if (table.levels == 1) return entry(table.level[0] + 2 * t);
    const uint32_t mask = (1u << table.bits) - 1;
    fourier::Complex<double> w = entry(table.level[0] + 2 * (t & mask));
    t >>= table.bits;
    if (table.levels == 2) return t == 0 ? w : w * entry(table.level[1] + 2 * t);
    for (uint32_t l = 1; l < table.levels && t != 0; ++l, t >>= table.bits) {
        const uint32_t digit = l + 1 == table.levels ? t : t & mask;
        if (digit != 0) w = w * entry(table.level[l] + 2 * digit);
    }
    return w;
}

// Block j of pass p in natural order, and rev(j): j's digits over the radices before p
// (the last the least significant) read in the opposite order.
struct BlockDigits {
    uint32_t digit[fft::kMaxRadices], weight[fft::kMaxRadices], rev = 0, count;
    const uint32_t *radix;

    // Starting at block `first`.
    BlockDigits(const uint32_t *radices, uint32_t pass, uint32_t first) : count(pass), radix(radices) {
        uint32_t w = 1;
        for (uint32_t t = 0; t < count; ++t) {
            weight[t] = w;
            w *= radices[t];
        }
        for (uint32_t t = count; t-- > 0; first /= radices[t]) {
            digit[t] = first % radices[t];
            rev += digit[t] * weight[t];
        }
    }
    void next() {
        for (uint32_t t = count; t-- > 0;) {
            if (++digit[t] < radix[t]) {
                rev += weight[t];
                return;
            }
            digit[t] = 0;
            rev -= (radix[t] - 1) * weight[t];
        }
    }
};

}  // namespace
}  // namespace hw::HW_ISA_NS
