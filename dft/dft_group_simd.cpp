// The direct DFT's sums on vectors. Every output pair X[k], X[n-k] keeps its own fixed order:
// R, I start at x[0] (even n: x[0] ∓ x[n/2] by the parity of k), A, B at 0, and for
// j = 1 .. h-1 the power m = j·k mod n (carried by addition) selects
//   m = 0:            R += Re(p+q), I += Im(p+q)
//   m = n/2 (even n): R -= Re(p+q), I -= Im(p+q)
//   otherwise:        R += Re(p+q)·c, I += Im(p+q)·c, A += Re(p-q)·s, B -= Im(p-q)·s
// with p = x[j], q = x[n-j], (c, s) the root of power m (the conjugate of entry n-m past the
// half circle); then X[k] = (R + B, I + A), X[n-k] = (R - B, I - A). A vector lane follows one
// output, so any arrangement of lanes gives the scalar bits:
// - across sequences: lanes hold the same output of neighbouring sequences, interleaved as
//   (re, im), with one root broadcast to every lane; the roots of a chunk of steps are worked
//   out once for all sequences;
// - across outputs of a single sequence of prime length: lanes hold the outputs g^e for
//   consecutive e (g a primitive root), whose roots lie side by side in a permuted table;
// - across outputs of a single sequence of a length divisible by 4 (512-bit vectors): lanes
//   hold the outputs k, Q + k, Q - k, 2Q - k (Q = n/4), whose roots are quarter turns of two
//   table rows, put in place by one permute;
// - across outputs of a single sequence of any other length: lanes hold neighbouring k with
//   powers per lane, roots gathered from the table and the sine's sign chosen per lane.
// Helpers stay in this file or in headers whose definitions have internal linkage (docs/simd.md).
#include <cstdint>

#include "dft/dft_kernels.h"
#include "fft/complex.h"
#include "simd/vec.h"

#include <immintrin.h>

namespace hw::HW_ISA_NS {
namespace {

using fourier::Complex;

// The transform's length and its half-circle roots.
struct Circle {
    uint32_t n, h;
    bool even;
    const Complex<double> *roots;
};

uint32_t next_power(uint32_t m, uint32_t k, uint32_t n) { return m + k >= n ? m + k - n : m + k; }

// Power m is 0, or n/2 for even n: no sine terms.
bool no_sine(const Circle &c, uint32_t m) { return m == 0 || (c.even && m == c.h); }

// The cosine and the signed sine of power m (not no_sine(m)).
// Without branches: which half a power falls in follows no pattern a predictor could learn.
void root_of_power(const Circle &c, uint32_t m, double *cosine, double *sine) {
    const uint32_t upper = -static_cast<uint32_t>(m >= c.h);
    const Complex<double> w = c.roots[m ^ ((m ^ (c.n - m)) & upper)];
    uint64_t bits;
    __builtin_memcpy(&bits, &w.im, sizeof bits);
    bits ^= static_cast<uint64_t>(upper & 1u) << 63;
    *cosine = w.re;
    __builtin_memcpy(sine, &bits, sizeof bits);
}

// ---- across sequences: vectors of interleaved complex values, one complex per two lanes

typedef double vcomplex __attribute__((vector_size(16)));  // a single complex value

template <class Vec>
constexpr int kDoubles = sizeof(Vec) / sizeof(double);

template <class Vec>
Vec load_as(const double *p) {
    Vec v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}

template <class Vec>
void store_as(double *p, Vec v) {
    __builtin_memcpy(p, &v, sizeof v);
}

// (re, im) -> (im, re) in every complex slot.
template <class Vec>
Vec swap_re_im(Vec v) {
    if constexpr (kDoubles<Vec> == 2)
        return __builtin_shufflevector(v, v, 1, 0);
    else if constexpr (kDoubles<Vec> == 4)
        return __builtin_shufflevector(v, v, 1, 0, 3, 2);
    else
        return __builtin_shufflevector(v, v, 1, 0, 3, 2, 5, 4, 7, 6);
}

// X[0] and, for even n, X[n/2] of V vectors of sequences.
template <class Vec, int V>
void plain_sums(const double *x, double *X, size_t row, const Circle &c) {
    constexpr int L = kDoubles<Vec>;
    Vec a[V], b[V];
    for (int v = 0; v < V; ++v) a[v] = load_as<Vec>(x + v * L);
    if (!c.even) {
        for (uint32_t j = 1; j < c.n; ++j)
            for (int v = 0; v < V; ++v) a[v] += load_as<Vec>(x + j * row + v * L);
        for (int v = 0; v < V; ++v) store_as(X + v * L, a[v]);
        return;
    }
    for (int v = 0; v < V; ++v) b[v] = load_as<Vec>(x + row + v * L);
    for (uint32_t j = 2; j < c.n; j += 2)
        for (int v = 0; v < V; ++v) {
            a[v] += load_as<Vec>(x + j * row + v * L);
            b[v] += load_as<Vec>(x + (j + 1) * row + v * L);
        }
    for (int v = 0; v < V; ++v) {
        store_as(X + v * L, a[v] + b[v]);
        store_as(X + c.h * row + v * L, a[v] - b[v]);
    }
}

// s in every lane, -0 included (0 + s would turn -0 into +0).
template <class Vec>
Vec splat(double s) {
    if constexpr (sizeof(Vec) == 16) return reinterpret_cast<Vec>(_mm_set1_pd(s));
#if HW_VEC_DOUBLES >= 4
    else if constexpr (sizeof(Vec) == 32) return reinterpret_cast<Vec>(_mm256_set1_pd(s));
#endif
#if HW_VEC_DOUBLES == 8
    else return reinterpret_cast<Vec>(_mm512_set1_pd(s));
#endif
}

// D = P - Q with its imaginary lanes negated: adding D'·s to (A, B) gives A + Re D·s and
// B + (-Im D)·s = B - Im D·s exactly, so both roots reach the products as plain broadcasts.
typedef long long vbits2 __attribute__((vector_size(16)));
typedef long long vbits4 __attribute__((vector_size(32)));
typedef long long vbits8 __attribute__((vector_size(64)));

template <class Vec>
Vec conjugate_lanes(Vec d) {
    constexpr long long kSign = static_cast<long long>(1ull << 63);
    if constexpr (kDoubles<Vec> == 2)
        return reinterpret_cast<Vec>(reinterpret_cast<vbits2>(d) ^ vbits2{0, kSign});
    else if constexpr (kDoubles<Vec> == 4)
        return reinterpret_cast<Vec>(reinterpret_cast<vbits4>(d) ^ vbits4{0, kSign, 0, kSign});
    else
        return reinterpret_cast<Vec>(reinterpret_cast<vbits8>(d) ^ vbits8{0, kSign, 0, kSign, 0, kSign, 0, kSign});
}

// The roots that outputs k0 .. k0+K-1 meet at the steps j0 .. j0 + kStepChunk - 1, worked
// out once and read by every vector of sequences.
constexpr uint32_t kStepChunk = 128;

enum PowerKind : uint8_t { kRoot, kPowerZero, kPowerHalf };

template <int K>
struct StepRoots {
    double cosine[kStepChunk][K];
    double sine[kStepChunk][K];
    PowerKind kind[kStepChunk][K];
    bool every_root[kStepChunk];
};

// Steps j0 .. j1-1; m[t] holds the power of output k0+t at step j0.
template <int K>
void fill_step_roots(const Circle &c, uint32_t k0, uint32_t j0, uint32_t j1, uint32_t *m, StepRoots<K> *r) {
    for (uint32_t j = j0; j < j1; ++j) {
        const uint32_t i = j - j0;
        r->every_root[i] = true;
        for (int t = 0; t < K; ++t) {
            if (no_sine(c, m[t])) {
                r->kind[i][t] = m[t] == 0 ? kPowerZero : kPowerHalf;
                r->every_root[i] = false;
                r->cosine[i][t] = r->sine[i][t] = 0;
            } else {
                root_of_power(c, m[t], &r->cosine[i][t], &r->sine[i][t]);
                r->kind[i][t] = kRoot;
            }
            m[t] = next_power(m[t], k0 + t, c.n);
        }
    }
}

// Steps j0 .. j1-1 of output pairs k0 .. k0+K-1 for V vectors of sequences; the pair sums of
// one j serve all K. Between chunks of steps the sums wait in the outputs' own places:
// (R, I) at X[k], (A, B) at X[n-k].
template <class Vec, int V, int K>
void sequence_steps(const double *x, double *X, size_t row, const Circle &c, uint32_t k0, uint32_t j0, uint32_t j1,
                    const StepRoots<K> &r) {
    constexpr int L = kDoubles<Vec>;
    Vec RI[K][V], AB[K][V];
#pragma GCC unroll 8
    for (int t = 0; t < K; ++t) {
        const uint32_t k = k0 + t;
#pragma GCC unroll 8
        for (int v = 0; v < V; ++v) {
            if (j0 > 1) {
                RI[t][v] = load_as<Vec>(X + k * row + v * L);
                AB[t][v] = load_as<Vec>(X + (c.n - k) * row + v * L);
                continue;
            }
            Vec start = load_as<Vec>(x + v * L);
            if (c.even) {
                const Vec middle = load_as<Vec>(x + c.h * row + v * L);
                start = (k & 1) ? start - middle : start + middle;
            }
            RI[t][v] = start;
            AB[t][v] = Vec{};
        }
    }
    for (uint32_t j = j0; j < j1; ++j) {
        const uint32_t i = j - j0;
        const double *p = x + j * row, *q = x + (c.n - j) * row;
        if (r.every_root[i]) {
#pragma GCC unroll 8
            for (int v = 0; v < V; ++v) {
                const Vec P = load_as<Vec>(p + v * L), Q = load_as<Vec>(q + v * L);
                const Vec S = P + Q, D = conjugate_lanes(P - Q);
#pragma GCC unroll 8
                for (int t = 0; t < K; ++t) {
                    RI[t][v] += S * splat<Vec>(r.cosine[i][t]);
                    AB[t][v] += D * splat<Vec>(r.sine[i][t]);
                }
            }
        } else {
            for (int v = 0; v < V; ++v) {
                const Vec P = load_as<Vec>(p + v * L), Q = load_as<Vec>(q + v * L);
                const Vec S = P + Q, D = conjugate_lanes(P - Q);
                for (int t = 0; t < K; ++t) {
                    if (r.kind[i][t] == kPowerZero) {
                        RI[t][v] += S;
                    } else if (r.kind[i][t] == kPowerHalf) {
                        RI[t][v] -= S;
                    } else {
                        RI[t][v] += S * splat<Vec>(r.cosine[i][t]);
                        AB[t][v] += D * splat<Vec>(r.sine[i][t]);
                    }
                }
            }
        }
    }
    const bool last = j1 == c.h;
#pragma GCC unroll 8
    for (int t = 0; t < K; ++t) {
        const uint32_t k = k0 + t;
#pragma GCC unroll 8
        for (int v = 0; v < V; ++v) {
            if (!last) {
                store_as(X + k * row + v * L, RI[t][v]);
                store_as(X + (c.n - k) * row + v * L, AB[t][v]);
                continue;
            }
            const Vec BA = swap_re_im(AB[t][v]);
            store_as(X + k * row + v * L, RI[t][v] + BA);
            store_as(X + (c.n - k) * row + v * L, RI[t][v] - BA);
        }
    }
}

// For finite data the powers 0 and n/2 need no path of their own: the cosines 1 and -1 give
// R + S and R - S exactly, and the sine ±0 adds a zero to A and B, which start at +0 and so
// are never -0. A table of the whole circle (entry n/2 set to (-1, 0)) then gives every
// step's roots by one load.
constexpr uint32_t kLargestCircle = 1536;  // lengths up to here (the table lives on the stack)

void build_full_circle(const Circle &c, Complex<double> *circle) {
    for (uint32_t m = 0; m < c.h; ++m) circle[m] = c.roots[m];
    if (c.even) circle[c.h] = {-1.0, 0.0};  // the table ends below n/2
    for (uint32_t m = c.n - c.h + 1; m < c.n; ++m) circle[m] = {c.roots[c.n - m].re, -c.roots[c.n - m].im};
}

// Steps j0 .. j1-1 of output pairs k0 .. k0+K-1 for `vectors` vectors of sequences, V at a time.
template <class Vec, int V, int K>
void chunk_outputs(const double *x, double *X, size_t row, const Circle &c, uint32_t vectors, uint32_t k0,
                   uint32_t j0, uint32_t j1) {
    constexpr int L = kDoubles<Vec>;
    StepRoots<K> roots;
    uint32_t m[K];
    for (int t = 0; t < K; ++t) m[t] = static_cast<uint32_t>(uint64_t{j0} * (k0 + t) % c.n);
    fill_step_roots<K>(c, k0, j0, j1, m, &roots);
    uint32_t v = 0;
    for (; v + V <= vectors; v += V) sequence_steps<Vec, V, K>(x + v * L, X + v * L, row, c, k0, j0, j1, roots);
    for (; v < vectors; ++v) sequence_steps<Vec, 1, K>(x + v * L, X + v * L, row, c, k0, j0, j1, roots);
}

// Output pairs k0 .. k0+K-1 of one sequence.
template <int K>
void single_outputs(const double *x, double *X, size_t row, const Circle &c, uint32_t k0) {
    for (uint32_t j0 = 1; j0 < c.h; j0 += kStepChunk)
        chunk_outputs<vcomplex, 1, K>(x, X, row, c, 1, k0, j0, c.h - j0 > kStepChunk ? j0 + kStepChunk : c.h);
}

// Every output of `vectors` vectors of sequences: V vectors and K output pairs at a time, all
// outputs over one chunk of steps before the next, so that the chunk's input rows stay in cache.
template <class Vec, int V, int K>
void sequences(const double *x, double *X, size_t row, const Circle &c, uint32_t vectors) {
    constexpr int L = kDoubles<Vec>;
    uint32_t v = 0;
    for (; v + V <= vectors; v += V) plain_sums<Vec, V>(x + v * L, X + v * L, row, c);
    for (; v < vectors; ++v) plain_sums<Vec, 1>(x + v * L, X + v * L, row, c);
    for (uint32_t j0 = 1; j0 < c.h; j0 += kStepChunk) {
        const uint32_t j1 = c.h - j0 > kStepChunk ? j0 + kStepChunk : c.h;
        uint32_t k = 1;
        for (; k + K <= c.h; k += K) chunk_outputs<Vec, V, K>(x, X, row, c, vectors, k, j0, j1);
        for (; k < c.h; ++k) chunk_outputs<Vec, V, 1>(x, X, row, c, vectors, k, j0, j1);
    }
}

// Whether the first `sequences` of every row of n are finite (x - x is 0 unless x is infinite or NaN).
bool all_finite(const double *x, size_t row, uint32_t n, uint32_t sequences) {
    bool finite = true;
    for (uint32_t j = 0; j < n; ++j)
        for (uint32_t i = 0; i < 2 * sequences; ++i) finite &= x[j * row + i] - x[j * row + i] == 0;
    return finite;
}

// The whole circle's path, for one vector of sequences at a time: the pair sums S = p + q and
// differences D' (conjugate_lanes) of a chunk of steps are packed side by side, so that they
// stay in the first-level cache for every block of outputs, and each output carries its power
// and reads its roots from the circle directly.
constexpr uint32_t kCircleChunk = 128;

struct CircleWork {
    Complex<double> circle[kLargestCircle];
    uint32_t power[kLargestCircle / 2];  // of output k at the chunk's first step, doubled
};

// Steps j0 .. j1-1 of output pairs k0 .. k0+K-1 of one vector of sequences. At step j output
// k0 meets the power m = j·k0 mod n and output k0 + t the power m + t·j mod n, so one power
// is carried from step to step and the others follow from it by adding j. Powers are kept
// doubled (the index of the cosine in the table) and reduced by a sign test.
template <class Vec, int K>
void circle_steps(const double *x, double *X, size_t row, const Circle &c, CircleWork &w, const Vec *packed,
                  uint32_t k0, uint32_t j0, uint32_t j1) {
    Vec RI[K], AB[K];
#pragma GCC unroll 8
    for (int t = 0; t < K; ++t) {
        const uint32_t k = k0 + t;
        if (j0 > 1) {
            RI[t] = load_as<Vec>(X + k * row);
            AB[t] = load_as<Vec>(X + (c.n - k) * row);
            continue;
        }
        Vec start = load_as<Vec>(x);
        if (c.even) {
            const Vec middle = load_as<Vec>(x + c.h * row);
            start = (k & 1) ? start - middle : start + middle;
        }
        RI[t] = start;
        AB[t] = Vec{};
    }
    const double *table = &w.circle[0].re;
    const int32_t n2 = static_cast<int32_t>(2 * c.n), output_step = static_cast<int32_t>(2 * k0) - n2;
    int32_t power = static_cast<int32_t>(w.power[k0]), input_step = static_cast<int32_t>(2 * j0) - n2;
    for (uint32_t i = 0; i < j1 - j0; ++i, input_step += 2) {
        const Vec S = packed[2 * i], D = packed[2 * i + 1];
        int32_t m = power;
#pragma GCC unroll 8
        for (int t = 0; t < K; ++t) {
            RI[t] += S * splat<Vec>(table[m]);
            AB[t] += D * splat<Vec>(table[m + 1]);
            if (t + 1 < K) {
                m += input_step;
                m = m < 0 ? m + n2 : m;
            }
        }
        power += output_step;
        power = power < 0 ? power + n2 : power;
    }
    w.power[k0] = static_cast<uint32_t>(power);
    const bool last = j1 == c.h;
#pragma GCC unroll 8
    for (int t = 0; t < K; ++t) {
        const uint32_t k = k0 + t;
        if (!last) {
            store_as(X + k * row, RI[t]);
            store_as(X + (c.n - k) * row, AB[t]);
            continue;
        }
        const Vec BA = swap_re_im(AB[t]);
        store_as(X + k * row, RI[t] + BA);
        store_as(X + (c.n - k) * row, RI[t] - BA);
    }
}

template <class Vec, int K>
void circle_sequences(const double *x, double *X, size_t row, const Circle &c, CircleWork &w, uint32_t vectors) {
    constexpr int L = kDoubles<Vec>;
    Vec packed[2 * kCircleChunk];
    for (uint32_t v = 0; v < vectors; ++v) {
        const double *xv = x + v * L;
        double *Xv = X + v * L;
        plain_sums<Vec, 1>(xv, Xv, row, c);
        for (uint32_t k = 1; k < c.h; ++k) w.power[k] = 2 * k;
        for (uint32_t j0 = 1; j0 < c.h; j0 += kCircleChunk) {
            const uint32_t j1 = c.h - j0 > kCircleChunk ? j0 + kCircleChunk : c.h;
            for (uint32_t j = j0; j < j1; ++j) {
                const Vec P = load_as<Vec>(xv + j * row), Q = load_as<Vec>(xv + (c.n - j) * row);
                packed[2 * (j - j0)] = P + Q;
                packed[2 * (j - j0) + 1] = conjugate_lanes(P - Q);
            }
            uint32_t k = 1;
            for (; k + K <= c.h; k += K) circle_steps<Vec, K>(xv, Xv, row, c, w, packed, k, j0, j1);
            for (; k < c.h; ++k) circle_steps<Vec, 1>(xv, Xv, row, c, w, packed, k, j0, j1);
        }
    }
}

// Every output of `vectors` vectors of sequences: the whole circle's path for finite data of
// lengths up to kLargestCircle, else the step roots' path. Not inlined: only this path needs
// the circle's room on the stack.
template <class Vec, int V, int K>
__attribute__((noinline)) void sequences_of_group(const double *x, double *X, size_t row, const Circle &c,
                                                  uint32_t vectors) {
    if (c.n <= kLargestCircle && all_finite(x, row, c.n, vectors * kDoubles<Vec> / 2)) {
        CircleWork w;
        build_full_circle(c, w.circle);
        return circle_sequences<Vec, K>(x, X, row, c, w, vectors);
    }
    sequences<Vec, V, K>(x, X, row, c, vectors);
}

// ---- across outputs of one sequence: lanes of neighbouring k

#if HW_VEC_DOUBLES >= 4
// Whether output k meets a power without sine terms (0, or n/2 for even n) for some
// j < h: j·k ≡ 0 (mod n/2 or n) first at j = n / gcd(n, 2k).
bool meets_no_sine(const Circle &c, uint32_t k) {
    uint32_t a = c.n, b = 2 * k;  // gcd(n, 2k)
    while (b) {
        const uint32_t r = a % b;
        a = b;
        b = r;
    }
    return c.n / a < c.h;
}

typedef int32_t vindex __attribute__((vector_size(4 * kLanes)));

// table[index] lane by lane (indices counted in doubles).
vdouble gather(const double *table, vindex index) {
#if HW_VEC_DOUBLES == 8
    return _mm512_mask_i32gather_pd(_mm512_setzero_pd(), 0xFF, reinterpret_cast<__m256i>(index), table, 8);
#else
    return _mm256_mask_i32gather_pd(_mm256_setzero_pd(), table, reinterpret_cast<__m128i>(index),
                                    _mm256_castsi256_pd(_mm256_set1_epi64x(-1)), 8);
#endif
}

vdouble select(vindex mask, vdouble a, vdouble b) { return __builtin_convertvector(mask, vint64) ? a : b; }

// Output pairs k0 .. k0 + B·kLanes - 1 of one sequence (elements `row` doubles apart).
// Powers are kept doubled, as the index of the cosine in the interleaved table. MeetsNoSine:
// some lane meets power 0 or n/2, whose lanes skip the sine terms (and n/2 reads -1).
template <int B, bool MeetsNoSine>
void output_lanes(const double *x, double *X, size_t row, const Circle &c, uint32_t k0) {
    vdouble R[B], I[B], A[B], Bsum[B];
    vindex power[B], step[B];
    vindex lane{};
    for (int l = 0; l < kLanes; ++l) lane[l] = l;
    const vdouble re = splat<vdouble>(x[0]), im = splat<vdouble>(x[1]);
    for (int b = 0; b < B; ++b) {
        const vindex k = static_cast<int32_t>(k0 + b * kLanes) + lane;
        power[b] = step[b] = k + k;
        R[b] = re;
        I[b] = im;
        if (c.even) {  // x[0] - x[n/2] for odd k, x[0] + x[n/2] for even k
            const vindex odd = (k & 1) != 0;
            const vdouble middle_re = splat<vdouble>(x[c.h * row]), middle_im = splat<vdouble>(x[c.h * row + 1]);
            R[b] = select(odd, re - middle_re, re + middle_re);
            I[b] = select(odd, im - middle_im, im + middle_im);
        }
        A[b] = Bsum[b] = vdouble{};
    }
    const double *table = &c.roots[0].re;
    const int32_t n2 = static_cast<int32_t>(2 * c.n), h2 = static_cast<int32_t>(2 * c.h);
    const int32_t middle_power = c.even ? h2 : -1;  // n/2, doubled; odd n has none
    for (uint32_t j = 1; j < c.h; ++j) {
        const double *p = x + j * row, *q = x + (c.n - j) * row;
        const vdouble sum_re = splat<vdouble>(p[0] + q[0]), sum_im = splat<vdouble>(p[1] + q[1]);
        const vdouble diff_re = splat<vdouble>(p[0] - q[0]), diff_im = splat<vdouble>(p[1] - q[1]);
#pragma GCC unroll 8
        for (int b = 0; b < B; ++b) {
            const vindex m = power[b];
            const vindex upper = m >= h2;
            vindex index = upper ? n2 - m : m;
            vdouble cosine, sine;
            if constexpr (MeetsNoSine) {
                const vindex middle = m == middle_power;  // reads entry 0 negated
                index = middle ? 0 : index;
                cosine = gather(table, index);
                cosine = select(middle, -cosine, cosine);
            } else {
                cosine = gather(table, index);
            }
            sine = gather(table + 1, index);
            sine = select(upper, -sine, sine);
            R[b] += sum_re * cosine;
            I[b] += sum_im * cosine;
            if constexpr (MeetsNoSine) {
                const vindex skip = (m == 0) | (m == middle_power);
                A[b] = select(skip, A[b], A[b] + diff_re * sine);
                Bsum[b] = select(skip, Bsum[b], Bsum[b] - diff_im * sine);
            } else {
                A[b] += diff_re * sine;
                Bsum[b] -= diff_im * sine;
            }
            const vindex next = m + step[b];
            power[b] = next >= n2 ? next - n2 : next;
        }
    }
    for (int b = 0; b < B; ++b) {
        const vdouble re_k = R[b] + Bsum[b], im_k = I[b] + A[b], re_mirror = R[b] - Bsum[b], im_mirror = I[b] - A[b];
        for (int l = 0; l < kLanes; ++l) {
            const uint32_t k = k0 + b * kLanes + l;
            X[k * row] = re_k[l];
            X[k * row + 1] = im_k[l];
            X[(c.n - k) * row] = re_mirror[l];
            X[(c.n - k) * row + 1] = im_mirror[l];
        }
    }
}

template <int B>
void output_block(const double *x, double *X, size_t row, const Circle &c, uint32_t k0) {
    bool meets = false;
    for (uint32_t k = k0; k < k0 + B * kLanes; ++k) meets = meets || meets_no_sine(c, k);
    if (meets)
        output_lanes<B, true>(x, X, row, c, k0);
    else
        output_lanes<B, false>(x, X, row, c, k0);
}

// ---- across outputs for a prime length: roots in the order of a primitive root's powers
//
// With g a primitive root mod a prime n, output k = g^a and input j = g^b meet at power
// g^(a+b): lanes holding the outputs g^a, g^(a+1), ... read the roots of consecutive powers of
// g, one plain vector load per step instead of a gather. Since g^(e+H) = -g^e (H = (n-1)/2)
// the exponents 0 .. H-1 name every output pair once; a lane whose g^e lies past the half
// circle holds the pair of n - g^e, whose roots are the conjugates.

constexpr uint32_t kLargestPermuted = 4099;  // primes up to here (the table lives on the stack)
constexpr int kPermutedBlocks = kLanes == 8 ? 6 : 3;
constexpr uint32_t kPermutedSpan = kPermutedBlocks * kLanes;
// Exponents read past H: one pass of kPermutedBlocks + 1 vectors covers a length whose H
// exceeds the span by less than a vector (101 on 512-bit vectors) without a second pass.
constexpr uint32_t kTableSpan = kPermutedSpan + kLanes;

// Powers of g are walked kWalks at a time, each walk stepping by g^kWalks, so that the modular
// products do not wait on one another.
constexpr uint32_t kWalks = 4;

struct PermutedRoots {
    uint32_t half, generator;  // H = (n-1)/2 and g
    uint64_t reciprocal;       // 2^64 / n rounded up
    uint32_t walk[kWalks];     // g^0 .. g^(kWalks-1)
    uint32_t walk_step;        // g^kWalks
    uint16_t log[(kLargestPermuted + 1) / 2];  // j = g^log[j] for 0 < j < h
    // Cosine and sine of power g^e for e < H, continued past H by g^(e+H) = -g^e.
    double cosine[(kLargestPermuted - 1) / 2 + kTableSpan], sine[(kLargestPermuted - 1) / 2 + kTableSpan];
};

bool is_odd_prime(uint32_t n) {
    if (n < 3 || n % 2 == 0) return false;
    for (uint32_t d = 3; d * d <= n; d += 2)
        if (n % d == 0) return false;
    return true;
}

uint32_t power_mod(uint32_t base, uint32_t e, uint32_t n) {
    uint64_t result = 1, b = base % n;
    for (; e; e >>= 1, b = b * b % n)
        if (e & 1) result = result * b % n;
    return static_cast<uint32_t>(result);
}

uint32_t primitive_root(uint32_t n) {
    for (uint32_t g = 2;; ++g) {
        bool generates = true;
        uint32_t rest = n - 1;
        for (uint32_t q = 2; q <= rest && generates; ++q) {
            if (rest % q) continue;
            while (rest % q == 0) rest /= q;
            generates = power_mod(g, (n - 1) / q, n) != 1;
        }
        if (generates) return g;
    }
}

// a·b mod n (a, b < n) without a division: with M = 2^64/n rounded up, the fraction M·x / 2^64
// of x/n, times n, is x mod n for every x < 2^32.
uint32_t times_mod(const PermutedRoots &t, uint32_t a, uint32_t b, uint32_t n) {
    return static_cast<uint32_t>((static_cast<unsigned __int128>(t.reciprocal * (a * b)) * n) >> 64);
}
uint32_t times_generator(const PermutedRoots &t, uint32_t k, uint32_t n) { return times_mod(t, k, t.generator, n); }

void build_permuted_roots(const Circle &c, PermutedRoots *t) {
    const uint32_t H = (c.n - 1) / 2, g = primitive_root(c.n);
    t->half = H;
    t->generator = g;
    t->reciprocal = UINT64_MAX / c.n + 1;
    const uint32_t step = power_mod(g, kWalks, c.n);
    uint32_t power[kWalks] = {1, g % c.n, 0, 0};
    for (uint32_t w = 2; w < kWalks; ++w) power[w] = times_generator(*t, power[w - 1], c.n);
    for (uint32_t w = 0; w < kWalks; ++w) t->walk[w] = power[w];
    t->walk_step = step;
    // Only the first half of the exponents: g^(e+H) = n - g^e names the other member of the pair.
    for (uint32_t e0 = 0; e0 < H; e0 += kWalks)
        for (uint32_t w = 0; w < kWalks && e0 + w < H; ++w) {
            const uint32_t e = e0 + w, p = power[w];
            if (p < c.h)
                t->log[p] = static_cast<uint16_t>(e);
            else
                t->log[c.n - p] = static_cast<uint16_t>(e + H);
            root_of_power(c, p, &t->cosine[e], &t->sine[e]);
            power[w] = times_mod(*t, p, step, c.n);
        }
    for (uint32_t i = H; i < H + kTableSpan; ++i) {
        t->cosine[i] = t->cosine[i % H];
        t->sine[i] = (i / H) % 2 ? -t->sine[i % H] : t->sine[i % H];
    }
}

// Keeps a loaded vector in a register: the compiler would read it from memory once per use,
// and loads are what these loops run short of (most of them cross a cache line).
void in_register(vdouble &v) { asm("" : "+v"(v)); }

// The output pairs of exponents e0 .. e0 + B·kLanes - 1 (all below H) of one sequence.
// The sines are read as the table has them: a lane past the half circle sums the negated
// terms of A and B, and its sums are negated once at the end. That is exact: A and B start at
// +0 and a sum of two doubles is -0 only when both are, so neither sum is ever -0, and
// 0 - S gives the true sum for every S (x - y and -(y - x) differ only in the sign of a zero).
template <int B>
void permuted_lanes(const double *x, double *X, size_t row, const Circle &c, const PermutedRoots &t, uint32_t e0) {
    vdouble R[B], I[B], A[B], Bsum[B];
    uint32_t pair[B][kLanes];
    vint64 conjugate[B] = {};  // all ones in the lanes past the half circle
    const uint32_t first = power_mod(t.generator, e0, c.n);
    uint32_t walk[kWalks];  // g^(e0 + i) for lanes i ≡ w mod kWalks
    for (uint32_t w = 0; w < kWalks; ++w) walk[w] = times_mod(t, first, t.walk[w], c.n);
    for (int b = 0; b < B; ++b) {
        for (int l = 0; l < kLanes; ++l) {
            uint32_t &k = walk[l % kWalks];
            pair[b][l] = k < c.h ? k : c.n - k;
            conjugate[b][l] = k < c.h ? 0 : -1;
            k = times_mod(t, k, t.walk_step, c.n);
        }
        R[b] = splat<vdouble>(x[0]);
        I[b] = splat<vdouble>(x[1]);
        A[b] = Bsum[b] = vdouble{};
    }
    const uint32_t period = c.n - 1;
    for (uint32_t j = 1; j < c.h; ++j) {
        const double *p = x + j * row, *q = x + (c.n - j) * row;
        uint32_t e = t.log[j] + e0;
        e -= period & -static_cast<uint32_t>(e >= period);
        // Past H the table's sines turn sign: turn the differences instead (by a sign mask: a
        // branch would be taken at random).
        const uint32_t second_half = -static_cast<uint32_t>(e >= t.half);
        e -= t.half & second_half;
        const vint64 turn = vint64{} + (static_cast<long long>(second_half & 1u) << 63);
        const vdouble sum_re = splat<vdouble>(p[0] + q[0]), sum_im = splat<vdouble>(p[1] + q[1]);
        const vdouble dre = reinterpret_cast<vdouble>(reinterpret_cast<vint64>(splat<vdouble>(p[0] - q[0])) ^ turn);
        const vdouble dim = reinterpret_cast<vdouble>(reinterpret_cast<vint64>(splat<vdouble>(p[1] - q[1])) ^ turn);
#pragma GCC unroll 8
        for (int b = 0; b < B; ++b) {
            vdouble cosine = load(t.cosine + e + b * kLanes), sine = load(t.sine + e + b * kLanes);
            in_register(cosine);
            in_register(sine);
            R[b] += sum_re * cosine;
            I[b] += sum_im * cosine;
            A[b] += dre * sine;
            Bsum[b] -= dim * sine;
        }
    }
    for (int b = 0; b < B; ++b) {
        A[b] = conjugate[b] ? vdouble{} - A[b] : A[b];
        Bsum[b] = conjugate[b] ? vdouble{} - Bsum[b] : Bsum[b];
        const vdouble re_k = R[b] + Bsum[b], im_k = I[b] + A[b], re_mirror = R[b] - Bsum[b], im_mirror = I[b] - A[b];
        for (int l = 0; l < kLanes; ++l) {
            const uint32_t k = pair[b][l];
            X[k * row] = re_k[l];
            X[k * row + 1] = im_k[l];
            X[(c.n - k) * row] = re_mirror[l];
            X[(c.n - k) * row + 1] = im_mirror[l];
        }
    }
}

// The last `blocks` (<= B) vectors of exponents below H, in one pass: more sums in flight than
// vector by vector. Lanes already done are computed again and write the same bits.
template <int B>
void last_blocks(const double *x, double *X, size_t row, const Circle &c, const PermutedRoots &t, uint32_t blocks) {
    if constexpr (B > 1)
        if (blocks < B) return last_blocks<B - 1>(x, X, row, c, t, blocks);
    permuted_lanes<B>(x, X, row, c, t, t.half - B * kLanes);
}

void permuted_outputs(const double *x, double *X, size_t row, const Circle &c, const PermutedRoots &t) {
    uint32_t e = 0;
    if (kLanes == 8 && t.half > kPermutedSpan && t.half <= kTableSpan)
        return permuted_lanes<kPermutedBlocks + 1>(x, X, row, c, t, 0);
    for (; e + kPermutedSpan <= t.half; e += kPermutedSpan) permuted_lanes<kPermutedBlocks>(x, X, row, c, t, e);
    if (e == t.half) return;
    if (e > 0) return last_blocks<kPermutedBlocks>(x, X, row, c, t, (t.half - e + kLanes - 1) / kLanes);
    for (; e + kLanes <= t.half; e += kLanes) permuted_lanes<1>(x, X, row, c, t, e);
    if (e < t.half && t.half >= kLanes) {  // the last lanes again: they write the same bits twice
        permuted_lanes<1>(x, X, row, c, t, t.half - kLanes);
        return;
    }
    for (uint32_t k = power_mod(t.generator, e, c.n); e < t.half; ++e, k = times_generator(t, k, c.n))
        single_outputs<1>(x, X, row, c, k < c.h ? k : c.n - k);
}
#endif

// ---- across outputs for a length divisible by 4, on 512-bit vectors: quarter turns
//
// With Q = n/4, the output pairs k0, Q + k0, Q - k0 and 2Q - k0 meet at step j the powers
// t, t + jQ, jQ - t and 2jQ - t (t = j·k0 mod n): quarter turns of t and of -t. A row of the
// quarter table holds the roots of r, r + Q, r + 2Q and r + 3Q, so the rows of t mod Q and
// of -t mod Q hold all four lanes' roots, and one two-source permute, chosen by the quarters
// of t and -t and by j mod 4, puts them in place. Lanes hold complex (cos, sin) pairs; the
// sums run as (R, A) += (Re S, Re D)·(c, s) and (I, B') += (Im S, Im D)·(c, s) with
// B = 0 - B' (exact, as for the conjugate lanes above).

#if HW_VEC_DOUBLES == 8
constexpr uint32_t kLargestQuarter = 1536;  // lengths up to here (the tables live on the stack)
constexpr int kQuarterBlocks = 8;

// Where the roots of power t come from: the rows of t mod Q and -t mod Q (in doubles from the
// table's start), and the permute's family (the quarters of t and -t; j mod 4 picks within).
struct QuarterPower {
    uint16_t row, mirror_row, family, unused;
};

struct QuarterRoots {
    uint32_t quarter;
    alignas(64) double row[kLargestQuarter / 4][8];
    QuarterPower power[kLargestQuarter];
};

// Permute indices for the quarters a of t and b of -t and for j mod 4: lane 0 takes quarter a
// of the first row, lane 1 quarter a + j; lanes 2 and 3 quarters b + j and b + 2j of the second.
struct QuarterPermutes {
    long long index[64][8];
};
constexpr QuarterPermutes make_quarter_permutes() {
    QuarterPermutes p{};
    for (int a = 0; a < 4; ++a)
        for (int b = 0; b < 4; ++b)
            for (int j = 0; j < 4; ++j) {
                const int from[4] = {2 * a, 2 * ((a + j) % 4), 8 + 2 * ((b + j) % 4), 8 + 2 * ((b + 2 * j) % 4)};
                for (int l = 0; l < 4; ++l) {
                    p.index[(a * 4 + b) * 4 + j][2 * l] = from[l];
                    p.index[(a * 4 + b) * 4 + j][2 * l + 1] = from[l] + 1;
                }
            }
    return p;
}
constexpr QuarterPermutes kQuarterPermutes = make_quarter_permutes();

void build_quarter_roots(const Circle &c, QuarterRoots *t) {
    const uint32_t Q = c.n / 4;
    t->quarter = Q;
    for (uint32_t r = 0; r < Q; ++r)
        for (uint32_t i = 0; i < 4; ++i) {
            const uint32_t m = r + i * Q;
            double *w = &t->row[r][2 * i];
            if (m == c.h) {  // n/2: the cosine -1 subtracts; the sine 0 adds nothing (quarter_lanes)
                w[0] = -1;
                w[1] = 0;
            } else {
                root_of_power(c, m, &w[0], &w[1]);
            }
        }
    for (uint32_t m = 0, a = 0, r = 0; m < c.n; ++m, r = r + 1 == Q ? 0 : r + 1, a += r == 0) {  // m = a·Q + r
        const uint32_t b = r ? 3 - a : (4 - a) % 4, mirror = r ? Q - r : 0;
        t->power[m] = {static_cast<uint16_t>(8 * r), static_cast<uint16_t>(8 * mirror),
                       static_cast<uint16_t>(8 * 4 * (a * 4 + b)), 0};
    }
}

vdouble permute_two(vdouble a, const long long *index, vdouble b) {
    return _mm512_permutex2var_pd(a, _mm512_loadu_si512(index), b);
}

// The complex value v in every complex slot.
vdouble splat_complex(vcomplex v) {
    const __m128d pair = reinterpret_cast<__m128d>(v);
    return reinterpret_cast<vdouble>(_mm512_mask_broadcast_f64x2(_mm512_setzero_pd(), 0xFF, pair));
}

// The output pairs of the B blocks k0 .. k0 + B - 1 (each k0 with its three partners) of one
// sequence. Powers 0 and n/2 add no sine terms; their table sines are 0, so for Finite data
// the sine terms add ±0 to sums that are never -0 and change nothing. Otherwise they are
// left out lane by lane (the data may hold infinities, and 0 times those is NaN).
template <int B, bool Finite>
void quarter_lanes(const double *x, double *X, size_t row, const Circle &c, const QuarterRoots &t, uint32_t k0) {
    const uint32_t Q = t.quarter;
    vdouble RA[B], IB[B];
    uint32_t pair[B][4];
    for (int b = 0; b < B; ++b) {
        const uint32_t k = k0 + b;
        pair[b][0] = k;
        pair[b][1] = Q + k;
        pair[b][2] = Q - k;
        pair[b][3] = 2 * Q - k;
        for (int l = 0; l < 4; ++l) {
            const double *middle = x + c.h * row;
            const bool odd = pair[b][l] & 1;
            RA[b][2 * l] = odd ? x[0] - middle[0] : x[0] + middle[0];
            IB[b][2 * l] = odd ? x[1] - middle[1] : x[1] + middle[1];
            RA[b][2 * l + 1] = IB[b][2 * l + 1] = 0;
        }
    }
    uint32_t power = 0;  // of block 0; block b meets power + j·b
    const double *rows = &t.row[0][0];
    for (uint32_t j = 1; j < c.h; ++j) {
        const double *p = x + j * row, *q = x + (c.n - j) * row;
        const vcomplex first = load_as<vcomplex>(p), second = load_as<vcomplex>(q), S = first + second,
                       D = first - second;
        const vdouble re = splat_complex(__builtin_shufflevector(S, D, 0, 2)),
                      im = splat_complex(__builtin_shufflevector(S, D, 1, 3));
        const long long *permutes = kQuarterPermutes.index[j & 3];  // + a family
        power = power + k0 >= c.n ? power + k0 - c.n : power + k0;
        uint32_t block_power = power;
#pragma GCC unroll 8
        for (int b = 0; b < B; ++b) {
            if (b > 0) block_power = block_power + j >= c.n ? block_power + j - c.n : block_power + j;
            const QuarterPower w = t.power[block_power];
            const long long *index = permutes + w.family;
            const vdouble root = permute_two(load(rows + w.row), index, load(rows + w.mirror_row));
            const vdouble ra = RA[b] + re * root, ib = IB[b] + im * root;
            if (!Finite && w.row == 0) {  // t a multiple of Q: lanes of power 0 or n/2 add no sine terms
                const vint64 skip = (_mm512_loadu_si512(index) & 3) == 1;
                RA[b] = skip ? RA[b] : ra;
                IB[b] = skip ? IB[b] : ib;
            } else {
                RA[b] = ra;
                IB[b] = ib;
            }
        }
    }
    for (int b = 0; b < B; ++b)
        for (int l = 0; l < 4; ++l) {
            const uint32_t k = pair[b][l];
            const double R = RA[b][2 * l], A = RA[b][2 * l + 1], I = IB[b][2 * l], Bsum = 0 - IB[b][2 * l + 1];
            X[k * row] = R + Bsum;
            X[k * row + 1] = I + A;
            X[(c.n - k) * row] = R - Bsum;
            X[(c.n - k) * row + 1] = I - A;
        }
}

// The last `blocks` (<= B) blocks ending at k0 `last`, in one pass.
template <int B>
void last_quarter_blocks(const double *x, double *X, size_t row, const Circle &c, const QuarterRoots &t,
                         uint32_t blocks, uint32_t last) {
    if constexpr (B > 1)
        if (blocks < B) return last_quarter_blocks<B - 1>(x, X, row, c, t, blocks, last);
    quarter_lanes<B, false>(x, X, row, c, t, last + 1 - B);
}

// Every output pair but X[0], X[n/2]: k0 = 1 .. ceil((Q-1)/2) with their partners cover
// 1 .. 2Q - 1 but Q (a k0 met twice writes the same bits twice).
void quarter_outputs(const double *x, double *X, size_t row, const Circle &c, const QuarterRoots &t) {
    const uint32_t Q = t.quarter, last = Q / 2;
    bool finite = true;
    for (uint32_t j = 0; j < c.n; ++j)  // x - x is 0 unless x is infinite or NaN
        finite = finite && x[j * row] - x[j * row] == 0 && x[j * row + 1] - x[j * row + 1] == 0;
    uint32_t k0 = 1;
    for (; k0 + kQuarterBlocks - 1 <= last; k0 += kQuarterBlocks)
        if (finite)
            quarter_lanes<kQuarterBlocks, true>(x, X, row, c, t, k0);
        else
            quarter_lanes<kQuarterBlocks, false>(x, X, row, c, t, k0);
    if (k0 <= last) last_quarter_blocks<kQuarterBlocks>(x, X, row, c, t, last + 1 - k0, last);
    single_outputs<1>(x, X, row, c, Q);
}
#endif

// The tables of the single-sequence paths, built once for all sequences of a group.
struct SequenceTables {
    enum { kGathered, kPermuted, kQuarter } kind = kGathered;
#if HW_VEC_DOUBLES >= 4
    union {
        PermutedRoots permuted;
#if HW_VEC_DOUBLES == 8
        QuarterRoots quarter;
#endif
    };
#endif
};

// Every output of one sequence.
void one_sequence(const double *x, double *X, size_t row, const Circle &c, [[maybe_unused]] const SequenceTables &t) {
    plain_sums<vcomplex, 1>(x, X, row, c);
    uint32_t k = 1;
#if HW_VEC_DOUBLES >= 4
    if (t.kind == SequenceTables::kPermuted) return permuted_outputs(x, X, row, c, t.permuted);
#if HW_VEC_DOUBLES == 8
    if (t.kind == SequenceTables::kQuarter) return quarter_outputs(x, X, row, c, t.quarter);
#endif
    constexpr int kBlocks = kLanes == 8 ? 3 : 2;
    if (c.n < (1u << 29)) {  // doubled powers stay 32-bit gather indices
        for (; k + kBlocks * kLanes <= c.h; k += kBlocks * kLanes) output_block<kBlocks>(x, X, row, c, k);
        for (; k + kLanes <= c.h; k += kLanes) output_block<1>(x, X, row, c, k);
    }
#endif
    for (; k + 2 <= c.h; k += 2) single_outputs<2>(x, X, row, c, k);
    if (k < c.h) single_outputs<1>(x, X, row, c, k);
}

// Sequences first .. stride-1 one at a time. Not inlined: only this path needs the tables'
// room on the stack.
__attribute__((noinline)) void single_sequences(const double *x, double *X, size_t row, const Circle &c,
                                                uint32_t first, uint32_t stride) {
    SequenceTables tables;
#if HW_VEC_DOUBLES >= 4
    if (c.n <= kLargestPermuted && is_odd_prime(c.n)) {
        build_permuted_roots(c, &tables.permuted);
        tables.kind = SequenceTables::kPermuted;
    }
#if HW_VEC_DOUBLES == 8
    if (c.n % 4 == 0 && c.n >= 16 && c.n <= kLargestQuarter) {
        build_quarter_roots(c, &tables.quarter);
        tables.kind = SequenceTables::kQuarter;
    }
#endif
#endif
    for (uint32_t s = first; s < stride; ++s) one_sequence(x + 2 * s, X + 2 * s, row, c, tables);
}

}  // namespace

void dft_group(uint32_t n, const double *x, double *X, uint32_t stride, const double *roots) {
    const Circle c{n, (n + 1) / 2, n % 2 == 0, reinterpret_cast<const Complex<double> *>(roots)};
    const size_t row = size_t{2} * stride;
    constexpr uint32_t kComplex = kLanes / 2;  // sequences per vector
    constexpr int kVectors = kLanes == 8 ? 1 : 2, kPairs = kLanes == 8 ? 8 : 2;
    const uint32_t vectors = stride / kComplex;  // of sequences side by side
    if (vectors > 0) sequences_of_group<vdouble, kVectors, kPairs>(x, X, row, c, vectors);
    const uint32_t s = vectors * kComplex;
    if (s < stride) single_sequences(x, X, row, c, s, stride);
}

}  // namespace hw::HW_ISA_NS
