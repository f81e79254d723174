// The FFT engine's passes for one instruction-set level: each pass multiplies the inputs of its
// butterflies by their twiddle factors as it loads them and runs the butterfly on the values in
// registers, so the data are swept once per pass. Vectors hold one transform value per lane:
// along the butterflies of a block (consecutive offsets and interleaved sequences), or, when a
// block holds a single butterfly, across neighbouring blocks.
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "fft/block_twiddles.h"
#include "fft/butterflies.h"
#include "fft/generic_pass.h"
#include "fft/odd_butterflies.h"
#include "fft/pass.h"
#include "simd/vec.h"

namespace hw::HW_ISA_NS {
namespace {

using fft::Butterfly;
using fft::PassShape;
using fft::RootTable;
using fourier::Complex;
using fourier::turn;

// W transform values in registers: real parts in one vector, imaginary parts in another.
template <int W>
struct Lanes {
    using V = typename VecOf<W>::type;
    using C = Complex<V>;

    // W consecutive complex values.
    static Complex<V> load(const double *p) { return load(p, std::make_index_sequence<W>{}); }
    static void store(double *p, Complex<V> v) { store(p, v, std::make_index_sequence<W>{}); }

    // W complex values `step` doubles apart. (Lanes are filled through arrays: element-wise
    // stores into vector values have been miscompiled.)
    static Complex<V> gather(const double *p, size_t step) {
        double re[W], im[W];
        for (int l = 0; l < W; ++l) {
            re[l] = p[l * step];
            im[l] = p[l * step + 1];
        }
        return from(re, im);
    }
    static void scatter(double *p, size_t step, Complex<V> v) {
        double re[W], im[W];
        std::memcpy(re, &v.re, sizeof re);
        std::memcpy(im, &v.im, sizeof im);
        for (int l = 0; l < W; ++l) {
            p[l * step] = re[l];
            p[l * step + 1] = im[l];
        }
    }
    static Complex<V> from(const Complex<double> *values) {
        double re[W], im[W];
        for (int l = 0; l < W; ++l) {
            re[l] = values[l].re;
            im[l] = values[l].im;
        }
        return from(re, im);
    }

    static void transpose(V *rows) { transpose_lanes<W>(rows); }

  private:
    static Complex<V> from(const double *re, const double *im) {
        Complex<V> v;
        std::memcpy(&v.re, re, sizeof v.re);
        std::memcpy(&v.im, im, sizeof v.im);
        return v;
    }
    template <size_t... I>
    static Complex<V> load(const double *p, std::index_sequence<I...>) {
        V a, b;
        std::memcpy(&a, p, sizeof a);
        std::memcpy(&b, p + W, sizeof b);
        return {__builtin_shufflevector(a, b, (2 * I)...), __builtin_shufflevector(a, b, (2 * I + 1)...)};
    }
    template <size_t... I>
    static void store(double *p, Complex<V> v, std::index_sequence<I...>) {
        const V a = __builtin_shufflevector(v.re, v.im, ((I % 2) * W + I / 2)...);
        const V b = __builtin_shufflevector(v.re, v.im, ((I % 2) * W + W / 2 + I / 2)...);
        std::memcpy(p, &a, sizeof a);
        std::memcpy(p + W, &b, sizeof b);
    }
};

template <>
struct Lanes<1> {
    using V = double;
    static Complex<double> load(const double *p) { return {p[0], p[1]}; }
    static void store(double *p, Complex<double> v) {
        p[0] = v.re;
        p[1] = v.im;
    }
    static Complex<double> gather(const double *p, size_t) { return load(p); }
    static void scatter(double *p, size_t, Complex<double> v) { store(p, v); }
    static Complex<double> from(const Complex<double> *values) { return values[0]; }
};

// One complex value in one vector of two doubles (real part first): the same operations as
// Complex<double> lane by lane, for transforms too short to spread over lanes.
typedef double Pair __attribute__((vector_size(16)));
struct Packed {
    Pair v;
};
inline Packed operator+(Packed a, Packed b) { return {a.v + b.v}; }
inline Packed operator-(Packed a, Packed b) { return {a.v - b.v}; }
inline Packed operator*(double s, Packed a) { return {(s - Pair{}) * a.v}; }
inline Packed times_i(Packed a) { return {__builtin_shufflevector(a.v, -a.v, 3, 0)}; }
template <bool Inverse>
inline Packed rotate(Packed a) {
    if constexpr (Inverse) return times_i(a);
    else return {__builtin_shufflevector(a.v, -a.v, 1, 2)};
}
// fourier::turn's products and sums, in its order.
template <bool Inverse>
inline Packed turn(Packed x, Complex<double> w) {
    const Pair a = x.v * (w.re - Pair{}), b = __builtin_shufflevector(x.v, x.v, 1, 0) * (w.im - Pair{});
    if constexpr (Inverse) return {__builtin_shufflevector(a - b, a + b, 0, 3)};
    else return {__builtin_shufflevector(a + b, a - b, 0, 3)};
}

struct PackedLanes {
    using V = double;
    using C = Packed;
    static Packed load(const double *p) {
        Packed x;
        std::memcpy(&x.v, p, sizeof x.v);
        return x;
    }
    static void store(double *p, Packed x) { std::memcpy(p, &x.v, sizeof x.v); }
    static Packed gather(const double *p, size_t) { return load(p); }
    static void scatter(double *p, size_t, Packed x) { store(p, x); }
    static Complex<double> from(const Complex<double> *values) { return values[0]; }
};

// The butterflies' lanes: one complex value per vector when there is one lane.
template <int W>
using LanesFor = std::conditional_t<W == 1, PackedLanes, Lanes<W>>;

// The R twiddle factors of the current block (factor 0 is 1 and never applied).
template <int R>
void block_twiddles(const PassShape &s, uint32_t rev, Complex<double> *tw) {
    for (int q = 1; q < R; ++q) tw[q] = root(*s.roots, rev * static_cast<uint32_t>(q) * s.m);
}

// Butterflies i .. span-1 of one block, W at a time and then narrower; inputs lie `span`
// complex values apart. `tw` is null for the first pass.
template <int R, bool Inverse, int W>
void along_block(double *block, size_t i, size_t span, const Complex<double> *tw) {
    using L = LanesFor<W>;
    for (; i + W <= span; i += W) {
        typename L::C x[R];
        for (int q = 0; q < R; ++q) x[q] = L::load(block + 2 * (q * span + i));
        if (tw)
            for (int q = 1; q < R; ++q) x[q] = turn<Inverse>(x[q], tw[q]);
        Butterfly<R>::template apply<Inverse>(x);
        for (int q = 0; q < R; ++q) L::store(block + 2 * (q * span + i), x[q]);
    }
    if constexpr (W > 1) along_block<R, Inverse, W / 2>(block, i, span, tw);
}

// The twiddle factors of a pass whose blocks hold one butterfly each (span 1). Block j's
// last digit l (radix r' of the previous pass) moves rev(j) by l·N/(r'·R), so when r' has a
// butterfly of its own the factor of input q can be formed as w(rev(j − l)·q) · w(l·q·N/(r'·R)):
// one root per input and run of r' blocks, times a small per-pass table. The choice depends on
// the pass alone, so every level forms the same products.
template <int R>
struct SpanOneTwiddles {
    Complex<double> lane[R][16];
    uint32_t last_radix;
    bool table;

    explicit SpanOneTwiddles(const PassShape &s) : last_radix(s.pass > 0 ? s.radices[s.pass - 1] : 1) {
        // The table pays off when it replaces more roots than it costs.
        table = s.pass > 0 && last_radix <= 16 && s.roots->levels > 1 &&
                uint64_t{R} * last_radix + uint64_t{R - 1} * (s.blocks / last_radix) < uint64_t{R - 1} * s.blocks;
        if (!table) return;
        const uint32_t step = s.n / (last_radix * R);
        for (int q = 1; q < R; ++q)
            for (uint32_t l = 0; l < last_radix; ++l) lane[q][l] = root(*s.roots, l * static_cast<uint32_t>(q) * step);
    }
    // The factors of block j (digits at j): tw[1 .. R−1].
    void of_block(const PassShape &s, const BlockDigits &digits, Complex<double> *tw) const {
        if (!table) return block_twiddles<R>(s, digits.rev, tw);
        const uint32_t l = digits.digit[s.pass - 1], rev0 = digits.rev - l * (s.n / (last_radix * R));
        for (int q = 1; q < R; ++q) tw[q] = lane[q][l] * root(*s.roots, rev0 * static_cast<uint32_t>(q));
    }
};

// W consecutive blocks of R values each, one block per lane: x[q] lane b is value q of block b.
// Read row by row and transposed in registers when R is a multiple of W.
template <int R, int W>
void load_blocks(const double *first, typename LanesFor<W>::C *x) {
    using L = LanesFor<W>;
    if constexpr (W > 1 && R % W == 0) {
        for (int c = 0; c < R; c += W) {
            typename L::V re[W], im[W];
            for (int b = 0; b < W; ++b) {
                const auto row = L::load(first + 2 * (b * R + c));
                re[b] = row.re;
                im[b] = row.im;
            }
            L::transpose(re);
            L::transpose(im);
            for (int i = 0; i < W; ++i) x[c + i] = {re[i], im[i]};
        }
    } else {
        for (int q = 0; q < R; ++q) x[q] = L::gather(first + 2 * q, 2 * R);
    }
}

template <int R, int W>
void store_blocks(double *first, const typename LanesFor<W>::C *x) {
    using L = LanesFor<W>;
    if constexpr (W > 1 && R % W == 0) {
        for (int c = 0; c < R; c += W) {
            typename L::V re[W], im[W];
            for (int i = 0; i < W; ++i) {
                re[i] = x[c + i].re;
                im[i] = x[c + i].im;
            }
            L::transpose(re);
            L::transpose(im);
            for (int b = 0; b < W; ++b) L::store(first + 2 * (b * R + c), {re[b], im[b]});
        }
    } else {
        for (int q = 0; q < R; ++q) L::scatter(first + 2 * q, 2 * R, x[q]);
    }
}

// Blocks j .. last_block − 1 of a pass whose blocks hold one butterfly each (span 1, so R
// consecutive values), W blocks at a time and then fewer, one block per lane.
template <int R, bool Inverse, int W>
void across_blocks(const PassShape &s, double *data, uint32_t j, BlockDigits &digits,
                   const SpanOneTwiddles<R> &twiddles) {
    if constexpr (W > R && (R & (R - 1)) == 0) {  // no more lanes than values per block
        return across_blocks<R, Inverse, W / 2>(s, data, j, digits, twiddles);
    }
    using L = LanesFor<W>;
    using V = typename L::V;
    // W blocks that share all digits but the last take one root per input.
    const bool shared = twiddles.table && twiddles.last_radix % W == 0;
    for (; j + W <= s.last_block; j += W) {
        Complex<V> tw[R]{};
        if (shared) {
            const uint32_t l = digits.digit[s.pass - 1], rev0 = digits.rev - l * (s.n / (twiddles.last_radix * R));
            for (int q = 1; q < R; ++q) {
                const Complex<double> base = root(*s.roots, rev0 * static_cast<uint32_t>(q));
                tw[q] = L::from(&twiddles.lane[q][l]) * Complex<V>{base.re + V{}, base.im + V{}};
            }
            for (int l = 0; l < W; ++l) digits.next();
        } else if (s.pass > 0) {
            Complex<double> lane_tw[R][W];
            for (int l = 0; l < W; ++l, digits.next()) {
                Complex<double> t[R];
                twiddles.of_block(s, digits, t);
                for (int q = 1; q < R; ++q) lane_tw[q][l] = t[q];
            }
            for (int q = 1; q < R; ++q) tw[q] = L::from(lane_tw[q]);
        }
        for (size_t g = 0; g < s.batch; ++g) {
            double *first = data + 2 * (g * s.n + size_t{j} * R);
            typename L::C x[R];
            load_blocks<R, W>(first, x);
            if (s.pass > 0)
                for (int q = 1; q < R; ++q) x[q] = turn<Inverse>(x[q], tw[q]);
            Butterfly<R>::template apply<Inverse>(x);
            store_blocks<R, W>(first, x);
        }
    }
    if constexpr (W > 1) across_blocks<R, Inverse, W / 2>(s, data, j, digits, twiddles);
}

template <int R, bool Inverse>
void radix_pass(const PassShape &s, double *data) {
    const size_t span = size_t{s.m} * s.stride, block_length = R * span, group_length = size_t{s.n} * s.stride;
    BlockDigits digits(s.radices, s.pass, s.first_block);
    if (span == 1) {
        const SpanOneTwiddles<R> twiddles(s);
        across_blocks<R, Inverse, kLanes>(s, data, s.first_block, digits, twiddles);
        return;
    }
    for (uint32_t j = s.first_block; j < s.last_block; ++j, digits.next()) {
        Complex<double> tw[R]{};
        if (s.pass > 0) block_twiddles<R>(s, digits.rev, tw);
        for (size_t g = 0; g < s.batch; ++g)
            along_block<R, Inverse, kLanes>(data + 2 * (g * group_length + j * block_length), 0, span,
                                            s.pass > 0 ? tw : nullptr);
    }
}

template <bool Inverse>
void pass_in(const PassShape &s, double *data) {
    switch (s.radix) {
    case 2: radix_pass<2, Inverse>(s, data); break;
    case 3: radix_pass<3, Inverse>(s, data); break;
    case 4: radix_pass<4, Inverse>(s, data); break;
    case 5: radix_pass<5, Inverse>(s, data); break;
    case 6: radix_pass<6, Inverse>(s, data); break;
    case 7: radix_pass<7, Inverse>(s, data); break;
    case 8: radix_pass<8, Inverse>(s, data); break;
    case 9: radix_pass<9, Inverse>(s, data); break;
    case 10: radix_pass<10, Inverse>(s, data); break;
    case 11: radix_pass<11, Inverse>(s, data); break;
    case 12: radix_pass<12, Inverse>(s, data); break;
    case 13: radix_pass<13, Inverse>(s, data); break;
    case 15: radix_pass<15, Inverse>(s, data); break;
    case 16: radix_pass<16, Inverse>(s, data); break;
    default: fft_generic_pass(s, data, Inverse);
    }
}

}  // namespace

void fft_pass(const PassShape &shape, double *data, bool inverse) {
    inverse ? pass_in<true>(shape, data) : pass_in<false>(shape, data);
}

}  // namespace hw::HW_ISA_NS
