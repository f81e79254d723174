// The specialised butterflies: plain r-point DFTs with no twiddle factor, applied to `count`
// consecutive positions x, each butterfly taking its r inputs `dist` complex values apart.
#pragma once

#include <cmath>
#include <cstddef>

#include "fft/complex_ops.h"

namespace hw::fft {

// ---- radix 2, 4, 8, 16: the even/odd split family

template <bool Inverse>
inline void dft4(const Cx *x, Cx *y) {
    const Cx s1 = x[0] + x[2], d1 = x[0] - x[2], s2 = x[1] + x[3], d2 = x[1] - x[3];
    y[0] = s1 + s2;
    y[2] = s1 - s2;
    y[1] = d1 + rot<Inverse>(d2);
    y[3] = d1 - rot<Inverse>(d2);
}

template <bool Inverse>
inline void dft8(const Cx *x, Cx *y, double h) {
    const Cx ev[4] = {x[0], x[2], x[4], x[6]}, od[4] = {x[1], x[3], x[5], x[7]};
    Cx e[4], o[4];
    dft4<Inverse>(ev, e);
    dft4<Inverse>(od, o);
    const Cx w[4] = {o[0], h * (o[1] + rot<Inverse>(o[1])), rot<Inverse>(o[2]),
                     h * (rot<Inverse>(o[3]) - o[3])};
    for (int k = 0; k < 4; ++k) {
        y[k] = e[k] + w[k];
        y[k + 4] = e[k] - w[k];
    }
}

template <bool Inverse>
inline void dft16(const Cx *x, Cx *y, double h, double cs, double sn) {
    Cx ev[8], od[8], e[8], o[8];
    for (int k = 0; k < 8; ++k) {
        ev[k] = x[2 * k];
        od[k] = x[2 * k + 1];
    }
    dft8<Inverse>(ev, e, h);
    dft8<Inverse>(od, o, h);
    // W^k = exp(-+2 pi i k / 16) applied as a*v + b*rot(v).
    const Cx w[8] = {o[0],
                     cs * o[1] + sn * rot<Inverse>(o[1]),
                     h * (o[2] + rot<Inverse>(o[2])),
                     sn * o[3] + cs * rot<Inverse>(o[3]),
                     rot<Inverse>(o[4]),
                     cs * rot<Inverse>(o[5]) - sn * o[5],
                     h * (rot<Inverse>(o[6]) - o[6]),
                     sn * rot<Inverse>(o[7]) - cs * o[7]};
    for (int k = 0; k < 8; ++k) {
        y[k] = e[k] + w[k];
        y[k + 8] = e[k] - w[k];
    }
}

// ---- radix 3, 5, 6, 9: the symmetric-pair family; the direction is in the sine constants

struct OddConstants {
    double s3;              // +-0.8660254037844386
    double c1, c2, c4;      // radix 5 (c1, c2) or radix 9 (c1, c2, c4)
    double s1, s2, s4;
};

inline void dft3(Cx x0, Cx x1, Cx x2, double s3, Cx *y) {
    const Cx u = x1 + x2;
    y[0] = x0 + u;
    const Cx t = (-0.5 * u) + x0;
    const Cx v = s3 * (x1 - x2);
    y[1] = t + times_i(v);
    y[2] = t - times_i(v);
}

inline void dft5(const Cx *x, Cx *y, const OddConstants &k) {
    const Cx a1 = x[1] + x[4], b1 = x[1] - x[4], a2 = x[2] + x[3], b2 = x[2] - x[3];
    y[0] = x[0] + (a1 + a2);
    const Cx p1 = x[0] + k.c1 * a1 + k.c2 * a2, p2 = x[0] + k.c2 * a1 + k.c1 * a2;
    const Cx q1 = k.s1 * b1 + k.s2 * b2, q2 = k.s2 * b1 - k.s1 * b2;
    y[1] = p1 + times_i(q1);
    y[4] = p1 - times_i(q1);
    y[2] = p2 + times_i(q2);
    y[3] = p2 - times_i(q2);
}

inline void dft6(const Cx *x, Cx *y, double s3) {
    Cx a[3], b[3];
    dft3(x[0], x[2], x[4], s3, a);
    dft3(x[3], x[5], x[1], s3, b);
    y[0] = a[0] + b[0];
    y[3] = a[0] - b[0];
    y[1] = a[1] - b[1];
    y[4] = a[1] + b[1];
    y[2] = a[2] + b[2];
    y[5] = a[2] - b[2];
}

inline void dft9(const Cx *x, Cx *y, const OddConstants &k) {
    const Cx g0 = x[0] + x[3] + x[6], g1 = x[1] + x[4] + x[7], g2 = x[2] + x[5] + x[8];
    Cx r3[3];
    dft3(g0, g1, g2, k.s3, r3);
    y[0] = r3[0];
    y[3] = r3[1];
    y[6] = r3[2];
    const Cx t0 = x[0] - 0.5 * (x[3] + x[6]), v0 = k.s3 * (x[3] - x[6]);
    const Cx a1 = x[1] + x[8], b1 = x[1] - x[8], a2 = x[2] + x[7], b2 = x[2] - x[7];
    const Cx a4 = x[4] + x[5], b4 = x[4] - x[5];
    const Cx p1 = t0 + k.c1 * a1 + k.c2 * a2 + k.c4 * a4;
    const Cx q1 = k.s1 * b1 + k.s2 * b2 + v0 + k.s4 * b4;
    const Cx p2 = t0 + k.c2 * a1 + k.c4 * a2 + k.c1 * a4;
    const Cx q2 = k.s2 * b1 + k.s4 * b2 - v0 - k.s1 * b4;
    const Cx p4 = t0 + k.c4 * a1 + k.c1 * a2 + k.c2 * a4;
    const Cx q4 = k.s4 * b1 - k.s1 * b2 + v0 - k.s2 * b4;
    y[1] = p1 + times_i(q1);
    y[8] = p1 - times_i(q1);
    y[2] = p2 + times_i(q2);
    y[7] = p2 - times_i(q2);
    y[4] = p4 + times_i(q4);
    y[5] = p4 - times_i(q4);
}

// Applies `kernel(in, out)` of radix R to `count` consecutive butterflies.
template <int R, typename Kernel>
inline void run_butterflies(double *x, size_t count, size_t dist, Kernel kernel) {
    for (size_t i = 0; i < count; ++i) {
        double *p = x + 2 * i;
        Cx in[R], out[R];
        for (int q = 0; q < R; ++q) in[q] = load(p + 2 * q * dist);
        kernel(in, out);
        for (int q = 0; q < R; ++q) store(p + 2 * q * dist, out[q]);
    }
}

}  // namespace hw::fft
