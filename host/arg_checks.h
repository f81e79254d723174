// Argument checks shared by all host entry points. Each check either passes or raises its
// message through host_error, which leaves the entry at once; so an entry holds nothing
// that needs cleaning up across these calls.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/host_boundary.h"

namespace hw::host {

inline void require(HostKernel *k, bool ok, const char *msg) {
    if (!ok) fail(k, msg);
}

inline void check_arg_count(HostKernel *k, HostValue *args, int expected, const char *msg) {
    require(k, arg_count(k, args) == expected, msg);
}

// An immediate integer; returns its value.
inline int32_t immediate(HostKernel *k, HostValue v, const char *msg) {
    require(k, is_immediate_int(v), msg);
    return immediate_int_value(v);
}

// A flag value compared unsigned, so negative values fail as well.
inline uint32_t flag_at_most(HostKernel *k, int32_t value, uint32_t max, const char *msg) {
    require(k, static_cast<uint32_t>(value) <= max, msg);
    return static_cast<uint32_t>(value);
}

// An immediate integer of at least `min` (0 for "cannot be negative", 1 for "at least 1").
inline int32_t count_at_least(HostKernel *k, HostValue v, int32_t min, const char *not_immediate,
                              const char *too_small) {
    const int32_t value = immediate(k, v, not_immediate);
    require(k, value >= min, too_small);
    return value;
}

// A host integer of any size already known to be an integer: judged as a double against
// 2^31-1 and then against `low`, converted to 32 bits only after both pass. The value as
// a double is also left in `as_double` when that is not null.
int32_t bounded_integer(HostKernel *k, HostValue v, double low, const char *too_large,
                        const char *too_small, double *as_double = nullptr);

// The field tests of an rtable argument, in the fixed order storage, data type, rank, order,
// read-only flag. A null message skips that test; storage and data type may share a message.
struct RTableRule {
    const char *bad_storage;
    const char *bad_type;
    int32_t data_type;
    const char *bad_rank;
    int32_t rank;
    const char *bad_order;
    const char *read_only;
};

// host_rtable_info into `info`, then the tests of `rule`.
void check_rtable_fields(HostKernel *k, HostValue rt, RTableInfo *info, const RTableRule &rule);

// host_is_rtable, then check_rtable_fields.
inline void check_rtable(HostKernel *k, HostValue rt, const char *not_rtable, RTableInfo *info,
                         const RTableRule &rule) {
    require(k, is_rtable(k, rt), not_rtable);
    check_rtable_fields(k, rt, info, rule);
}

// Length of dimension d (from 1): upper - lower + 1, never below 0.
int64_t dimension_length(HostKernel *k, HostValue rt, int d);

// Product of all dimension lengths (1 for rank 0), saturated at INT64_MAX.
int64_t element_count(HostKernel *k, HostValue rt, int32_t num_dims);

// True when the byte ranges [a, a + a_bytes) and [b, b + b_bytes) share a byte.
bool shares_storage(const void *a, size_t a_bytes, const void *b, size_t b_bytes);

// A new one-dimensional complex host rtable of n elements, for working storage; returns its
// data block. The rtable belongs to the host.
double *new_complex_rtable(HostKernel *k, int32_t n);

}  // namespace hw::host
