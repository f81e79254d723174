// Test support for the Fourier transforms: complex rtables, random data and a long-double
// oracle that transforms along one axis of an array in storage order.
#pragma once

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

// A complex rtable with the given bounds, order and contents (as stored).
inline HostValue complex_rtable(refhost::Host &h, std::vector<std::pair<int32_t, int32_t>> bounds,
                                const std::vector<cplx> &values, int32_t order = HW_ORDER_C,
                                bool read_only = false) {
    refhost::RTableSpec spec;
    spec.bounds = std::move(bounds);
    spec.order_type = order;
    spec.read_only = read_only;
    const HostValue rt = h.rtable(spec);
    EXPECT_EQ(h.element_count(rt), values.size());
    if (!values.empty()) std::memcpy(h.data(rt), values.data(), h.byte_size(rt));
    return rt;
}

inline std::vector<cplx> complexes(refhost::Host &h, HostValue rt) {
    const cplx *p = static_cast<const cplx *>(h.data(rt));
    return std::vector<cplx>(p, p + h.element_count(rt));
}

// The transform of `data` (lengths in storage order, last contiguous) along storage axis
// `axis`, in long double, with the kernel sign of `inverse`, times `scale`.
inline std::vector<cplx> transform_axis(const std::vector<cplx> &data, const std::vector<size_t> &lengths,
                                        size_t axis, bool inverse, long double scale = 1.0L) {
    size_t stride = 1, batch = 1;
    for (size_t i = axis + 1; i < lengths.size(); ++i) stride *= lengths[i];
    for (size_t i = 0; i < axis; ++i) batch *= lengths[i];
    const size_t n = lengths[axis];
    const long double two_pi = 2.0L * 3.141592653589793238462643383279503L;
    std::vector<cplx> out(data.size());
    for (size_t g = 0; g < batch; ++g)
        for (size_t s = 0; s < stride; ++s)
            for (size_t k = 0; k < n; ++k) {
                long double re = 0, im = 0;
                for (size_t j = 0; j < n; ++j) {
                    const long double angle = two_pi * static_cast<long double>((j * k) % n) / n;
                    const long double c = std::cos(angle), v = inverse ? std::sin(angle) : -std::sin(angle);
                    const cplx x = data[(g * n + j) * stride + s];
                    re += x.real() * c - x.imag() * v;
                    im += x.real() * v + x.imag() * c;
                }
                out[(g * n + k) * stride + s] = {static_cast<double>(re * scale), static_cast<double>(im * scale)};
            }
    return out;
}

// The transform along every axis, slowest first.
inline std::vector<cplx> transform_all(std::vector<cplx> data, const std::vector<size_t> &lengths, bool inverse,
                                       long double scale = 1.0L) {
    for (size_t a = 0; a < lengths.size(); ++a) data = transform_axis(data, lengths, a, inverse);
    for (cplx &z : data) z *= static_cast<double>(scale);
    return data;
}

// Largest difference, relative to the largest magnitude of the expected values (at least 1).
inline double relative_error(const std::vector<cplx> &got, const std::vector<cplx> &want) {
    double diff = 0, size = 1;
    for (size_t i = 0; i < want.size() && i < got.size(); ++i) {
        diff = std::max(diff, std::abs(got[i] - want[i]));
        size = std::max(size, std::abs(want[i]));
    }
    return got.size() == want.size() ? diff / size : INFINITY;
}

}  // namespace hwtest
