// ehw_DFT: direct Fourier transforms of one length over a strided batch, out of place.
// Each pass over j pairs x[j] with x[n-j] and so yields X[k] and X[n-k] together; the
// power j*k mod n is carried by addition and read from a half-circle table of roots.
#include <cmath>
#include <cstddef>

#include "hw.h"

namespace {

struct Complex {
    double re, im;
};

// Entries 0 .. h-1 of the table: (cos(m*theta), sigma*sin(m*theta)).
void fill_roots(uint32_t n, double pi, int32_t inverse, Complex *roots) {
    const double theta = (pi + pi) / static_cast<double>(n);
    const uint32_t h = (n + 1) / 2;
    for (uint32_t m = 0; m < h; ++m) {
        const double angle = static_cast<double>(m) * theta;
        const double s = std::sin(angle);
        roots[m] = {std::cos(angle), inverse ? s : -s};
    }
}

// Adds the pair (p, q) at power m to the four sums of one output pair. Powers past the
// half circle read entry n - m with the sine's sign turned.
inline void add_pair(const Complex &p, const Complex &q, uint32_t m, uint32_t n, uint32_t h,
                     const Complex *roots, double &R, double &I, double &A, double &B) {
    if (m < h) {
        const Complex w = roots[m];
        R += (p.re + q.re) * w.re;
        I += (p.im + q.im) * w.re;
        A += (p.re - q.re) * w.im;
        B -= (p.im - q.im) * w.im;
    } else {
        const Complex w = roots[n - m];
        R += (p.re + q.re) * w.re;
        I += (p.im + q.im) * w.re;
        A -= (p.re - q.re) * w.im;
        B += (p.im - q.im) * w.im;
    }
}

// One transform: x[j] at x[j*step], X[k] at X[k*step].
void transform_odd(const Complex *x, Complex *X, size_t step, uint32_t n, const Complex *roots) {
    const uint32_t h = (n + 1) / 2;
    Complex sum = x[0];
    for (uint32_t j = 1; j < n; ++j) {
        sum.re += x[j * step].re;
        sum.im += x[j * step].im;
    }
    X[0] = sum;
    for (uint32_t k = 1; k < h; ++k) {
        double R = x[0].re, I = x[0].im, A = 0.0, B = 0.0;
        uint32_t m = k;
        for (uint32_t j = 1; j < h; ++j) {
            const Complex p = x[j * step], q = x[(n - j) * step];
            if (m == 0) {
                R += p.re + q.re;
                I += p.im + q.im;
            } else {
                add_pair(p, q, m, n, h, roots, R, I, A, B);
            }
            m += k;
            if (m >= n) m -= n;
        }
        X[k * step] = {R + B, I + A};
        X[(n - k) * step] = {R - B, I - A};
    }
}

void transform_even(const Complex *x, Complex *X, size_t step, uint32_t n, const Complex *roots) {
    const uint32_t h = n / 2;
    Complex even = x[0], odd = x[step];
    for (uint32_t j = 2; j < n; j += 2) {
        even.re += x[j * step].re;
        even.im += x[j * step].im;
        odd.re += x[(j + 1) * step].re;
        odd.im += x[(j + 1) * step].im;
    }
    X[0] = {even.re + odd.re, even.im + odd.im};
    X[h * step] = {even.re - odd.re, even.im - odd.im};
    const Complex first = x[0], middle = x[h * step];
    for (uint32_t k = 1; k < h; ++k) {
        double R, I;
        if (k & 1) {
            R = first.re - middle.re;
            I = first.im - middle.im;
        } else {
            R = first.re + middle.re;
            I = first.im + middle.im;
        }
        double A = 0.0, B = 0.0;
        uint32_t m = k;
        for (uint32_t j = 1; j < h; ++j) {
            const Complex p = x[j * step], q = x[(n - j) * step];
            if (m == 0) {
                R += p.re + q.re;
                I += p.im + q.im;
            } else if (m == h) {
                R -= p.re + q.re;
                I -= p.im + q.im;
            } else {
                add_pair(p, q, m, n, h, roots, R, I, A, B);
            }
            m += k;
            if (m >= n) m -= n;
        }
        X[k * step] = {R + B, I + A};
        X[(n - k) * step] = {R - B, I - A};
    }
}

}  // namespace

extern "C" int32_t ehw_DFT(uint32_t length, double pi, const double *input, double *output, double *roots,
                           int32_t inverse, uint32_t stride, uint32_t batch, uint32_t normalization) {
    const uint32_t n = length;
    if (n == 0) return 0;
    Complex *table = reinterpret_cast<Complex *>(roots);
    fill_roots(n, pi, inverse, table);
    const Complex *in = reinterpret_cast<const Complex *>(input);
    Complex *out = reinterpret_cast<Complex *>(output);
    const size_t group = size_t{n} * stride;
    for (uint32_t g = 0; g < batch; ++g) {
        for (uint32_t s = 0; s < stride; ++s) {
            const size_t base = g * group + s;
            if (n & 1)
                transform_odd(in + base, out + base, stride, n, table);
            else
                transform_even(in + base, out + base, stride, n, table);
        }
    }
    if (normalization != 0) {
        const double quotient = 1.0 / static_cast<double>(n);
        const double factor = normalization == 1 ? std::sqrt(quotient) : quotient;
        const size_t count = size_t{batch} * group * 2;
        for (size_t i = 0; i < count; ++i) output[i] *= factor;
    }
    return 0;
}
