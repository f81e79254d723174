// What the Fourier entries share: argument 1 and the length table in storage order, the
// loop over the transformed dimensions, and the normalisation.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/host_boundary.h"

namespace hw::host {

inline constexpr int32_t kMaxTransformDims = 63;

struct TransformDims {
    // Lengths in storage order: entry 0 varies slowest, the last entry is contiguous.
    uint32_t length[kMaxTransformDims];
    int32_t count;   // entries in the table
    uint32_t total;  // product of all entries (1 for an empty table), at most 2^31 - 1
    int32_t first;   // transform range [first, last) of table indices
    int32_t last;
};

// Argument 1 of a Fourier entry on the data rtable `rt`: for rank 1 the data length (1 up to
// the rtable's length), for any other rank the transform dimension (0 up to the rank).
void check_length_or_dimension(HostKernel *k, HostValue rt, int32_t rank, int32_t argument1);

// The table of a checked argument 1: for rank 1 the single entry n; for any other rank all
// lengths, whose exact total must not exceed 2^31 - 1, and the range of transform dimension
// argument1 (0 for all). A rank above the table's room raises `too_many_dims`. When `output`
// is not null it must match: for rank 1 hold n elements, else have the same length in every
// dimension (checked in table order, before the total).
void read_transform_dims(HostKernel *k, HostValue rt, const RTableInfo &info, int32_t argument1,
                         const char *too_many_dims, TransformDims *dims, const HostValue *output = nullptr,
                         const char *output_mismatch = nullptr);

// Calls pass(i, length, stride, batch) for each table entry i of the transform range, from
// the slowest-varying: `stride` is the product of the entries after i, `batch` of those
// before. Needs a nonzero total.
template <typename Pass>
void for_each_pass(const TransformDims &dims, Pass &&pass) {
    uint32_t stride = dims.total, batch = 1;
    for (int32_t i = 0; i < dims.last; ++i) {
        stride /= dims.length[i];
        if (i >= dims.first) pass(i, dims.length[i], stride, batch);
        batch *= dims.length[i];
    }
}

// Normalization flag 1 multiplies each of the first `count` complex values by the square
// root of 1/n, flag 2 by 1/n, flag 0 leaves them.
void normalize(double *data, size_t count, uint32_t flag, uint64_t n);

}  // namespace hw::host
