// The direct DFT written plainly, in the order of operations the engine keeps: the reference
// that the engine's tests compare bit for bit and the benchmark times.
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>

#include "trig/trig.h"

namespace hwtest {

using cplx = std::complex<double>;

// The engine's order of operations, written plainly: roots (cos, ±sin) of the rounded angle
// m·θ for m < h; X[0] (and X[n/2]) as plain sums; every other pair X[k], X[n-k] from four
// sums over the pairs x[j], x[n-j], j = 1 .. h-1, with the power j·k mod n carried by addition.
inline void reference_dft(uint32_t n, double pi, const cplx *in, cplx *out, cplx *roots, int32_t inverse,
                          uint32_t stride, uint32_t batch, uint32_t normalization) {
    const uint32_t h = (n + 1) / 2;
    const double theta = (pi + pi) / n;
    for (uint32_t m = 0; m < h; ++m) {
        double s, c;
        hw::trig::sin_cos(m * theta, &s, &c);
        roots[m] = {c, inverse ? s : -s};
    }
    for (size_t g = 0; g < batch; ++g)
        for (size_t t = 0; t < stride; ++t) {
            const cplx *x = in + g * n * stride + t;
            cplx *X = out + g * n * stride + t;
            auto at = [&](uint32_t j) { return x[j * stride]; };
            double re[2] = {at(0).real(), n > 1 ? at(1).real() : 0}, im[2] = {at(0).imag(), n > 1 ? at(1).imag() : 0};
            const bool even = n % 2 == 0;
            for (uint32_t j = even ? 2 : 1; j < n; ++j) {  // odd n: one sum; even n: even and odd indices
                re[even ? j % 2 : 0] += at(j).real();
                im[even ? j % 2 : 0] += at(j).imag();
            }
            X[0] = even ? cplx(re[0] + re[1], im[0] + im[1]) : cplx(re[0], im[0]);
            if (even) X[h * stride] = {re[0] - re[1], im[0] - im[1]};
            for (uint32_t k = 1; k < h; ++k) {
                const cplx start = !even ? at(0) : k % 2 ? cplx(at(0).real() - at(h).real(), at(0).imag() - at(h).imag())
                                                         : cplx(at(0).real() + at(h).real(), at(0).imag() + at(h).imag());
                double R = start.real(), I = start.imag(), A = 0, B = 0;
                for (uint32_t j = 1, m = k; j < h; ++j) {
                    const cplx p = at(j), q = at(n - j);
                    const double sr = p.real() + q.real(), si = p.imag() + q.imag();
                    const double dr = p.real() - q.real(), di = p.imag() - q.imag();
                    if (m == 0) {
                        R += sr;
                        I += si;
                    } else if (even && m == h) {
                        R -= sr;
                        I -= si;
                    } else if (m < h) {
                        R += sr * roots[m].real();
                        I += si * roots[m].real();
                        A += dr * roots[m].imag();
                        B -= di * roots[m].imag();
                    } else {
                        R += sr * roots[n - m].real();
                        I += si * roots[n - m].real();
                        A -= dr * roots[n - m].imag();
                        B += di * roots[n - m].imag();
                    }
                    m = m + k >= n ? m + k - n : m + k;
                }
                X[k * stride] = {R + B, I + A};
                X[(n - k) * stride] = {R - B, I - A};
            }
        }
    if (normalization != 0) {
        const double quotient = 1.0 / n, factor = normalization == 1 ? std::sqrt(quotient) : quotient;
        for (size_t i = 0; i < size_t{batch} * n * stride; ++i) out[i] = {out[i].real() * factor, out[i].imag() * factor};
    }
}

}  // namespace hwtest
