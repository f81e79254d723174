// Puts the engine's digit-reversed results into natural order.
#pragma once

#include <cstddef>
#include <cstdint>

namespace hw::fft {

// Up to this many complex values, the in-place reordering moves them through a stack buffer
// (18 KiB) instead of following cycles.
constexpr uint32_t kStackValues = 1152;

// Short lengths go through a stack buffer; longer ones merge equal neighbouring radices with
// square transpositions, then move the last digit to the front of each block with rectangular
// ones. Either way `radices` ends as the merges leave it.
void reorder_in_place(uint32_t length, uint32_t *radices, uint32_t radix_count, double *data,
                      uint32_t stride, uint32_t batch);

// One sequence, its values `step` complex values apart, from digit-reversed into natural order
// through `buffer` of `length` complex values.
void reverse_digits(uint32_t length, const uint32_t *radices, uint32_t radix_count, double *sequence, size_t step,
                    double *buffer);

// The list as reorder_in_place leaves it, without touching any data; the new length.
uint32_t merge_equal_neighbours(uint32_t *radices, uint32_t radix_count);

// The reordering after passes over a mirrored list [s_0 .. s_{k−1}, M, s_{k−1} .. s_0]
// (fft/pass_order.h): swaps each value with the one at its digit-reversed position.
void swap_mirrored_digits(uint32_t length, const uint32_t *outer, uint32_t k, uint32_t middle, double *data,
                          size_t stride, size_t batch);

// In place, for q < count: the block of rows x cols x entry complex values at
// data + q * distance (complex values) is read as a row-major rows x cols matrix of entries of
// `entry` consecutive values and replaced by its cols x rows transpose.
void transpose_in_place(uint32_t rows, uint32_t cols, double *data, uint32_t entry, uint32_t count,
                        uint64_t distance);

}  // namespace hw::fft
