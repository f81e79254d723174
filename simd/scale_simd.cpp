// Multiplying a run of doubles by one factor (the Fourier entries' normalisation).
#include "simd/scale.h"
#include "simd/vec.h"

namespace hw::HW_ISA_NS {

void scale_doubles(double *data, size_t count, double factor) {
    const vdouble f = broadcast(factor);
    size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) store(data + i, load(data + i) * f);
    for (; i < count; ++i) data[i] *= factor;
}

}  // namespace hw::HW_ISA_NS
