// The mixed-radix decimation-in-frequency FFT: one pass per radix, each multiplying its inputs
// by their twiddle factors as it loads them (fft/pass_simd.cpp), and a final reordering of the
// digit-reversed results into natural order.
//
// Stack: the root table (one level of at most 1024 roots, or at most 4 levels of 256: 16 KiB),
// the pass schedule with its depth-first recursion (one frame per pass, at most 32: under
// 4 KiB), and below it either a pass kernel's registers and lane tables (at most about 10 KiB,
// radix 15 and 16 at 512 bits) or the reordering's buffer for lengths up to 1152 and digit
// counters, or the mirrored reordering's two 4 KiB tile buffers (under 20 KiB): under 40 KiB
// in all. Contiguous short sequences take the self-sorting path instead (fft/autosort.h: under
// 40 KiB), whose frames never hold this root table. No heap.
#include <algorithm>
#include <bit>
#include <cstddef>

#include "fft/autosort.h"
#include "fft/engine.h"
#include "fft/pass.h"
#include "fft/pass_order.h"
#include "fft/radix_kinds.h"
#include "fft/reorder.h"
#include "fft/small_roots.h"
#include "hw.h"
#include "trig/trig.h"

namespace hw::fft {
namespace {

// w(i·step) of order n for i < count: from a constant table where n (or n / step) divides its
// order, evaluated otherwise; the same bits either way.
void exact_roots(simd::Isa isa, uint32_t n, uint64_t step, uint64_t count, double *roots) {
    if (has_constant_roots(n))
        constant_unit_roots(n, 0, step, count, roots);
    else if (n % step == 0 && has_constant_roots(static_cast<uint32_t>(n / step)))
        constant_unit_roots(static_cast<uint32_t>(n / step), 0, 1, count, roots);
    else
        HW_PICK(isa, unit_roots)(n, 0, step, count, roots);
}

// w(i·step) for i < count, the whole circle (count·step = n, n/step a multiple of 8): the first
// octant evaluated, the rest by the exact symmetries (c, s) -> (s, c) about π/4 and
// (c, s) -> (−s, c) per quarter turn.
void fill_circle(simd::Isa isa, uint32_t n, uint64_t step, uint32_t count, double *roots) {
    exact_roots(isa, n, step, count / 8 + 1, roots);
    complete_circle(count, roots);
}

// The root table of order n: the whole circle in one level where it fits and the constant
// tables hold it; otherwise two levels up to 2^16, three up to 2^24, four above, at most
// 2^kMaxRootLevelBits entries each. The last level spans the whole circle; where it is filled
// by symmetry from an eighth of its roots, two levels take the digit width that needs the
// fewest evaluations.
void fill_root_table(simd::Isa isa, uint32_t n, double *storage, RootTable *table) {
    if (n <= kMaxRootLevels << kMaxRootLevelBits && has_constant_roots(n)) {  // one level, every root exact
        table->levels = 1;
        table->bits = 32;
        table->level[0] = storage;
        if (n % 8 == 0)
            fill_circle(isa, n, 1, n, storage);
        else
            exact_roots(isa, n, 1, n, storage);
        return;
    }
    const uint32_t bits = static_cast<uint32_t>(std::bit_width(n - 1));
    table->levels = bits <= 16 ? 2 : bits <= 24 ? 3 : 4;
    table->bits = (bits + table->levels - 1) / table->levels;
    if (table->levels == 2) {
        uint64_t fewest = ~uint64_t{0};
        for (uint32_t b = 1; b <= bits && b <= kMaxRootLevelBits; ++b) {
            const uint64_t top = (n + (uint64_t{1} << b) - 1) >> b;
            const bool by_symmetry = n % (uint64_t{8} << b) == 0;
            const uint64_t evaluations = (uint64_t{1} << b) + (by_symmetry ? top / 8 + 1 : top);
            if (top <= (1u << kMaxRootLevelBits) && evaluations < fewest) {
                fewest = evaluations;
                table->bits = b;
            }
        }
    }
    for (uint32_t l = 0; l < table->levels; ++l) {
        const uint64_t step = uint64_t{1} << (table->bits * l);
        const uint64_t count = l + 1 < table->levels ? uint64_t{1} << table->bits : (n + step - 1) / step;
        double *level = storage + 2 * l * (size_t{1} << kMaxRootLevelBits);
        if (l + 1 == table->levels && n % (8 * step) == 0 && count >= 8)
            fill_circle(isa, n, step, static_cast<uint32_t>(count), level);
        else
            exact_roots(isa, n, step, count, level);
        table->level[l] = level;
    }
}

// roots[k] = ω^k for k < r, ω = exp(∓2πi/r) (− forward, + inverse).
void fill_generic_roots(simd::Isa isa, uint32_t r, bool inverse, double *roots) {
    const uint32_t half = (r + 1) / 2;
    exact_roots(isa, r, 1, half, roots);
    for (uint32_t k = 1; k < half; ++k) {
        const double sine = roots[2 * k + 1];
        roots[2 * k + 1] = inverse ? sine : -sine;
        roots[2 * (r - k)] = roots[2 * k];
        roots[2 * (r - k) + 1] = inverse ? -sine : sine;
    }
}

// The passes of one call and what they share. Once pass p has run, every block of its output
// is independent of the others, so the later passes can run block by block while a block
// stays in cache: a range too large for the cache gets its pass and then each sub-range of
// blocks in turn, depth first; a range that fits gets all its remaining passes at once. The
// kernels' arithmetic depends on the pass alone, so the order of the ranges changes no bit.
struct Schedule {
    simd::Isa isa;
    decltype(HW_PICK(simd::Isa::baseline, fft_pass)) kernel;
    uint32_t length, count;
    const uint32_t *order;
    uint32_t m[kMaxRadices], blocks[kMaxRadices];  // pass p: m[p] positions after it, blocks[p] before it
    size_t stride, cache_values;                  // complex values that fit the cache
    bool inverse;
    const RootTable *table;
    double *work, *roots;
    uint32_t table_radix = 0;

    void pass(uint32_t p, uint32_t first, uint32_t last, double *data, size_t batch) {
        const uint32_t r = order[p];
        // The table the kernel reads; the caller's is settled at the end of the call.
        if (needs_generic_butterfly(r) && !is_small_prime_radix(r) && table_radix != r) {
            fill_generic_roots(isa, r, inverse, roots);
            table_radix = r;
        }
        const PassShape shape{length, r, m[p], blocks[p], p, first, last, order, stride, batch, table, work, roots};
        if (r > 1) kernel(shape, data, inverse);
    }

    // Passes p .. count − 1 on blocks first .. last − 1 of pass p (0 or multiples of the
    // previous pass's radix) of `batch` sequences.
    void run(uint32_t p, uint32_t first, uint32_t last, double *data, size_t batch) {
        for (; p < count; ++p) {
            pass(p, first, last, data, batch);
            first *= order[p];
            last *= order[p];
            const size_t unit = size_t{m[p]} * order[p] * stride * batch;  // one block of pass p
            if (p + 1 == count || (last - first) / order[p] * unit <= cache_values) continue;
            // Whole blocks of pass p, as many as fit the cache, each through the later passes.
            const uint32_t step = order[p] * static_cast<uint32_t>(std::max<size_t>(1, cache_values / unit));
            for (uint32_t b = first; b < last; b += step) run(p + 1, b, std::min(last, b + step), data, batch);
            return;
        }
    }
};

// The passes and the reordering, for a list already checked; a function of its own so that
// the self-sorting path's stack does not hold this one's root table.
[[gnu::noinline]] int32_t transform_by_passes(simd::Isa isa, uint32_t length, uint32_t *radices,
                                              uint32_t radix_count, double *data, double *work, double *roots,
                                              bool inverse, bool out_of_place, uint32_t stride, uint32_t batch,
                                              size_t cache_bytes, uint32_t last_generic) {
    uint32_t mirrored[kMaxRadices], outer = 0;
    const uint32_t mirrored_count = mirrored_pass_order(length, mirrored, &outer);
    const uint32_t *order = mirrored_count ? mirrored : radices;
    const uint32_t count = mirrored_count ? mirrored_count : radix_count;

    double root_storage[2 * kMaxRootLevels << kMaxRootLevelBits];
    RootTable root_table{};
    if (count > 1) fill_root_table(isa, length, root_storage, &root_table);
    Schedule schedule{isa, HW_PICK(isa, fft_pass), length, count, order, {}, {}, stride,
                      std::max<size_t>(1, cache_bytes / 16), inverse, &root_table, work, roots};
    for (uint32_t p = 0, m = length, blocks = 1; p < count; blocks *= order[p++]) {
        schedule.m[p] = m /= order[p];
        schedule.blocks[p] = blocks;
    }
    // Sequences that fit the cache together go through every pass and the reordering as one
    // chunk; a longer one alone, block by block.
    const size_t sequence = size_t{length} * stride;
    const size_t chunk = std::max<size_t>(1, schedule.cache_values / sequence);
    uint32_t list[kMaxRadices];
    for (size_t g = 0; g < batch; g += chunk) {
        const size_t groups = std::min(chunk, batch - g);
        double *at = data + 2 * g * sequence;
        schedule.run(0, 0, 1, at, groups);
        if (mirrored_count) {
            swap_mirrored_digits(length, mirrored, outer, mirrored_count % 2 ? mirrored[outer] : 1, at, stride, groups);
        } else if (out_of_place) {
            ehw_Transpose(length, radices, radix_count, at, work, stride, static_cast<uint32_t>(groups));
            schedule.table_radix = 0;  // the roots lie inside the temporary
        } else {  // on a copy of the list: the caller's is rewritten once below
            std::copy(radices, radices + radix_count, list);
            reorder_in_place(length, list, radix_count, at, stride, static_cast<uint32_t>(groups));
        }
    }
    // The caller sees the root table of the last generic radix of its own list, also where a
    // butterfly of its own ran that radix (out of place with no mirrored order the table lies
    // inside the temporary, as the reordering left it).
    if (last_generic != 0 && last_generic != schedule.table_radix && (mirrored_count || !out_of_place))
        fill_generic_roots(isa, last_generic, inverse, roots);
    if (!out_of_place) merge_equal_neighbours(radices, radix_count);
    return HW_OK;
}

}  // namespace

int32_t transform(simd::Isa isa, uint32_t length, uint32_t *radices, uint32_t radix_count, double *data,
                  double *work, double *roots, bool inverse, bool out_of_place, uint32_t stride, uint32_t batch,
                  size_t cache_bytes) {
    if (radix_count == 0 || length < 2) return HW_OK;
    if (radix_count > kMaxRadices) return HW_FFT_UNSUPPORTED_RADIX;  // no list of a 32-bit length
    for (uint32_t p = 0; p < radix_count; ++p)
        if (is_unsupported_radix(radices[p])) return HW_FFT_UNSUPPORTED_RADIX;

    uint32_t last_generic = 0;
    for (uint32_t p = 0; p < radix_count; ++p)
        if (hw_fft_is_generic_radix(radices[p])) last_generic = radices[p];

    if (!fits_autosort(length, radices, radix_count, stride))
        return transform_by_passes(isa, length, radices, radix_count, data, work, roots, inverse, out_of_place,
                                   stride, batch, cache_bytes, last_generic);
    // Self-sorting: no reordering.
    autosort_transform(isa, length, radices, radix_count, data, out_of_place ? work : nullptr, inverse, batch);
    if (out_of_place && batch > 0)  // the last sequence in work, as the reordering through it leaves it
        std::copy_n(data + 2 * (size_t{batch} - 1) * length, 2 * size_t{length}, work);
    uint32_t mirrored[kMaxRadices], outer = 0;
    if (last_generic != 0 && (!out_of_place || mirrored_pass_order(length, mirrored, &outer) != 0))
        fill_generic_roots(isa, last_generic, inverse, roots);
    if (!out_of_place) merge_equal_neighbours(radices, radix_count);
    return HW_OK;
}

}  // namespace hw::fft

extern "C" int32_t ehw_FFT(uint32_t length, uint32_t *radices, uint32_t radix_count, double /*pi*/, double *data,
                           double *work, double *roots, int32_t inverse, int32_t storage, uint32_t stride,
                           uint32_t batch) {
    return hw::fft::transform(hw::simd::best_isa(), length, radices, radix_count, data, work, roots, inverse != 0,
                              storage != 0, stride, batch);
}
