// The self-sorting passes (fft/autosort.h) for one instruction-set level.
//
// A pass of radix R over a sequence of n values, s the product of the radices before it and
// m = n / (s·R): with i = q + s·p (q < s, p < m), input j of butterfly i is value i + j·n/R,
// and output k, multiplied by w(k·s·p) of order n, goes to value q + s·(R·p + k). The inputs
// of consecutive butterflies are consecutive values, so vectors run along i: where s is at
// least the lane count, a vector shares p and its twiddle factors (one load per factor) and
// its outputs are consecutive too; where s is smaller (the first pass), each lane has its own
// factors and the outputs go out lane by lane, or, for s = 1 and R a multiple of the lane
// count, through a register transposition. Every lane does the scalar code's operations in
// the same order, so every level gives the same bits.
#include <cstddef>
#include <cstring>
#include <utility>

#include "fft/autosort.h"
#include "fft/butterflies.h"
#include "fft/odd_butterflies.h"
#include "simd/vec.h"

namespace hw::HW_ISA_NS {
namespace {

using fft::AutosortShape;
using fft::Butterfly;
using fourier::Complex;
using fourier::turn;

// Where a pass reads or writes: interleaved (re, im) pairs from `re` on (`im` unused), or
// planar, real parts at `re` and imaginary parts at `im`.
struct Place {
    double *re, *im;
};

// W values starting at value i in registers, real parts in one vector, imaginary in another.
template <int W>
struct Lanes {
    using V = typename VecOf<W>::type;
    using C = Complex<V>;

    template <bool Interleaved>
    static C load(const Place &at, size_t i) {
        C x;
        if constexpr (Interleaved) {
            if constexpr (W == 1) {
                x = {at.re[2 * i], at.re[2 * i + 1]};
            } else {
                V a, b;
                std::memcpy(&a, at.re + 2 * i, sizeof a);
                std::memcpy(&b, at.re + 2 * i + W, sizeof b);
                x = {even(a, b, std::make_index_sequence<W>{}), odd(a, b, std::make_index_sequence<W>{})};
            }
        } else {
            std::memcpy(&x.re, at.re + i, sizeof x.re);
            std::memcpy(&x.im, at.im + i, sizeof x.im);
        }
        return x;
    }
    template <bool Interleaved>
    static void store(const Place &at, size_t i, C x) {
        if constexpr (Interleaved) {
            if constexpr (W == 1) {
                at.re[2 * i] = x.re;
                at.re[2 * i + 1] = x.im;
            } else {
                const V a = low_pairs(x.re, x.im, std::make_index_sequence<W>{});
                const V b = high_pairs(x.re, x.im, std::make_index_sequence<W>{});
                std::memcpy(at.re + 2 * i, &a, sizeof a);
                std::memcpy(at.re + 2 * i + W, &b, sizeof b);
            }
        } else {
            std::memcpy(at.re + i, &x.re, sizeof x.re);
            std::memcpy(at.im + i, &x.im, sizeof x.im);
        }
    }
    // Lane l of x to value index[l].
    template <bool Interleaved>
    static void scatter(const Place &at, const size_t *index, C x) {
        double re[W], im[W];
        std::memcpy(re, &x.re, sizeof re);
        std::memcpy(im, &x.im, sizeof im);
        for (int l = 0; l < W; ++l) {
            if constexpr (Interleaved) {
                at.re[2 * index[l]] = re[l];
                at.re[2 * index[l] + 1] = im[l];
            } else {
                at.re[index[l]] = re[l];
                at.im[index[l]] = im[l];
            }
        }
    }
    // table[index[l]] in lane l.
    static V pick(const double *table, const size_t *index) {
        if constexpr (W == 1) return table[index[0]];
        else return pick(table, index, std::make_index_sequence<W>{});
    }

    static void transpose(V *rows) { transpose_lanes<W>(rows); }

  private:
    template <size_t... L>
    static V pick(const double *table, const size_t *index, std::index_sequence<L...>) {
        return V{table[index[L]]...};
    }
    template <size_t... L>
    static V even(V a, V b, std::index_sequence<L...>) {
        return __builtin_shufflevector(a, b, (2 * L)...);
    }
    template <size_t... L>
    static V odd(V a, V b, std::index_sequence<L...>) {
        return __builtin_shufflevector(a, b, (2 * L + 1)...);
    }
    template <size_t... L>
    static V low_pairs(V re, V im, std::index_sequence<L...>) {
        return __builtin_shufflevector(re, im, ((L % 2) * W + L / 2)...);
    }
    template <size_t... L>
    static V high_pairs(V re, V im, std::index_sequence<L...>) {
        return __builtin_shufflevector(re, im, ((L % 2) * W + W / 2 + L / 2)...);
    }
};

// The geometry of one pass and the call's roots: w(t) = low[t mod 2^bits] · high[t / 2^bits],
// (cos, sin) pairs, or low[t] alone when low holds the whole circle (high null).
struct PassGeometry {
    uint32_t n, s, m;  // m = n / (s·R)
    const double *low, *high;
    uint32_t bits;

    Complex<double> root(size_t t) const {
        if (!high) return Complex<double>{low[2 * t], low[2 * t + 1]};
        const size_t a = 2 * (t & ((size_t{1} << bits) - 1)), b = 2 * (t >> bits);
        return Complex<double>{low[a], low[a + 1]} * Complex<double>{high[b], high[b + 1]};
    }
};

// Butterflies i = q + s·p for p < m and q < s, vectors along q: all lanes share p. Widths W,
// then narrower for the rest of each run of s.
template <int R, bool Inverse, bool In, bool Out, int W>
[[gnu::noinline]] uint32_t along_runs(const PassGeometry &g, const Place &src, const Place &dst, uint32_t p,
                                      uint32_t q, const Complex<double> *tw) {
    using L = Lanes<W>;
    const size_t quarter = g.n / R;  // n / R: the distance between a butterfly's inputs
    const size_t first = size_t{g.s} * p, out = size_t{g.s} * R * p;
    for (; q + W <= g.s; q += W) {
        typename L::C x[R];
        for (int j = 0; j < R; ++j) x[j] = L::template load<In>(src, first + q + j * quarter);
        Butterfly<R>::template apply<Inverse>(x);
        if (g.m > 1)
            for (int k = 1; k < R; ++k) x[k] = turn<Inverse>(x[k], tw[k]);
        for (int k = 0; k < R; ++k) L::template store<Out>(dst, out + q + size_t{g.s} * k, x[k]);
    }
    return q;
}

// The widths one after the other, so that their frames are never on the stack together.
template <int R, bool Inverse, bool In, bool Out, int W = kLanes>
void along_widths(const PassGeometry &g, const Place &src, const Place &dst, uint32_t p, uint32_t q,
                  const Complex<double> *tw) {
    q = along_runs<R, Inverse, In, Out, W>(g, src, dst, p, q, tw);
    if constexpr (W > 1) along_widths<R, Inverse, In, Out, W / 2>(g, src, dst, p, q, tw);
}

template <int R, bool Inverse, bool In, bool Out>
void pass_along_runs(const PassGeometry &g, const Place &src, const Place &dst) {
    for (uint32_t p = 0; p < g.m; ++p) {
        Complex<double> tw[R];
        for (int k = 1; k < R; ++k) {
            const size_t t = static_cast<size_t>(k) * g.s * p;
            tw[k] = g.root(t);
        }
        along_widths<R, Inverse, In, Out>(g, src, dst, p, 0, tw);
    }
}

// Butterflies i .. n/R − 1, W consecutive ones per vector whatever their p (s < W), then
// narrower vectors for the rest.
template <int R, bool Inverse, bool In, bool Out, int W>
[[gnu::noinline]] size_t across_runs(const PassGeometry &g, const Place &src, const Place &dst, size_t i) {
    using L = Lanes<W>;
    using V = typename L::V;
    const size_t quarter = g.n / R;
    for (; i + W <= quarter; i += W) {
        typename L::C x[R];
        for (int j = 0; j < R; ++j) x[j] = L::template load<In>(src, i + j * quarter);
        Butterfly<R>::template apply<Inverse>(x);
        size_t p[W], q[W];
        p[0] = i / g.s;
        q[0] = i - p[0] * g.s;
        for (int l = 1; l < W; ++l) {
            const bool wrap = q[l - 1] + 1 == g.s;
            p[l] = p[l - 1] + wrap;
            q[l] = wrap ? 0 : q[l - 1] + 1;
        }
        if (g.m > 1)
            for (int k = 1; k < R; ++k) {
                size_t a[W], b[W];  // the lanes' (cos, sin) pairs in both levels
                if (!g.high) {
                    for (int l = 0; l < W; ++l) a[l] = 2 * static_cast<size_t>(k) * g.s * p[l];
                    x[k] = turn<Inverse>(x[k], typename L::C{L::pick(g.low, a), L::pick(g.low + 1, a)});
                    continue;
                }
                for (int l = 0; l < W; ++l) {
                    const size_t t = static_cast<size_t>(k) * g.s * p[l];
                    a[l] = 2 * (t & ((size_t{1} << g.bits) - 1));
                    b[l] = 2 * (t >> g.bits);
                }
                const typename L::C low{L::pick(g.low, a), L::pick(g.low + 1, a)};
                const typename L::C high{L::pick(g.high, b), L::pick(g.high + 1, b)};
                x[k] = turn<Inverse>(x[k], low * high);
            }
        if constexpr (!Out && W > 1 && R % W == 0) {
            if (g.s == 1) {  // value R·(i + l) + k: rows of R consecutive values
                for (int c = 0; c < R; c += W) {
                    V re[W], im[W];
                    for (int l = 0; l < W; ++l) {
                        re[l] = x[c + l].re;
                        im[l] = x[c + l].im;
                    }
                    L::transpose(re);
                    L::transpose(im);
                    for (int l = 0; l < W; ++l) {
                        std::memcpy(dst.re + R * (i + l) + c, &re[l], sizeof re[l]);
                        std::memcpy(dst.im + R * (i + l) + c, &im[l], sizeof im[l]);
                    }
                }
                continue;
            }
        }
        for (int k = 0; k < R; ++k) {
            size_t index[W];
            for (int l = 0; l < W; ++l) index[l] = q[l] + size_t{g.s} * (R * p[l] + k);
            L::template scatter<Out>(dst, index, x[k]);
        }
    }
    return i;
}

template <int R, bool Inverse, bool In, bool Out, int W = kLanes>
void across_widths(const PassGeometry &g, const Place &src, const Place &dst, size_t i) {
    i = across_runs<R, Inverse, In, Out, W>(g, src, dst, i);
    if constexpr (W > 1) across_widths<R, Inverse, In, Out, W / 2>(g, src, dst, i);
}

template <int R, bool Inverse, bool In, bool Out>
void radix_pass(const PassGeometry &g, const Place &src, const Place &dst) {
    if (g.s >= static_cast<uint32_t>(kLanes))
        pass_along_runs<R, Inverse, In, Out>(g, src, dst);
    else
        across_widths<R, Inverse, In, Out>(g, src, dst, 0);
}

template <bool Inverse, bool In, bool Out>
void pass(uint32_t radix, const PassGeometry &g, const Place &src, const Place &dst) {
    switch (radix) {
    case 2: return radix_pass<2, Inverse, In, Out>(g, src, dst);
    case 3: return radix_pass<3, Inverse, In, Out>(g, src, dst);
    case 4: return radix_pass<4, Inverse, In, Out>(g, src, dst);
    case 5: return radix_pass<5, Inverse, In, Out>(g, src, dst);
    case 6: return radix_pass<6, Inverse, In, Out>(g, src, dst);
    case 7: return radix_pass<7, Inverse, In, Out>(g, src, dst);
    case 8: return radix_pass<8, Inverse, In, Out>(g, src, dst);
    case 9: return radix_pass<9, Inverse, In, Out>(g, src, dst);
    case 10: return radix_pass<10, Inverse, In, Out>(g, src, dst);
    case 11: return radix_pass<11, Inverse, In, Out>(g, src, dst);
    case 12: return radix_pass<12, Inverse, In, Out>(g, src, dst);
    case 13: return radix_pass<13, Inverse, In, Out>(g, src, dst);
    case 15: return radix_pass<15, Inverse, In, Out>(g, src, dst);
    default: return radix_pass<16, Inverse, In, Out>(g, src, dst);
    }
}

template <bool Inverse>
void sequence(const AutosortShape &shape, double *data) {
    const uint32_t n = shape.n;
    const Place interleaved{data, nullptr}, own{data, data + n}, other{shape.buffer, shape.buffer + n};
    // The last pass reads the buffer: with an odd number of passes the values first move there.
    Place src = interleaved;
    if (shape.count % 2 == 1) {
        size_t i = 0;
        for (; i + kLanes <= n; i += kLanes)
            Lanes<kLanes>::store<false>(other, i, Lanes<kLanes>::load<true>(interleaved, i));
        for (; i < n; ++i) Lanes<1>::store<false>(other, i, Lanes<1>::load<true>(interleaved, i));
        src = other;
    }
    uint32_t s = 1;
    for (uint32_t p = 0; p < shape.count; ++p) {
        const uint32_t r = shape.radices[p];
        const PassGeometry g{n, s, n / (s * r), shape.low, shape.high, shape.bits};
        const bool from_interleaved = p == 0 && shape.count % 2 == 0, last = p + 1 == shape.count;
        const Place dst = last ? interleaved : src.re == other.re ? own : other;
        if (from_interleaved) pass<Inverse, true, false>(r, g, src, dst);
        else if (last) pass<Inverse, false, true>(r, g, src, dst);
        else pass<Inverse, false, false>(r, g, src, dst);
        src = dst;
        s *= r;
    }
}

}  // namespace

void fft_autosort_sequence(const AutosortShape &shape, double *data, bool inverse) {
    inverse ? sequence<true>(shape, data) : sequence<false>(shape, data);
}

}  // namespace hw::HW_ISA_NS
