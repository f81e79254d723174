// CPU feature detection for choosing a kernel level. No state of our own: the compiler
// runtime reads CPUID (and the OS's saved-state mask) once at load time.
#include "simd/isa.h"

namespace hw::simd {

bool cpu_has(Isa isa) {
    switch (isa) {
        case Isa::baseline:
            return true;
        case Isa::avx2:
            return __builtin_cpu_supports("avx2");
        case Isa::avx512:
            // The flags the avx512 objects are compiled with (see CMakeLists.txt).
            return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
                   __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512bw");
    }
    return false;
}

Isa best_isa() {
    if (cpu_has(Isa::avx512)) return Isa::avx512;
    if (cpu_has(Isa::avx2)) return Isa::avx2;
    return Isa::baseline;
}

const char *isa_name(Isa isa) {
    switch (isa) {
        case Isa::baseline: return "baseline";
        case Isa::avx2: return "avx2";
        case Isa::avx512: return "avx512";
    }
    return "?";
}

}  // namespace hw::simd
