// The instruction-set levels this machine runs, for tests that compare every level's results
// bit for bit with the baseline's.
#pragma once

#include <vector>

#include "simd/isa.h"

namespace hwtest {

inline std::vector<hw::simd::Isa> runnable_levels() {
    std::vector<hw::simd::Isa> levels;
    for (hw::simd::Isa isa : hw::simd::kAllIsas)
        if (hw::simd::cpu_has(isa)) levels.push_back(isa);
    return levels;
}

}  // namespace hwtest
