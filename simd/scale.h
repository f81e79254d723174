// data[i] *= factor for i < count, on every instruction-set level.
#pragma once

#include <cstddef>

#include "simd/per_isa.h"

HW_PER_ISA(void, scale_doubles, (double *data, size_t count, double factor))
