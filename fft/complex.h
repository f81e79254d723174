// Complex values whose parts may be doubles or vectors of doubles (one lane per transform
// value), and the arithmetic the Fourier kernels need. In memory a complex value is two
// consecutive doubles, real part first; this type is the register form.
//
// Everything here has internal linkage: the per-level kernel files (*_simd.cpp) include it, and
// a copy compiled with wider instructions must never serve another level (docs/simd.md).
#pragma once

namespace hw::fourier {
namespace {

template <typename T>
struct Complex {
    T re, im;
};

template <typename T>
inline Complex<T> operator+(Complex<T> a, Complex<T> b) {
    return {a.re + b.re, a.im + b.im};
}
template <typename T>
inline Complex<T> operator-(Complex<T> a, Complex<T> b) {
    return {a.re - b.re, a.im - b.im};
}
// A real factor times both parts.
template <typename T>
inline Complex<T> operator*(double s, Complex<T> v) {
    return {s * v.re, s * v.im};
}
// i * v
template <typename T>
inline Complex<T> times_i(Complex<T> v) {
    return {-v.im, v.re};
}
// The transform's unit step: -i * v forward, +i * v inverse.
template <bool Inverse, typename T>
inline Complex<T> rotate(Complex<T> v) {
    if constexpr (Inverse) return {-v.im, v.re};
    else return {v.im, -v.re};
}
// a * b, real part ar*br - ai*bi, imaginary part ar*bi + ai*br.
template <typename T, typename U>
inline Complex<T> operator*(Complex<T> a, Complex<U> b) {
    return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
// The transform's root w = (cos, sin) of +2π t/n applied in the transform's direction: x * w
// inverse, x * conj(w) forward.
template <bool Inverse, typename T, typename U>
inline Complex<T> turn(Complex<T> x, Complex<U> w) {
    if constexpr (Inverse) return x * w;
    else return {x.re * w.re + x.im * w.im, x.im * w.re - x.re * w.im};
}

}  // namespace
}  // namespace hw::fourier
