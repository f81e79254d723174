// Output reordering: out of place through working storage (ehw_Transpose), or in place as a
// sequence of matrix transpositions.
#include "fft/reorder.h"

#include <cstddef>

#include "hw.h"

extern "C" void ehw_Transpose(uint32_t length, const uint32_t *radices, uint32_t radix_count,
                              double *data, double *work, uint32_t stride, uint32_t batch) {
    if (radix_count == 0 || radix_count > 32) return;  // lists of radices >= 2 have at most 31
    // Position weights B[t] = r[t+1] ... r[P-1] and index weights A[t] = r[0] ... r[t-1].
    uint32_t position_weight[32], index_weight[32];
    position_weight[radix_count - 1] = 1;
    for (uint32_t t = radix_count - 1; t > 0; --t) position_weight[t - 1] = position_weight[t] * radices[t];
    index_weight[0] = 1;
    for (uint32_t t = 1; t < radix_count; ++t) index_weight[t] = index_weight[t - 1] * radices[t - 1];

    for (size_t g = 0; g < batch; ++g) {
        for (size_t s = 0; s < stride; ++s) {
            double *seq = data + 2 * (g * length * static_cast<size_t>(stride) + s);
            for (uint32_t j = 0; j < length; ++j) {
                uint32_t rest = j, k = 0;
                for (uint32_t t = 0; t + 1 < radix_count; ++t) {
                    k += rest / position_weight[t] * index_weight[t];
                    rest %= position_weight[t];
                }
                k += rest * index_weight[radix_count - 1];
                const double *from = seq + 2 * static_cast<size_t>(j) * stride;
                work[2 * k] = from[0];
                work[2 * k + 1] = from[1];
            }
            for (uint32_t j = 0; j < length; ++j) {
                double *to = seq + 2 * static_cast<size_t>(j) * stride;
                to[0] = work[2 * j];
                to[1] = work[2 * j + 1];
            }
        }
    }
}

namespace hw::fft {

void reorder_in_place(uint32_t length, uint32_t *r, uint32_t radix_count, double *data,
                      uint32_t stride, uint32_t batch) {
    uint32_t count = radix_count;
    // Merge phase: swap the digits of equal neighbours, nearest the end first.
    for (;;) {
        uint32_t t = count;
        for (uint32_t i = count; i-- > 1;)
            if (r[i - 1] == r[i]) {
                t = i - 1;
                break;
            }
        if (t == count) break;
        uint64_t after = 1, before = 1;
        for (uint32_t i = t + 2; i < count; ++i) after *= r[i];
        for (uint32_t i = 0; i < t; ++i) before *= r[i];
        const uint32_t radix = r[t];
        const uint64_t entry = uint64_t{stride} * after;
        transpose_in_place(radix, radix, data, static_cast<uint32_t>(entry),
                           static_cast<uint32_t>(before * batch), entry * radix * radix);
        r[t] = radix * radix;
        for (uint32_t i = t + 1; i + 1 < count; ++i) r[i] = r[i + 1];
        --count;
    }
    // Transpose phase: move the last digit of every block to its front.
    uint64_t big = length, k = 1;
    for (uint32_t t = count; t-- > 1;) {
        transpose_in_place(static_cast<uint32_t>(big / r[t]), r[t], data, stride,
                           static_cast<uint32_t>(batch * k), uint64_t{stride} * big);
        big /= r[t];
        k *= r[t];
    }
}

}  // namespace hw::fft
