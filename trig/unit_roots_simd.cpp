// Batches of roots of unity of one order (PROVISIONAL: one scalar evaluation per root).
#include "simd/vec.h"
#include "trig/trig.h"

namespace hw::HW_ISA_NS {

void unit_roots(uint64_t n, uint64_t first, uint64_t step, size_t count, double *cos_sin) {
    uint64_t t = first % n;
    const uint64_t d = step % n;
    for (size_t k = 0; k < count; ++k) {
        hw::trig::unit_root(t, n, &cos_sin[2 * k], &cos_sin[2 * k + 1]);
        t += d;
        if (t >= n) t -= n;
    }
}

}  // namespace hw::HW_ISA_NS
