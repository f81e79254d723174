// Complex values as two consecutive doubles, real part first, and the few operations the
// butterflies need. Data stay plain double arrays; these are register values.
#pragma once

#include <cstddef>

namespace hw::fft {

struct Cx {
    double re, im;
};

inline Cx load(const double *p) { return {p[0], p[1]}; }
inline void store(double *p, Cx v) {
    p[0] = v.re;
    p[1] = v.im;
}
inline Cx operator+(Cx a, Cx b) { return {a.re + b.re, a.im + b.im}; }
inline Cx operator-(Cx a, Cx b) { return {a.re - b.re, a.im - b.im}; }
inline Cx operator*(double s, Cx v) { return {s * v.re, s * v.im}; }
// i * v
inline Cx times_i(Cx v) { return {-v.im, v.re}; }
// Multiplication by -i (forward) or +i (inverse).
template <bool Inverse>
inline Cx rot(Cx v) {
    return Inverse ? Cx{-v.im, v.re} : Cx{v.im, -v.re};
}

}  // namespace hw::fft
