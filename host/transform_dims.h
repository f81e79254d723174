// The dimension bookkeeping shared by the Fourier entries: the length table in storage
// order, its total, and the range of table entries that a call transforms.
#pragma once

#include <cstdint>

#include "host/host_boundary.h"

namespace hw::host {

inline constexpr int32_t kMaxTransformDims = 63;

struct TransformDims {
    // Lengths in storage order: entry 0 varies slowest, the last entry is contiguous.
    uint32_t length[kMaxTransformDims];
    int32_t count;   // entries in the table
    uint32_t total;  // product of all entries (1 for an empty table)
    int32_t first;   // transform range [first, last) of table indices
    int32_t last;
};

// Argument 1 of the Fourier entries: for an rtable `rt` of rank 1 the data length (1 up to
// its length), for any other rank the transform dimension (0 up to the rank).
void check_length_or_dimension(HostKernel *k, HostValue rt, int32_t rank, int32_t argument1);

// The table of a one-dimensional transform of the first n elements: the single entry n.
void single_length(TransformDims *dims, uint32_t n);

// Fills the table from the dimensions of rtable `rt` (rank and order from `info`) and
// checks the total in double precision against 2^31-1. A rank above the table's room
// raises `too_many_dims`. When `same_shape` is not null, each length must equal the length
// of the same dimension of that rtable, else `mismatch` is raised at the first difference,
// before the total is judged.
void fill_storage_lengths(HostKernel *k, HostValue rt, const RTableInfo &info, const char *too_many_dims,
                          TransformDims *dims, const HostValue *same_shape = nullptr,
                          const char *mismatch = nullptr);

// The transform range for transform dimension `dimension` (0 = every dimension, otherwise
// the host's dimension number, 1..count) of a table filled in `order_type`.
void set_transform_range(TransformDims *dims, int32_t dimension, int32_t order_type);

// Host dimension number (from 1) held in table entry i.
inline int host_dimension(int32_t i, int32_t rank, int32_t order_type) {
    return order_type == HW_ORDER_C ? i + 1 : rank - i;
}

}  // namespace hw::host
