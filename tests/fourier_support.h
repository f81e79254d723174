// Test support for the Fourier transforms: complex rtables and a long-double oracle that
// transforms along the axes of an array in storage order.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <random>
#include <vector>

#include "host_fixture.h"

namespace hwtest {

using cplx = std::complex<double>;

inline std::vector<cplx> random_complex(size_t count, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    std::vector<cplx> v(count);
    for (cplx &z : v) z = {u(rng), u(rng)};
    return v;
}

// A complex rtable of the given host lengths (lower bounds 0, so lengths differ from upper
// bounds), order and contents (as stored).
inline HostValue complex_rtable(refhost::Host &h, const std::vector<int32_t> &dims, const std::vector<cplx> &values,
                                int32_t order = HW_ORDER_C) {
    refhost::RTableShape shape{{}, HW_DATATYPE_COMPLEX, HW_STORAGE_RECT, order};
    for (int32_t l : dims) shape.bounds.emplace_back(0, l - 1);
    const HostValue rt = h.rtable(shape, values.data());
    EXPECT_EQ(h.element_count(rt), values.size());
    return rt;
}

inline std::vector<double> as_doubles(const std::vector<cplx> &v) {
    const double *p = reinterpret_cast<const double *>(v.data());
    return std::vector<double>(p, p + 2 * v.size());
}

inline std::vector<cplx> complexes(refhost::Host &h, HostValue rt) {
    const cplx *p = static_cast<const cplx *>(h.data(rt));
    return std::vector<cplx>(p, p + h.element_count(rt));
}

inline size_t element_total(const std::vector<int32_t> &dims) {
    size_t total = 1;
    for (int32_t l : dims) total *= size_t(l);
    return total;
}

// The transform of `data` along storage axis `axis` (last contiguous), in long double, scaled
// by 1/sqrt(n) for normalization 1 and 1/n for any other nonzero value.
inline std::vector<cplx> transform_axis(const std::vector<cplx> &data, const std::vector<size_t> &lengths,
                                        size_t axis, bool inverse, int normalization = 0) {
    size_t stride = 1, batch = 1;
    for (size_t i = axis + 1; i < lengths.size(); ++i) stride *= lengths[i];
    for (size_t i = 0; i < axis; ++i) batch *= lengths[i];
    const size_t n = lengths[axis];
    const long double scale = normalization == 0   ? 1.0L
                              : normalization == 1 ? 1.0L / std::sqrt(static_cast<long double>(n))
                                                   : 1.0L / n;
    std::vector<long double> cs(n), sn(n);
    for (size_t j = 0; j < n; ++j) {
        const long double angle = 6.283185307179586476925286766559L * j / n;
        cs[j] = std::cos(angle) * scale;
        sn[j] = (inverse ? std::sin(angle) : -std::sin(angle)) * scale;
    }
    std::vector<cplx> out(data.size());
    for (size_t g = 0; g < batch; ++g)
        for (size_t s = 0; s < stride; ++s)
            for (size_t k = 0; k < n; ++k) {
                long double re = 0, im = 0;
                for (size_t j = 0; j < n; ++j) {
                    const cplx x = data[(g * n + j) * stride + s];
                    re += x.real() * cs[j * k % n] - x.imag() * sn[j * k % n];
                    im += x.real() * sn[j * k % n] + x.imag() * cs[j * k % n];
                }
                out[(g * n + k) * stride + s] = {double(re), double(im)};
            }
    return out;
}

// What an entry leaves in `data` of host lengths `dims`: for rank 1 the first argument1
// elements transformed, otherwise host dimension argument1 (every one when 0) in turn,
// slowest in storage first; `but_last` leaves out the last of several passes.
inline std::vector<cplx> entry_oracle(std::vector<cplx> data, std::vector<int32_t> dims, int32_t order,
                                      int64_t argument1, bool inverse, int normalization, bool but_last = false) {
    if (dims.size() == 1) {
        const std::vector<cplx> head = transform_axis({data.begin(), data.begin() + argument1}, {size_t(argument1)}, 0,
                                                      inverse, normalization);
        std::copy(head.begin(), head.end(), data.begin());
        return data;
    }
    if (order != HW_ORDER_C) std::reverse(dims.begin(), dims.end());
    const std::vector<size_t> lengths(dims.begin(), dims.end());
    size_t first = 0, last = lengths.size();
    if (argument1 != 0) last = (first = order == HW_ORDER_C ? argument1 - 1 : last - argument1) + 1;
    if (but_last && last > first) --last;
    for (size_t a = first; a < last; ++a) data = transform_axis(data, lengths, a, inverse, normalization);
    return data;
}

// Largest difference relative to the largest expected magnitude (at least 1).
inline double relative_error(const std::vector<cplx> &got, const std::vector<cplx> &want) {
    double diff = 0, size = 1;
    for (size_t i = 0; i < want.size() && i < got.size(); ++i) {
        diff = std::max(diff, std::abs(got[i] - want[i]));
        size = std::max(size, std::abs(want[i]));
    }
    return got.size() == want.size() ? diff / size : INFINITY;
}

}  // namespace hwtest
