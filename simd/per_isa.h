// Declaring and choosing functions that are compiled once per instruction-set level.
//
//   HW_PER_ISA(void, scale_doubles, (double *data, size_t count, double factor))
//
// declares hw::isa_baseline::scale_doubles, hw::isa_avx2::scale_doubles and
// hw::isa_avx512::scale_doubles; a *_simd.cpp file defines it once, inside
// `namespace hw::HW_ISA_NS`. HW_PICK(isa, scale_doubles) is the pointer for one level.
#pragma once

#include "simd/isa.h"

#define HW_PER_ISA(ret, name, params)          \
    namespace hw::isa_baseline { ret name params; } \
    namespace hw::isa_avx2 { ret name params; }     \
    namespace hw::isa_avx512 { ret name params; }

#define HW_PICK(isa, name)                                       \
    ((isa) == ::hw::simd::Isa::avx512 ? &::hw::isa_avx512::name \
     : (isa) == ::hw::simd::Isa::avx2 ? &::hw::isa_avx2::name   \
                                       : &::hw::isa_baseline::name)
