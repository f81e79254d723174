// The mixed-radix decimation-in-frequency FFT: one butterfly pass per radix, a twiddle step
// between passes that multiplies whole runs of consecutive values by one factor each, and a
// final reordering of the digit-reversed results into natural order.
#include <cmath>
#include <cstddef>

#include "fft/butterflies.h"
#include "fft/radix_kinds.h"
#include "fft/reorder.h"
#include "hw.h"

namespace hw::fft {
namespace {

// The part of the data one pass works on: `blocks` consecutive blocks of r * m * stride
// complex values; within a block, butterfly inputs lie m * stride values apart.
struct Pass {
    double *data;
    size_t blocks;
    size_t span;  // m * stride: butterflies per block and the distance between their inputs
};

template <int R, typename Kernel>
void pass_of(const Pass &p, Kernel kernel) {
    for (size_t b = 0; b < p.blocks; ++b)
        run_butterflies<R>(p.data + 2 * b * R * p.span, p.span, p.span, kernel);
}

template <bool Inverse>
void pow2_pass(const Pass &p, uint32_t r, double two_pi) {
    const double h = 0.7071067811865476;
    switch (r) {
    case 2:
        pass_of<2>(p, [](const Cx *x, Cx *y) {
            y[0] = x[0] + x[1];
            y[1] = x[0] - x[1];
        });
        break;
    case 4: pass_of<4>(p, [](const Cx *x, Cx *y) { dft4<Inverse>(x, y); }); break;
    case 8: pass_of<8>(p, [h](const Cx *x, Cx *y) { dft8<Inverse>(x, y, h); }); break;
    default: {
        const double cs = std::cos(0.0625f * two_pi), sn = std::sin(0.0625f * two_pi);
        pass_of<16>(p, [h, cs, sn](const Cx *x, Cx *y) { dft16<Inverse>(x, y, h, cs, sn); });
    }
    }
}

void odd_pass(const Pass &p, uint32_t r, bool inverse, double two_pi) {
    const double sigma = inverse ? 1.0 : -1.0;
    OddConstants k{};
    k.s3 = inverse ? 0.8660254037844386 : -0.8660254037844386;
    if (r == 5) {
        k.c1 = std::cos(0.2 * two_pi);
        k.c2 = std::cos(0.4 * two_pi);
        k.s1 = std::sin((inverse ? 0.2 : -0.2) * two_pi);
        k.s2 = std::sin((inverse ? 0.4 : -0.4) * two_pi);
    } else if (r == 9) {
        const double div = sigma * 9.0;
        k.c1 = std::cos(two_pi / 9.0);
        k.c2 = std::cos(2 * two_pi / 9.0);
        k.c4 = std::cos(4.0f * two_pi / 9.0);
        k.s1 = std::sin(two_pi / div);
        k.s2 = std::sin(2 * two_pi / div);
        k.s4 = std::sin(4.0f * two_pi / div);
    }
    switch (r) {
    case 3: pass_of<3>(p, [&k](const Cx *x, Cx *y) { dft3(x[0], x[1], x[2], k.s3, y); }); break;
    case 5: pass_of<5>(p, [&k](const Cx *x, Cx *y) { dft5(x, y, k); }); break;
    case 6: pass_of<6>(p, [&k](const Cx *x, Cx *y) { dft6(x, y, k.s3); }); break;
    default: pass_of<9>(p, [&k](const Cx *x, Cx *y) { dft9(x, y, k); });
    }
}

// The p-th roots of unity of a generic odd radix.
void fill_roots(double *roots, uint32_t r, bool inverse, double two_pi) {
    const double step = two_pi / r;
    const uint32_t half = (r + 1) / 2;
    store(roots, {1.0, 0.0});
    for (uint32_t k = 1; k < half; ++k) {
        const double angle = k * step, cs = std::cos(angle), sn = std::sin(angle);
        store(roots + 2 * k, {cs, inverse ? sn : -sn});
        store(roots + 2 * (r - k), {cs, inverse ? -sn : sn});
    }
}

// Direct r-point DFT of an odd radix without a specialised butterfly, pairing outputs q and
// r - q; the inputs are gathered into `work` so the outputs can go straight back.
void generic_pass(const Pass &p, uint32_t r, double *work, const double *roots) {
    const uint32_t half = (r + 1) / 2;
    for (size_t b = 0; b < p.blocks; ++b) {
        double *block = p.data + 2 * b * r * p.span;
        for (size_t i = 0; i < p.span; ++i) {
            double *x = block + 2 * i;
            const size_t dist = 2 * p.span;
            for (uint32_t q = 0; q < r; ++q) store(work + 2 * q, load(x + q * dist));
            Cx sum = load(work);
            for (uint32_t q = 1; q < r; ++q) sum = sum + load(work + 2 * q);
            store(x, sum);
            for (uint32_t q = 1; q < half; ++q) {
                double are = work[0], aim = work[1], bre = 0.0, bim = 0.0;
                uint32_t t = q;
                for (uint32_t j = 1; j < half; ++j) {
                    const double wr = roots[2 * t], wi = roots[2 * t + 1];
                    const double *a = work + 2 * j, *c = work + 2 * (r - j);
                    are += (a[0] + c[0]) * wr;
                    bre += (a[0] - c[0]) * wi;
                    aim += (a[1] + c[1]) * wr;
                    bim -= (a[1] - c[1]) * wi;
                    t += q;
                    if (t >= r) t -= r;
                }
                store(x + q * dist, {are + bim, aim + bre});
                store(x + (r - q) * dist, {are - bim, aim - bre});
            }
        }
    }
}

// Digit reversal of block index j after pass p (p >= 1).
uint32_t reversed_block(uint32_t j, const uint32_t *r, uint32_t p) {
    uint32_t acc = j % r[p], quot = j / r[p];
    for (uint32_t t = p - 1; t >= 1; --t) {
        acc = acc * r[t] + quot % r[t];
        quot /= r[t];
    }
    return r[0] * acc + quot;
}

// Multiplies `len` consecutive complex values by (wr, wi).
void scale_run(double *x, size_t len, double wr, double wi) {
    for (size_t i = 0; i < len; ++i) {
        const double xr = x[2 * i], xi = x[2 * i + 1];
        x[2 * i] = xr * wr - xi * wi;
        x[2 * i + 1] = xr * wi + xi * wr;
    }
}

// The twiddle step after pass p: blocks of m positions split into runs of m_next; run q of
// block j is multiplied by exp(-+2 pi i rev(j) q m_next / n).
void twiddle_step(double *data, const uint32_t *r, uint32_t p, uint32_t n, uint32_t blocks_done,
                  uint32_t m, uint32_t m_next, bool inverse, double two_pi, size_t stride, size_t batch) {
    const uint32_t r_next = r[p + 1];
    const size_t run = static_cast<size_t>(m_next) * stride;
    for (uint32_t j = 0; j < blocks_done; ++j) {
        const uint32_t rev = p == 0 ? j : reversed_block(j, r, p);
        for (uint32_t q = 1; q < r_next; ++q) {
            const uint32_t t = rev * q * m_next;
            const double angle = (t * two_pi) / n;
            const double wr = std::cos(angle), s = std::sin(angle), wi = inverse ? s : -s;
            for (size_t g = 0; g < batch; ++g) {
                const size_t at = (g * n + static_cast<size_t>(j) * m + static_cast<size_t>(q) * m_next) * stride;
                scale_run(data + 2 * at, run, wr, wi);
            }
        }
    }
}

}  // namespace
}  // namespace hw::fft

using namespace hw::fft;

extern "C" int32_t ehw_FFT(uint32_t length, uint32_t *radices, uint32_t radix_count, double pi,
                           double *data, double *work, double *roots, int32_t inverse, int32_t storage,
                           uint32_t stride, uint32_t batch) {
    if (radix_count == 0 || length < 2) return 0;
    const double two_pi = pi + pi;
    const bool inv = inverse != 0;
    uint32_t blocks = 1, m = length, roots_radix = 0;
    for (uint32_t p = 0; p < radix_count; ++p) {
        const uint32_t r = radices[p];
        if (r % 2 == 0 && !is_power_of_two_radix(r) && r != 6) return 1;
        m /= r;
        const Pass pass{data, static_cast<size_t>(batch) * blocks, static_cast<size_t>(m) * stride};
        if (is_power_of_two_radix(r)) {
            inv ? pow2_pass<true>(pass, r, two_pi) : pow2_pass<false>(pass, r, two_pi);
            roots_radix = 0;
        } else if (is_small_mixed_radix(r)) {
            odd_pass(pass, r, inv, two_pi);
            roots_radix = 0;
        } else {
            // The root table stays valid for a following pass of the same radix.
            if (roots_radix != r) fill_roots(roots, r, inv, two_pi);
            roots_radix = r;
            generic_pass(pass, r, work, roots);
        }
        blocks *= r;
        if (p + 1 < radix_count && radices[p + 1] == 0) return 1;
        if (p + 1 < radix_count)
            twiddle_step(data, radices, p, length, blocks, m, m / radices[p + 1], inv, two_pi, stride, batch);
    }
    if (storage != 0)
        ehw_Transpose(length, radices, radix_count, data, work, stride, batch);
    else
        reorder_in_place(length, radices, radix_count, data, stride, batch);
    return 0;
}
