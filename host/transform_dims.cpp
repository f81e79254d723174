#include "host/transform_dims.h"

#include <cmath>

#include "host/arg_checks.h"
#include "simd/scale.h"

namespace hw::host {

namespace {

constexpr int64_t kMaxTotal = 2147483647;  // 2^31 - 1

// Host dimension number (from 1) held in table entry i.
int host_dimension(int32_t i, int32_t rank, int32_t order_type) {
    return order_type == HW_ORDER_C ? i + 1 : rank - i;
}

}  // namespace

void check_length_or_dimension(HostKernel *k, HostValue rt, int32_t rank, int32_t argument1) {
    if (rank == 1) {
        require(k, argument1 >= 1, "argument #1, the data length, must be a positive integer");
        require(k, argument1 <= dimension_length(k, rt, 1), "data length specification exceeds storage of input");
    } else {
        require(k, argument1 >= 0, "argument #1, the transform dimension, must be 0 or the dimension to be transformed");
        require(k, argument1 <= rank, "argument #1, the specified transform dimension exceeds the dimensions of the rtable");
    }
}

void read_transform_dims(HostKernel *k, HostValue rt, const RTableInfo &info, int32_t argument1,
                         const char *too_many_dims, TransformDims *dims, const HostValue *output,
                         const char *output_mismatch) {
    const int32_t rank = info.num_dims;
    if (rank == 1) {
        if (output)
            require(k, argument1 <= dimension_length(k, *output, 1),
                    "data length specification exceeds storage of output");
        dims->length[0] = dims->total = static_cast<uint32_t>(argument1);
        dims->count = dims->last = 1;
        dims->first = 0;
        return;
    }
    require(k, rank <= kMaxTransformDims, too_many_dims);
    // The total exactly: a length of 2^32 counts as itself, and past the limit it stays there.
    int64_t total = 1;
    dims->count = rank > 0 ? rank : 0;
    for (int32_t i = 0; i < dims->count; ++i) {
        const int d = host_dimension(i, rank, info.order_type);
        const int64_t length = dimension_length(k, rt, d);
        if (output) require(k, dimension_length(k, *output, d) == length, output_mismatch);
        dims->length[i] = static_cast<uint32_t>(length);
        total = length == 0 ? 0 : total > kMaxTotal ? total : total * length;
    }
    require(k, total <= kMaxTotal, "the total data length exceeds the maximum allowable");
    dims->total = static_cast<uint32_t>(total);
    dims->first = 0;
    dims->last = dims->count;
    if (argument1 > 0) {
        dims->first = info.order_type == HW_ORDER_C ? argument1 - 1 : dims->count - argument1;
        dims->last = dims->first + 1;
    }
}

void normalize(double *data, size_t count, uint32_t flag, uint64_t n) {
    if (flag == 0) return;
    const double quotient = 1.0 / static_cast<double>(n);
    const double factor = flag == 1 ? std::sqrt(quotient) : quotient;
    HW_PICK(hw::simd::best_isa(), scale_doubles)(data, count * 2, factor);
}

}  // namespace hw::host
