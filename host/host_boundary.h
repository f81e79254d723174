// Calls into the host's callback table and the inline operations on host words.
// Only entry points include this; engines never talk to the host.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hw.h"

namespace hw::host {

static_assert(sizeof(RTableInfo) == 56, "the rtable settings record is fourteen 32-bit words");
static_assert(offsetof(RTableInfo, data_type) == 0);
static_assert(offsetof(RTableInfo, storage_type) == 12);
static_assert(offsetof(RTableInfo, order_type) == 24);
static_assert(offsetof(RTableInfo, read_only) == 28);
static_assert(offsetof(RTableInfo, num_dims) == 36);
static_assert(sizeof(HostValue) == sizeof(void *), "a host word is pointer wide");
static_assert(sizeof(HostSlot) == sizeof(void *));
static_assert(sizeof(HostKernel) >= 96 * sizeof(void *));
#define HW_CHECK_SLOT(s) static_assert(offsetof(HostKernel, slot) + (s) * sizeof(HostSlot) == (s) * sizeof(void *))
HW_CHECK_SLOT(HOST_SLOT_ASSIGN);
HW_CHECK_SLOT(HOST_SLOT_ERROR);
HW_CHECK_SLOT(HOST_SLOT_IS_INTEGER);
HW_CHECK_SLOT(HOST_SLOT_IS_NAME);
HW_CHECK_SLOT(HOST_SLOT_IS_RTABLE);
HW_CHECK_SLOT(HOST_SLOT_TO_DOUBLE);
HW_CHECK_SLOT(HOST_SLOT_TO_INT32);
HW_CHECK_SLOT(HOST_SLOT_ARG_COUNT);
HW_CHECK_SLOT(HOST_SLOT_RTABLE_NEW);
HW_CHECK_SLOT(HOST_SLOT_RTABLE_DATA);
HW_CHECK_SLOT(HOST_SLOT_RTABLE_DEFAULTS);
HW_CHECK_SLOT(HOST_SLOT_RTABLE_INFO);
HW_CHECK_SLOT(HOST_SLOT_RTABLE_LOWER);
HW_CHECK_SLOT(HOST_SLOT_RTABLE_UPPER);
HW_CHECK_SLOT(HOST_SLOT_FROM_INT32);
HW_CHECK_SLOT(HOST_SLOT_NULL);
#undef HW_CHECK_SLOT

// ---- host words

// An immediate integer has its lowest bit set. A wide host word could carry a value outside
// the signed 32-bit range, which a 32-bit host never hands over as an immediate: such a word
// counts as a non-immediate integer.
inline bool is_immediate_int(HostValue v) {
    if ((v & 1) == 0) return false;
    const intptr_t value = v >> 1;
    return value >= INT32_MIN && value <= INT32_MAX;
}
inline int32_t immediate_int_value(HostValue v) { return static_cast<int32_t>(v >> 1); }
inline HostValue make_immediate_int(int32_t i) {
    return static_cast<HostValue>((static_cast<uintptr_t>(static_cast<intptr_t>(i)) << 1) | 1u);
}
inline constexpr HostValue kImmediateZero = 1;

// ---- the sixteen host operations

template <typename Fn>
inline Fn op(HostKernel *k, int s) {
    return reinterpret_cast<Fn>(k->slot[s]);
}

inline HostValue assign(HostKernel *k, HostValue name, HostValue value) {
    return op<host_assign_fn>(k, HOST_SLOT_ASSIGN)(name, value);
}
inline bool is_integer(HostKernel *k, HostValue v) { return op<host_is_integer_fn>(k, HOST_SLOT_IS_INTEGER)(v) != 0; }
inline bool is_name(HostKernel *k, HostValue v) { return op<host_is_name_fn>(k, HOST_SLOT_IS_NAME)(v) != 0; }
inline bool is_rtable(HostKernel *k, HostValue v) { return op<host_is_rtable_fn>(k, HOST_SLOT_IS_RTABLE)(v) != 0; }
inline double to_double(HostKernel *k, HostValue v) { return op<host_to_double_fn>(k, HOST_SLOT_TO_DOUBLE)(v); }
inline int32_t to_int32(HostKernel *k, HostValue v) { return op<host_to_int32_fn>(k, HOST_SLOT_TO_INT32)(v); }
inline int arg_count(HostKernel *k, HostValue *args) { return op<host_arg_count_fn>(k, HOST_SLOT_ARG_COUNT)(args); }
inline HostValue rtable_new(HostKernel *k, RTableInfo *info, void *data, int32_t *bounds) {
    return op<host_rtable_new_fn>(k, HOST_SLOT_RTABLE_NEW)(info, data, bounds);
}
inline void *rtable_data(HostKernel *k, HostValue rt) { return op<host_rtable_data_fn>(k, HOST_SLOT_RTABLE_DATA)(rt); }
inline void rtable_defaults(HostKernel *k, RTableInfo *info) { op<host_rtable_defaults_fn>(k, HOST_SLOT_RTABLE_DEFAULTS)(info); }
inline void rtable_info(HostKernel *k, RTableInfo *info, HostValue rt) { op<host_rtable_info_fn>(k, HOST_SLOT_RTABLE_INFO)(info, rt); }
inline int rtable_lower(HostKernel *k, HostValue rt, int d) { return op<host_rtable_lower_fn>(k, HOST_SLOT_RTABLE_LOWER)(rt, d); }
inline int rtable_upper(HostKernel *k, HostValue rt, int d) { return op<host_rtable_upper_fn>(k, HOST_SLOT_RTABLE_UPPER)(rt, d); }
inline HostValue from_int32(HostKernel *k, int32_t i) { return op<host_from_int32_fn>(k, HOST_SLOT_FROM_INT32)(i); }
inline HostValue null_value(HostKernel *k) { return op<host_null_fn>(k, HOST_SLOT_NULL)(); }

// host_error does not return. Should a host break that promise, stop rather than run on
// with an argument that failed its check.
[[noreturn]] void fail(HostKernel *k, const char *msg);
[[noreturn]] void fail_with(HostKernel *k, const char *msg, HostValue arg);

}  // namespace hw::host
