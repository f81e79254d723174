// ehw_DFT: direct Fourier transforms of one length over a strided batch, out of place.
// Each pass over j pairs x[j] with x[n-j] and so yields X[k] and X[n-k] together; the
// power j*k mod n is carried by addition and read from a half-circle table of roots.
#include <cmath>
#include <cstddef>

#include "dft/dft_engine.h"
#include "hw.h"
#include "trig/trig.h"

namespace {

struct DftComplex {
    double re, im;
};

// Entries 0 .. h-1 of the table: (cos(m*theta), sigma*sin(m*theta)).
void fill_half_circle_roots(uint32_t n, double pi, int32_t inverse, DftComplex *roots) {
    const double theta = (pi + pi) / static_cast<double>(n);
    const uint32_t h = (n + 1) / 2;
    for (uint32_t m = 0; m < h; ++m) {
        const double angle = static_cast<double>(m) * theta;
        double s, c;
        hw::trig::sin_cos(angle, &s, &c);
        roots[m] = {c, inverse ? s : -s};
    }
}

// K consecutive output pairs (X[k], X[n-k]), k = k0 .. k0+K-1, computed side by side so
// that their independent sums overlap in the pipeline; each output keeps its own order of
// operations. For even n the sums start at x[0] - x[n/2] for odd k, else at x[0] + x[n/2];
// for odd n `start_odd_k` and `start_even_k` are both x[0].
template <int K, bool EvenLength>
void output_pairs(const DftComplex *x, DftComplex *X, size_t step, uint32_t n, uint32_t k0, const DftComplex *roots,
                  DftComplex start_odd_k, DftComplex start_even_k) {
    const uint32_t h = (n + 1) / 2;
    double R[K], I[K], A[K], B[K];
    uint32_t m[K];
#pragma GCC unroll 8
    for (int l = 0; l < K; ++l) {
        const uint32_t k = k0 + l;
        const DftComplex start = (k & 1) ? start_odd_k : start_even_k;
        R[l] = start.re;
        I[l] = start.im;
        A[l] = 0.0;
        B[l] = 0.0;
        m[l] = k;
    }
    for (uint32_t j = 1; j < h; ++j) {
        const DftComplex p = x[j * step], q = x[(n - j) * step];
        const double sum_re = p.re + q.re, sum_im = p.im + q.im;
        const double diff_re = p.re - q.re, diff_im = p.im - q.im;
#pragma GCC unroll 8
        for (int l = 0; l < K; ++l) {
            const uint32_t power = m[l];
            if (power == 0) {
                R[l] += sum_re;
                I[l] += sum_im;
            } else if (EvenLength && power == h) {  // the root -1
                R[l] -= sum_re;
                I[l] -= sum_im;
            } else {
                // Past the half circle: the conjugate of entry n - m, so the sine sums turn.
                const bool upper = power >= h;
                const DftComplex w = roots[upper ? n - power : power];
                const double sine = upper ? -w.im : w.im;
                R[l] += sum_re * w.re;
                I[l] += sum_im * w.re;
                A[l] += diff_re * sine;
                B[l] -= diff_im * sine;
            }
            m[l] = power + (k0 + l) >= n ? power + (k0 + l) - n : power + (k0 + l);
        }
    }
#pragma GCC unroll 8
    for (int l = 0; l < K; ++l) {
        const uint32_t k = k0 + l;
        X[k * step] = {R[l] + B[l], I[l] + A[l]};
        X[(n - k) * step] = {R[l] - B[l], I[l] - A[l]};
    }
}

// Outputs 1 .. h-1 with their mirrors, four at a time.
template <bool EvenLength>
void all_output_pairs(const DftComplex *x, DftComplex *X, size_t step, uint32_t n, const DftComplex *roots,
                      DftComplex start_odd_k, DftComplex start_even_k) {
    const uint32_t h = (n + 1) / 2;
    uint32_t k = 1;
    for (; k + 4 <= h; k += 4) output_pairs<4, EvenLength>(x, X, step, n, k, roots, start_odd_k, start_even_k);
    for (; k < h; ++k) output_pairs<1, EvenLength>(x, X, step, n, k, roots, start_odd_k, start_even_k);
}

// One transform: x[j] at x[j*step], X[k] at X[k*step].
void transform_odd(const DftComplex *x, DftComplex *X, size_t step, uint32_t n, const DftComplex *roots) {
    DftComplex sum = x[0];
    for (uint32_t j = 1; j < n; ++j) {
        sum.re += x[j * step].re;
        sum.im += x[j * step].im;
    }
    X[0] = sum;
    all_output_pairs<false>(x, X, step, n, roots, x[0], x[0]);
}

void transform_even(const DftComplex *x, DftComplex *X, size_t step, uint32_t n, const DftComplex *roots) {
    const uint32_t h = n / 2;
    DftComplex even = x[0], odd = x[step];
    for (uint32_t j = 2; j < n; j += 2) {
        even.re += x[j * step].re;
        even.im += x[j * step].im;
        odd.re += x[(j + 1) * step].re;
        odd.im += x[(j + 1) * step].im;
    }
    X[0] = {even.re + odd.re, even.im + odd.im};
    X[h * step] = {even.re - odd.re, even.im - odd.im};
    const DftComplex first = x[0], middle = x[h * step];
    all_output_pairs<true>(x, X, step, n, roots, {first.re - middle.re, first.im - middle.im},
                           {first.re + middle.re, first.im + middle.im});
}

}  // namespace

int32_t hw::dft::transform_at_level(simd::Isa, uint32_t length, double pi, const double *input, double *output,
                                    double *roots, int32_t inverse, uint32_t stride, uint32_t batch,
                                    uint32_t normalization) {
    const uint32_t n = length;
    if (n == 0) return 0;
    DftComplex *table = reinterpret_cast<DftComplex *>(roots);
    fill_half_circle_roots(n, pi, inverse, table);
    const DftComplex *in = reinterpret_cast<const DftComplex *>(input);
    DftComplex *out = reinterpret_cast<DftComplex *>(output);
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

extern "C" int32_t ehw_DFT(uint32_t length, double pi, const double *input, double *output, double *roots,
                           int32_t inverse, uint32_t stride, uint32_t batch, uint32_t normalization) {
    return hw::dft::transform_at_level(hw::simd::best_isa(), length, pi, input, output, roots, inverse, stride, batch,
                                       normalization);
}
