#include "host/arg_checks.h"

#include <cstdlib>

namespace hw::host {

void fail(HostKernel *k, const char *msg) {
    op<host_error_fn>(k, HOST_SLOT_ERROR)(msg);
    std::abort();
}

void fail_with(HostKernel *k, const char *msg, HostValue arg) {
    op<host_error_fn>(k, HOST_SLOT_ERROR)(msg, arg);
    std::abort();
}

int32_t bounded_integer(HostKernel *k, HostValue v, double low, const char *too_large,
                        const char *too_small, double *as_double) {
    const double value = to_double(k, v);
    if (as_double) *as_double = value;
    require(k, !(value > 2147483647.0), too_large);
    require(k, !(value < low), too_small);
    return to_int32(k, v);
}

void check_rtable_fields(HostKernel *k, HostValue rt, RTableInfo *info, const RTableRule &rule) {
    rtable_info(k, info, rt);
    if (rule.bad_storage) require(k, info->storage_type == HW_STORAGE_RECT, rule.bad_storage);
    if (rule.bad_type) require(k, info->data_type == rule.data_type, rule.bad_type);
    if (rule.bad_rank) require(k, info->num_dims == rule.rank, rule.bad_rank);
    if (rule.bad_order) require(k, info->order_type == HW_ORDER_C, rule.bad_order);
    if (rule.read_only) require(k, info->read_only == 0, rule.read_only);
}

int64_t dimension_length(HostKernel *k, HostValue rt, int d) {
    const int64_t length = int64_t{rtable_upper(k, rt, d)} - rtable_lower(k, rt, d) + 1;
    return length > 0 ? length : 0;
}

int64_t element_count(HostKernel *k, HostValue rt, int32_t num_dims) {
    int64_t count = 1;
    for (int d = 1; d <= num_dims; ++d) {
        const int64_t length = dimension_length(k, rt, d);
        if (length == 0) return 0;
        count = count > INT64_MAX / length ? INT64_MAX : count * length;
    }
    return count;
}

bool shares_storage(const void *a, size_t a_bytes, const void *b, size_t b_bytes) {
    const uintptr_t x = reinterpret_cast<uintptr_t>(a), y = reinterpret_cast<uintptr_t>(b);
    return a_bytes > 0 && b_bytes > 0 && x < y + b_bytes && y < x + a_bytes;
}

double *new_complex_rtable(HostKernel *k, int32_t n) {
    RTableInfo info;
    rtable_defaults(k, &info);
    info.data_type = HW_DATATYPE_COMPLEX;
    info.storage_type = HW_STORAGE_RECT;
    info.num_dims = 1;
    int32_t bounds[2] = {1, n};
    const HostValue rt = rtable_new(k, &info, nullptr, bounds);
    return static_cast<double *>(rtable_data(k, rt));
}

}  // namespace hw::host
