// The instruction-set levels the library has kernels for, and which of them this CPU runs.
//
// Code that gains from vectors lives in files named *_simd.cpp. The build compiles each such
// file once per level, inside the namespace hw::isa_baseline, hw::isa_avx2 or hw::isa_avx512
// (see simd/per_isa.h and docs/simd.md). Callers pick a level with best_isa() on every call;
// tests pass each level in turn and compare the results bit for bit.
#pragma once

namespace hw::simd {

enum class Isa : int { baseline = 0, avx2 = 1, avx512 = 2 };

inline constexpr Isa kAllIsas[] = {Isa::baseline, Isa::avx2, Isa::avx512};

// Whether this CPU (and its operating system) runs the kernels compiled for `isa`.
bool cpu_has(Isa isa);

// The widest level this CPU runs. Cheap: a few loads of the C runtime's CPU feature record.
Isa best_isa();

const char *isa_name(Isa isa);

}  // namespace hw::simd
