// The pass of an odd radix without a butterfly of its own, for one instruction-set level.
#include <cstddef>
#include <cstdint>

#include "fft/complex.h"
#include "fft/generic_pass.h"
#include "simd/vec.h"

namespace hw::HW_ISA_NS {
namespace {

using fft::PassShape;
using fft::RootTable;
using fourier::Complex;
using fourier::turn;

inline Complex<double> load_value(const double *p) { return {p[0], p[1]}; }
inline void store_value(double *p, Complex<double> v) {
    p[0] = v.re;
    p[1] = v.im;
}

// w(t) of the table: one entry per level, multiplied in level order; levels whose digit is 0
// contribute nothing.
inline Complex<double> root(const RootTable &table, uint32_t t) {
    const uint32_t mask = (1u << table.bits) - 1;
    Complex<double> w = load_value(table.level[0] + 2 * (t & mask));
    t >>= table.bits;
    if (table.levels == 2) return t == 0 ? w : w * load_value(table.level[1] + 2 * t);
    for (uint32_t l = 1; l < table.levels && t != 0; ++l, t >>= table.bits) {
        const uint32_t digit = l + 1 == table.levels ? t : t & mask;
        if (digit != 0) w = w * load_value(table.level[l] + 2 * digit);
    }
    return w;
}

// rev(j) for consecutive blocks j: j's digits over the radices before the pass (the last the
// least significant) read in the opposite order.
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

// A direct r-point DFT for an odd radix without a butterfly of its own, pairing outputs q and
// r − q: y_q = Σ_j x_j · table[j·q mod r]. The twiddled inputs are gathered into `work`, so the
// outputs can go straight back.
template <bool Inverse>
void generic_pass(const PassShape &s, double *data) {
    const uint32_t r = s.radix, half = (r + 1) / 2;
    const size_t span = size_t{s.m} * s.stride, block_length = r * span, group_length = size_t{s.n} * s.stride;
    const double *table = s.table;
    double *work = s.work;
    BlockDigits digits(s.radices, s.pass, s.first_block);
    for (uint32_t j = s.first_block; j < s.last_block; ++j, digits.next())
        for (size_t g = 0; g < s.batch; ++g)
            for (size_t i = 0; i < span; ++i) {
                double *x = data + 2 * (g * group_length + j * block_length + i);
                for (uint32_t q = 0; q < r; ++q) {
                    Complex<double> v = load_value(x + 2 * q * span);
                    if (s.pass > 0 && q > 0) v = turn<Inverse>(v, root(*s.roots, digits.rev * q * s.m));
                    store_value(work + 2 * q, v);
                }
                Complex<double> sum = load_value(work);
                for (uint32_t q = 1; q < r; ++q) sum = sum + load_value(work + 2 * q);
                store_value(x, sum);
                for (uint32_t q = 1; q < half; ++q) {
                    double are = work[0], aim = work[1], bre = 0.0, bim = 0.0;
                    uint32_t t = q;
                    for (uint32_t k = 1; k < half; ++k) {
                        const double wr = table[2 * t], wi = table[2 * t + 1];
                        const double *a = work + 2 * k, *c = work + 2 * (r - k);
                        are += (a[0] + c[0]) * wr;
                        bre += (a[0] - c[0]) * wi;
                        aim += (a[1] + c[1]) * wr;
                        bim -= (a[1] - c[1]) * wi;
                        t += q;
                        if (t >= r) t -= r;
                    }
                    store_value(x + 2 * q * span, {are + bim, aim + bre});
                    store_value(x + 2 * (r - q) * span, {are - bim, aim - bre});
                }
            }
}

}  // namespace

void fft_generic_pass(const PassShape &shape, double *data, bool inverse) {
    inverse ? generic_pass<true>(shape, data) : generic_pass<false>(shape, data);
}

}  // namespace hw::HW_ISA_NS
