// Output reordering: out of place through working storage (ehw_Transpose), or in place as a
// sequence of matrix transpositions.
#include "fft/reorder.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "fft/pass.h"
#include "hw.h"

extern "C" void ehw_Transpose(uint32_t length, const uint32_t *radices, uint32_t radix_count,
                              double *data, double *work, uint32_t stride, uint32_t batch) {
    if (radix_count == 0 || radix_count > hw::fft::kMaxRadices) return;  // lists of radices >= 2 have at most 31
    for (size_t g = 0; g < batch; ++g)
        for (size_t s = 0; s < stride; ++s)
            hw::fft::reverse_digits(length, radices, radix_count, data + 2 * (g * length * size_t{stride} + s), stride,
                                    work);
}

namespace hw::fft {
namespace {

// The merge phase looks for the last pair of equal neighbours (scanning from the end): its
// index, or `count` when there is none.
uint32_t last_equal_pair(const uint32_t *r, uint32_t count) {
    for (uint32_t i = count; i-- > 1;)
        if (r[i - 1] == r[i]) return i - 1;
    return count;
}

// Replaces the pair at t by its product; the later entries move down one place.
void merge_pair(uint32_t *r, uint32_t count, uint32_t t) {
    r[t] *= r[t + 1];
    for (uint32_t j = t + 1; j + 1 < count; ++j) r[j] = r[j + 1];
}

// Counts x = 0, 1, 2, ... over digits of the given radices (least significant first) and keeps
// the number with the same digits under other weights.
struct DigitCounter {
    uint32_t digit[kMaxRadices], radix[kMaxRadices], weight[kMaxRadices], count, value = 0;
    void next() {
        for (uint32_t t = 0; t < count; ++t) {
            if (++digit[t] < radix[t]) {
                value += weight[t];
                return;
            }
            digit[t] = 0;
            value -= (radix[t] - 1) * weight[t];
        }
    }
};

void swap_runs(double *a, double *b, size_t values) {
    for (size_t i = 0; i < 2 * values; ++i) {
        const double t = a[i];
        a[i] = b[i];
        b[i] = t;
    }
}

// Complex values per tile buffer of swap_tiles (4 KiB).
constexpr size_t kTileValues = 256;

void copy_run(double *to, const double *from, size_t run) {
    if (run == 1) std::memcpy(to, from, 2 * sizeof(double));
    else std::memcpy(to, from, 2 * sizeof(double) * run);
}

// Trades the rows x cols tile at x (entry (i, k) of `run` values at x + i·column + k·run) for
// the transposed cols x rows tile at y; x and y may be the same square tile.
void swap_tiles(double *x, double *y, size_t rows, size_t cols, size_t column, size_t run) {
    double from_x[2 * kTileValues], from_y[2 * kTileValues];
    const size_t x_row = cols * run, y_row = rows * run;  // values in a row of each tile
    for (size_t i = 0; i < rows; ++i) std::memcpy(from_x + 2 * i * x_row, x + 2 * i * column, 16 * x_row);
    for (size_t k = 0; k < cols; ++k) std::memcpy(from_y + 2 * k * y_row, y + 2 * k * column, 16 * y_row);
    for (size_t i = 0; i < rows; ++i)
        for (size_t k = 0; k < cols; ++k)
            copy_run(x + 2 * (i * column + k * run), from_y + 2 * (k * y_row + i * run), run);
    for (size_t k = 0; k < cols; ++k)
        for (size_t i = 0; i < rows; ++i)
            copy_run(y + 2 * (k * column + i * run), from_x + 2 * (i * x_row + k * run), run);
}

// The reordering of short lengths: each sequence through a stack buffer. Kept out of
// reorder_in_place so the buffer is not on the stack during the transpositions.
[[gnu::noinline]] void reorder_through_stack(uint32_t length, const uint32_t *r, uint32_t radix_count, double *data,
                                             uint32_t stride, uint32_t batch) {
    double buffer[2 * kStackValues];
    for (size_t g = 0; g < batch; ++g)
        for (size_t s = 0; s < stride; ++s)
            reverse_digits(length, r, radix_count, data + 2 * (g * length * size_t{stride} + s), stride, buffer);
}

}  // namespace

void reverse_digits(uint32_t length, const uint32_t *radices, uint32_t radix_count, double *sequence, size_t step,
                    double *buffer) {
    // Position j's digits, the last radix's the least significant, weigh r[0] ... r[t−1] in the
    // natural index.
    DigitCounter natural;
    natural.count = radix_count;
    for (uint32_t t = 0, w = 1; t < radix_count; w *= radices[t++]) {
        natural.radix[radix_count - 1 - t] = radices[t];
        natural.weight[radix_count - 1 - t] = w;
        natural.digit[t] = 0;
    }
    for (uint32_t j = 0; j < length; ++j, natural.next())
        std::memcpy(buffer + 2 * size_t{natural.value}, sequence + 2 * j * step, 2 * sizeof(double));
    if (step == 1) {
        std::memcpy(sequence, buffer, 2 * sizeof(double) * length);
        return;
    }
    for (uint32_t k = 0; k < length; ++k) std::memcpy(sequence + 2 * k * step, buffer + 2 * size_t{k}, 2 * sizeof(double));
}

uint32_t merge_equal_neighbours(uint32_t *radices, uint32_t radix_count) {
    uint32_t count = radix_count;
    for (uint32_t t; (t = last_equal_pair(radices, count)) != count; --count) merge_pair(radices, count, t);
    return count;
}

void reorder_in_place(uint32_t length, uint32_t *r, uint32_t radix_count, double *data,
                      uint32_t stride, uint32_t batch) {
    if (length <= kStackValues) {  // the same values move; the list ends as the merges leave it
        reorder_through_stack(length, r, radix_count, data, stride, batch);
        merge_equal_neighbours(r, radix_count);
        return;
    }
    uint32_t count = radix_count;
    // Merge phase: swap the digits of equal neighbours, nearest the end first.
    for (uint32_t t; (t = last_equal_pair(r, count)) != count;) {
        uint64_t after = 1, before = 1;
        for (uint32_t i = t + 2; i < count; ++i) after *= r[i];
        for (uint32_t i = 0; i < t; ++i) before *= r[i];
        const uint32_t radix = r[t];
        const uint64_t entry = uint64_t{stride} * after;
        transpose_in_place(radix, radix, data, static_cast<uint32_t>(entry),
                           static_cast<uint32_t>(before * batch), entry * radix * radix);
        merge_pair(r, count--, t);
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

void swap_mirrored_digits(uint32_t length, const uint32_t *outer, uint32_t k, uint32_t middle, double *data,
                          size_t stride, size_t batch) {
    // Position a·(M·S) + mid·S + b holds the value of position ρ(b)·(M·S) + mid·S + ρ(a): a is
    // read with s_{k−1} as its last digit, b with s_0, and ρ keeps the digits and swaps the
    // weights of the two readings. With h = s_0, a = hi·(S/h) + ra and b = rb·h + lo give
    // ρ(a) = ρ'(ra)·h + hi and ρ(b) = lo·(S/h) + ρ''(rb), ρ' and ρ'' the same map over
    // s_1 .. s_{k−1}: the h x h block (hi, lo) of the pair (ra, rb) and the block (lo, hi) of
    // the pair (ρ''(rb), ρ'(ra)) trade places transposed. Blocks of h runs of h values keep
    // both sides of a swap within a few cache lines.
    if (k == 0) return;
    const uint32_t h = outer[0];
    uint32_t rest = 1;
    for (uint32_t t = 1; t < k; ++t) rest *= outer[t];
    DigitCounter left, right;
    left.count = right.count = k - 1;
    for (uint32_t t = 0, w = 1; t + 1 < k; w *= outer[1 + t++]) {
        left.radix[k - 2 - t] = outer[1 + t];  // a's digit of radix s_{t+1} weighs s_1 ... s_t in ρ'
        left.weight[k - 2 - t] = w;
        right.radix[t] = outer[1 + t];
        left.digit[t] = right.digit[t] = 0;
    }
    for (uint32_t t = k - 1, w = 1; t-- > 0; w *= outer[1 + t]) right.weight[t] = w;  // s_{t+2} ... s_{k−1}
    const size_t run = stride, side = size_t{h} * rest, row = middle * side * run, column = rest * row;
    // Where a block's rows lie a cache way (4 KiB) or more apart, usually a power of two, walking
    // down its columns thrashes the cache's sets: the blocks then go through two stack buffers
    // in tiles of t x t runs (t·t·run values at most kTileValues), so that both sides are read
    // and written a row at a time. Closer rows, blocks of fewer than 4 rows and runs of a cache
    // line or more (4 values) swap in place.
    size_t t = 1;
    if (16 * column >= 4096 && h >= 4 && run < 4)
        while (t < h && (t + 1) * (t + 1) * run <= kTileValues) ++t;
    for (size_t g = 0; g < batch; ++g) {
        double *seq = data + 2 * g * length * stride;
        DigitCounter ra = left;  // ra.value = ρ'(ra)
        for (uint32_t a = 0; a < rest; ++a, ra.next()) {
            DigitCounter rb = right;
            for (uint32_t b = 0; b < rest; ++b, rb.next()) {
                const uint64_t self = uint64_t{a} * rest + b, partner = uint64_t{rb.value} * rest + ra.value;
                if (self > partner) continue;
                double *x = seq + 2 * (a * row + size_t{b} * h * run);
                double *y = seq + 2 * (rb.value * row + size_t{ra.value} * h * run);
                for (uint32_t mid = 0; mid < middle; ++mid, x += 2 * side * run, y += 2 * side * run) {
                    if (t == 1) {
                        for (uint32_t hi = 0; hi < h; ++hi)
                            for (uint32_t lo = self == partner ? hi + 1 : 0; lo < h; ++lo)
                                swap_runs(x + 2 * (hi * column + lo * run), y + 2 * (lo * column + hi * run), run);
                        continue;
                    }
                    for (size_t hi = 0; hi < h; hi += t)
                        for (size_t lo = self == partner ? hi : 0; lo < h; lo += t)
                            swap_tiles(x + 2 * (hi * column + lo * run), y + 2 * (lo * column + hi * run),
                                       std::min(t, h - hi), std::min(t, h - lo), column, run);
                }
            }
        }
    }
}

}  // namespace hw::fft
