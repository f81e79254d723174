// Shared test support: the library loaded by path as a host loads it, and small helpers for
// calling entry points through the reference host.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "hw.h"
#include "refhost/ref_host.h"

namespace hwtest {

inline const refhost::Library &library() {
    static const refhost::Library lib(HW_LIBRARY_PATH);
    return lib;
}

inline HostEntry entry(const char *name) { return library().entry(name); }

// A double rtable with the given bounds and contents (row-major as stored).
inline HostValue double_rtable(refhost::Host &h, std::vector<std::pair<int32_t, int32_t>> bounds,
                               const std::vector<double> &values, int32_t order = HW_ORDER_C) {
    refhost::RTableSpec shape;
    shape.bounds = std::move(bounds);
    shape.data_type = HW_DATATYPE_DOUBLE;
    shape.order_type = order;
    const HostValue rt = h.rtable(shape);
    EXPECT_EQ(h.element_count(rt), values.size());
    std::memcpy(h.data(rt), values.data(), h.byte_size(rt));
    return rt;
}

inline std::vector<double> doubles(refhost::Host &h, HostValue rt) {
    const double *p = static_cast<const double *>(h.data(rt));
    return std::vector<double>(p, p + h.byte_size(rt) / sizeof(double));
}

}  // namespace hwtest
