// In-place transposition of consecutive row-major matrices whose entries are runs of complex
// values: small matrices through a stack buffer, larger ones by following the cycles of the
// permutation.
#include <algorithm>
#include <cstddef>

#include "fft/reorder.h"

namespace hw::fft {
namespace {

// Values of an entry moved together per cycle walk.
constexpr size_t kChunk = 32;

void swap_values(double *a, double *b, size_t values) {
    for (size_t i = 0; i < 2 * values; ++i) std::swap(a[i], b[i]);
}

void transpose_square(size_t n, double *m, size_t entry) {
    for (size_t a = 0; a < n; ++a)
        for (size_t b = a + 1; b < n; ++b)
            swap_values(m + 2 * (a * n + b) * entry, m + 2 * (b * n + a) * entry, entry);
}

// Entry position p of a rows x cols matrix goes to p * rows mod (N - 1); 0 and N - 1 stay.
// A cycle is moved once, from its smallest position (its leader).
void transpose_rectangular(size_t rows, size_t cols, double *m, size_t entry) {
    const size_t last = rows * cols - 1;
    for (size_t start = 1; start < last; ++start) {
        size_t p = start * rows % last;
        while (p > start) p = p * rows % last;
        if (p != start) continue;  // not the leader of its cycle
        for (size_t first = 0; first < entry; first += kChunk) {
            const size_t values = std::min(kChunk, entry - first);
            double carry[2 * kChunk];
            std::copy_n(m + 2 * (start * entry + first), 2 * values, carry);
            // Walk backwards: the entry that lands on position p comes from p * cols mod last.
            size_t to = start;
            for (;;) {
                const size_t from = to * cols % last;
                if (from == start) break;
                std::copy_n(m + 2 * (from * entry + first), 2 * values, m + 2 * (to * entry + first));
                to = from;
            }
            std::copy_n(carry, 2 * values, m + 2 * (to * entry + first));
        }
    }
}

// A matrix of at most kStackValues values: copied out and written back transposed.
[[gnu::noinline]] void transpose_through_stack(size_t rows, size_t cols, double *m, size_t entry) {
    double buffer[2 * kStackValues];
    std::copy_n(m, 2 * rows * cols * entry, buffer);
    for (size_t a = 0; a < rows; ++a)
        for (size_t b = 0; b < cols; ++b)
            std::copy_n(buffer + 2 * (a * cols + b) * entry, 2 * entry, m + 2 * (b * rows + a) * entry);
}

}  // namespace

void transpose_in_place(uint32_t rows, uint32_t cols, double *data, uint32_t entry, uint32_t count,
                        uint64_t distance) {
    if (rows < 2 && cols < 2) return;
    for (size_t q = 0; q < count; ++q) {
        double *m = data + 2 * q * distance;
        if (rows == cols)
            transpose_square(rows, m, entry);
        else if (rows > 1 && cols > 1 && uint64_t{rows} * cols * entry <= kStackValues)
            transpose_through_stack(rows, cols, m, entry);
        else if (rows > 1 && cols > 1)
            transpose_rectangular(rows, cols, m, entry);
    }
}

}  // namespace hw::fft
