// PROVISIONAL: libm stand-ins with the final interface, to be replaced by correctly rounded
// evaluation.
#include "trig/trig.h"

#include <cmath>

namespace hw::trig {

void sin_cos(double x, double *sine, double *cosine) {
    *sine = std::sin(x);
    *cosine = std::cos(x);
}

void unit_root(uint64_t t, uint64_t n, double *cosine, double *sine) {
    const double angle = 6.283185307179586 * static_cast<double>(t % n) / static_cast<double>(n);
    sin_cos(angle, sine, cosine);
}

}  // namespace hw::trig
