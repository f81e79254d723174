#include "host/transform_dims.h"

#include "host/arg_checks.h"

namespace hw::host {

void check_length_or_dimension(HostKernel *k, HostValue rt, int32_t rank, int32_t argument1) {
    if (rank == 1) {
        require(k, argument1 >= 1, "argument #1, the data length, must be a positive integer");
        require(k, argument1 <= dimension_length(k, rt, 1), "data length specification exceeds storage of input");
    } else {
        require(k, argument1 >= 0, "argument #1, the transform dimension, must be 0 or the dimension to be transformed");
        require(k, argument1 <= rank, "argument #1, the specified transform dimension exceeds the dimensions of the rtable");
    }
}

void single_length(TransformDims *dims, uint32_t n) {
    dims->length[0] = n;
    dims->count = 1;
    dims->total = n;
    dims->first = 0;
    dims->last = 1;
}

void fill_storage_lengths(HostKernel *k, HostValue rt, const RTableInfo &info, const char *too_many_dims,
                          TransformDims *dims, const HostValue *same_shape, const char *mismatch) {
    const int32_t rank = info.num_dims;
    require(k, rank <= kMaxTransformDims, too_many_dims);
    uint32_t total = 1;
    double total_as_double = 1.0;
    dims->count = rank > 0 ? rank : 0;
    for (int32_t i = 0; i < dims->count; ++i) {
        const int d = host_dimension(i, rank, info.order_type);
        const int64_t length = dimension_length(k, rt, d);
        if (same_shape) require(k, dimension_length(k, *same_shape, d) == length, mismatch);
        dims->length[i] = static_cast<uint32_t>(length);
        total *= dims->length[i];
        total_as_double *= static_cast<double>(dims->length[i]);
    }
    require(k, !(total_as_double > 2147483647.0), "the total data length exceeds the maximum allowable");
    dims->total = total;
    dims->first = 0;
    dims->last = dims->count;
}

void set_transform_range(TransformDims *dims, int32_t dimension, int32_t order_type) {
    if (dimension <= 0) {
        dims->first = 0;
        dims->last = dims->count;
        return;
    }
    const int32_t t = order_type == HW_ORDER_C ? dimension - 1 : dims->count - dimension;
    dims->first = t;
    dims->last = t + 1;
}

}  // namespace hw::host
