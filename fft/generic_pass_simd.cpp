// The pass of an odd radix without a butterfly of its own, for one instruction-set level.
//
// A prime radix p is written as a cyclic convolution by numbering the nonzero residues as
// powers of a generator g. With h = (p − 1)/2, the inputs paired as a_j = x[g^−j] + x[−g^−j]
// and d_j = x[g^−j] − x[−g^−j], and w(e) = ω^(g^e) (so w(e + h) is the conjugate of w(e)):
//     y[±g^k] = x_0 + Σ_j a_j·Re w(k − j) ± i·Σ_j d_j·Im w(k − j)    (j, k < h).
// Consecutive outputs k read consecutive entries of w, so vector lanes run along k, one input
// broadcast per step; every lane sums in the order a scalar would, so every level gives the
// same bits. While the pass runs, `roots` holds the parts of w(e) for |e| < h and `work` the
// a_j and d_j; the pass puts the table back in natural order before it returns.
#include <cstddef>
#include <cstring>
#include <cstdint>

#include "fft/complex.h"
#include "fft/block_twiddles.h"
#include "fft/generic_pass.h"
#include "fft/modular.h"
#include "simd/vec.h"

namespace hw::HW_ISA_NS {
namespace {

using fft::PassShape;
using fft::RootTable;
using fourier::Complex;
using fourier::turn;

inline Complex<double> load_value(const double *p) { return {p[0], p[1]}; }
inline void store_value(double *p, Complex<double> v) {
    p[0] = v.re;
    p[1] = v.im;
}

// A direct r-point DFT for an odd composite radix (no list of the radix decomposition has one),
// pairing outputs q and r − q: y_q = Σ_j x_j · table[j·q mod r]. The twiddled inputs are gathered into `work`, so the
// outputs can go straight back.
template <bool Inverse>
void direct_pass(const PassShape &s, double *data) {
    const uint32_t r = s.radix, half = (r + 1) / 2;
    const size_t span = size_t{s.m} * s.stride, block_length = r * span, group_length = size_t{s.n} * s.stride;
    const double *table = s.table;
    double *work = s.work;
    BlockDigits digits(s.radices, s.pass, s.first_block);
    for (uint32_t j = s.first_block; j < s.last_block; ++j, digits.next())
        for (size_t g = 0; g < s.batch; ++g)
            for (size_t i = 0; i < span; ++i) {
                double *x = data + 2 * (g * group_length + j * block_length + i);
                for (uint32_t q = 0; q < r; ++q) {
                    Complex<double> v = load_value(x + 2 * q * span);
                    if (s.pass > 0 && q > 0) v = turn<Inverse>(v, root(*s.roots, digits.rev * q * s.m));
                    store_value(work + 2 * q, v);
                }
                Complex<double> sum = load_value(work);
                for (uint32_t q = 1; q < r; ++q) sum = sum + load_value(work + 2 * q);
                store_value(x, sum);
                for (uint32_t q = 1; q < half; ++q) {
                    double are = work[0], aim = work[1], bre = 0.0, bim = 0.0;
                    uint32_t t = q;
                    for (uint32_t k = 1; k < half; ++k) {
                        const double wr = table[2 * t], wi = table[2 * t + 1];
                        const double *a = work + 2 * k, *c = work + 2 * (r - k);
                        are += (a[0] + c[0]) * wr;
                        bre += (a[0] - c[0]) * wi;
                        aim += (a[1] + c[1]) * wr;
                        bim -= (a[1] - c[1]) * wi;
                        t += q;
                        if (t >= r) t -= r;
                    }
                    store_value(x + 2 * q * span, {are + bim, aim + bre});
                    store_value(x + 2 * (r - q) * span, {are - bim, aim - bre});
                }
            }
}

// g^e mod p for e < p − 1, the first kCachedPowers of them kept (4 KiB of stack).
constexpr uint32_t kCachedPowers = 1024;
struct PowerTable {
    uint32_t cached[kCachedPowers], count, g, p;
    uint64_t reciprocal;
    PowerTable(uint32_t generator, uint32_t prime) : count(prime - 1 < kCachedPowers ? prime - 1 : kCachedPowers),
                                                      g(generator), p(prime), reciprocal(modular::reciprocal_of(prime)) {
        // Four interleaved walks: each step waits for the one before it.
        constexpr uint32_t kWalks = 4;
        const uint32_t part = (count + kWalks - 1) / kWalks;
        uint32_t v[kWalks];
        for (uint32_t w = 0; w < kWalks; ++w) v[w] = modular::power_mod(g, w * part, p);
        for (uint32_t i = 0; i < part; ++i)
            for (uint32_t w = 0; w < kWalks; ++w) {
                if (w * part + i < count) cached[w * part + i] = v[w];
                v[w] = modular::times_mod(v[w], g, p, reciprocal);
            }
    }
};

// Walks g^e mod p along consecutive e.
struct Powers {
    const PowerTable &table;
    uint32_t e, value;
    Powers(const PowerTable &powers, uint32_t first)
        : table(powers), e(first),
          value(first < powers.count ? powers.cached[first] : modular::power_mod(powers.g, first, powers.p)) {}
    void next() {
        if (++e == table.p - 1) e = 0;  // g^(p−1) = 1
        value = e < table.count ? table.cached[e] : modular::times_mod(value, table.g, table.p, table.reciprocal);
    }
};

// The table and inputs of one butterfly: cos and sin of w(e) at e + h − 1, the a_j and d_j.
struct Convolution {
    const double *cosine, *sine, *sum_re, *sum_im, *diff_re, *diff_im;
    uint32_t h;
};

// Outputs k0 .. k0 + K·W − 1: K vectors of W lanes. Writes the real and imaginary parts of
// y[g^k] and y[−g^k] to plus[0 .. 2KW) and minus[0 .. 2KW) (real parts first).
// Inputs summed per output in runs of this many, each run's sum then added to the total: the
// rounding error grows with the number of runs and their length rather than with h.
constexpr uint32_t kRun = 16;

// Outputs k0 .. k0 + K·W − 1: K vectors of W lanes. Writes the real and imaginary parts of
// y[g^k] and y[−g^k] to plus[0 .. 2KW) and minus[0 .. 2KW) (real parts first).
template <int W, int K>
void convolve(const Convolution &c, uint32_t k0, Complex<double> x0, double *plus, double *minus) {
    using V = typename VecOf<W>::type;
    const V zero{};
    V are[K], aim[K], bre[K], bim[K];
    for (int v = 0; v < K; ++v) {
        are[v] = x0.re - zero;  // every lane x0, the sign of zero included
        aim[v] = x0.im - zero;
        bre[v] = bim[v] = zero;
    }
    for (uint32_t first = 0; first < c.h; first += kRun) {
        V pre[K], pim[K], qre[K], qim[K];
        for (int v = 0; v < K; ++v) pre[v] = pim[v] = qre[v] = qim[v] = zero;
        const uint32_t end = c.h - first < kRun ? c.h : first + kRun;
        for (uint32_t j = first; j < end; ++j) {
            const V sr = c.sum_re[j] - zero, si = c.sum_im[j] - zero, dr = c.diff_re[j] - zero,
                    di = c.diff_im[j] - zero;
            const size_t at = k0 + c.h - 1 - j;
            for (int v = 0; v < K; ++v) {
                V cs, sn;
                std::memcpy(&cs, c.cosine + at + v * W, sizeof cs);
                std::memcpy(&sn, c.sine + at + v * W, sizeof sn);
                pre[v] += sr * cs;
                pim[v] += si * cs;
                qre[v] += dr * sn;
                qim[v] += di * sn;
            }
        }
        for (int v = 0; v < K; ++v) {
            are[v] += pre[v];
            aim[v] += pim[v];
            bre[v] += qre[v];
            bim[v] += qim[v];
        }
    }
    for (int v = 0; v < K; ++v) {
        const V parts[4] = {are[v] - bim[v], aim[v] + bre[v], are[v] + bim[v], aim[v] - bre[v]};
        std::memcpy(plus + v * W, &parts[0], sizeof(V));
        std::memcpy(plus + K * W + v * W, &parts[1], sizeof(V));
        std::memcpy(minus + v * W, &parts[2], sizeof(V));
        std::memcpy(minus + K * W + v * W, &parts[3], sizeof(V));
    }
}

// Outputs k .. h − 1, K·W at a time and then fewer, stored at data positions ±g^k (`at`
// walks g^k along).
template <int W, int K>
void outputs(const Convolution &c, uint32_t k, Complex<double> x0, Powers &at, double *x, size_t span) {
    constexpr int N = K * W;
    for (; k + N <= c.h; k += N) {
        double plus[2 * N], minus[2 * N];
        convolve<W, K>(c, k, x0, plus, minus);
        for (int l = 0; l < N; ++l, at.next()) {
            store_value(x + 2 * at.value * span, {plus[l], plus[N + l]});
            store_value(x + 2 * (at.table.p - at.value) * span, {minus[l], minus[N + l]});
        }
    }
    if constexpr (K > 1) outputs<W, 1>(c, k, x0, at, x, span);
    else if constexpr (W > 1) outputs<W / 2, 1>(c, k, x0, at, x, span);
}

template <bool Inverse>
void prime_pass(const PassShape &s, double *data, uint32_t g) {
    const uint32_t p = s.radix, h = (p - 1) / 2;
    const size_t span = size_t{s.m} * s.stride, block_length = p * span, group_length = size_t{s.n} * s.stride;
    double *roots = s.table, *work = s.work;
    const PowerTable powers(g, p);
    // w(e) for e = −(h − 1) .. h − 1 is the root of index g^e = g^(e + 2h); the only roots
    // left out are 1 and ω^(p−1) = ω^(g^h).
    const Complex<double> root_0 = load_value(roots), root_last = load_value(roots + 2 * (p - 1));
    std::memcpy(work, roots, 2 * sizeof(double) * p);
    double *const cosine = roots, *const sine = roots + 2 * h - 1;
    {
        Powers e(powers, h + 1);
        for (uint32_t i = 0; i + 1 < 2 * h; ++i, e.next()) {
            cosine[i] = work[2 * e.value];
            sine[i] = work[2 * e.value + 1];
        }
    }
    const Convolution c{cosine, sine, work, work + h, work + 2 * h, work + 3 * h, h};
    BlockDigits digits(s.radices, s.pass, s.first_block);
    for (uint32_t j = s.first_block; j < s.last_block; ++j, digits.next())
        for (size_t b = 0; b < s.batch; ++b)
            for (size_t i = 0; i < span; ++i) {
                double *x = data + 2 * (b * group_length + j * block_length + i);
                const auto input = [&](uint32_t q) {
                    const Complex<double> v = load_value(x + 2 * q * span);
                    return s.pass > 0 ? turn<Inverse>(v, root(*s.roots, digits.rev * q * s.m)) : v;
                };
                const Complex<double> x0 = load_value(x);
                Complex<double> y0 = x0;
                // Pair j holds g^−j = g^(2h − j): 1 for j = 0, then g^(h+1) .. g^(2h−1) for j = h−1 .. 1.
                const auto pair = [&](uint32_t j, uint32_t q) {
                    const Complex<double> u = input(q), v = input(p - q), a = u + v, d = u - v;
                    work[j] = a.re;
                    work[h + j] = a.im;
                    work[2 * h + j] = d.re;
                    work[3 * h + j] = d.im;
                    y0 = y0 + a;
                };
                pair(0, 1);
                Powers e(powers, h + 1);
                for (uint32_t k = h - 1; k > 0; --k, e.next()) pair(k, e.value);
                Powers at(powers, 0);
                outputs<kLanes, 2>(c, 0, x0, at, x, span);
                store_value(x, y0);
            }
    {
        Powers e(powers, h + 1);
        for (uint32_t i = 0; i + 1 < 2 * h; ++i, e.next()) {
            work[2 * e.value] = cosine[i];
            work[2 * e.value + 1] = sine[i];
        }
    }
    store_value(work, root_0);
    store_value(work + 2 * (p - 1), root_last);
    std::memcpy(roots, work, 2 * sizeof(double) * p);
}

}  // namespace

void fft_generic_pass(const PassShape &shape, double *data, bool inverse) {
    const uint32_t g = modular::is_odd_prime(shape.radix) ? modular::primitive_root(shape.radix) : 0;
    if (g == 0)
        inverse ? direct_pass<true>(shape, data) : direct_pass<false>(shape, data);
    else
        inverse ? prime_pass<true>(shape, data, g) : prime_pass<false>(shape, data, g);
}

}  // namespace hw::HW_ISA_NS
