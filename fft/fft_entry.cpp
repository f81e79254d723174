// hw_FFT: the in-place fast Fourier transform of a complex rtable, over the first n
// elements of a vector, one chosen dimension, or every dimension in turn.
#include <cmath>
#include <cstdint>

#include "fft/radix_kinds.h"
#include "host/arg_checks.h"
#include "host/transform_dims.h"
#include "simd/scale.h"

using namespace hw::host;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr const char *kInverseFlag = "argument #3, the inverse flag, must be 0 or 1";
constexpr const char *kStorageFlag = "argument #4, the storage flag, must be 0 or 1";
constexpr const char *kBadData = "argument #2, the data, must be an 1-d complex rectangular rtable";

// Room for the radix list of any 32-bit length.
constexpr int kMaxRadices = 32;

}  // namespace

extern "C" HostValue hw_FFT(HostKernel *k, HostValue *args) {
    check_arg_count(k, args, 6, "incorrect number of arguments");
    require(k, is_immediate_int(args[1]), "argument #1, must be an integer");
    require(k, is_rtable(k, args[2]), kBadData);
    const int32_t inverse = immediate(k, args[3], kInverseFlag);
    const int32_t storage = immediate(k, args[4], kStorageFlag);
    const int32_t normalization = immediate(k, args[5], "argument #5, the normalization flag, must be 0,1, or 2");
    const HostValue given_work = args[6];
    require(k, given_work == kImmediateZero || is_rtable(k, given_work),
            "argument #6, the working storage, must be 0 or an rtable");
    flag_at_most(k, inverse, 1, kInverseFlag);
    flag_at_most(k, storage, 1, kStorageFlag);
    flag_at_most(k, normalization, 2, "argument #5, the normalization flag, must be 0,1 or 2");
    RTableInfo settings;
    check_rtable_fields(k, args[2], &settings,
                        {.bad_storage = kBadData, .bad_type = kBadData, .data_type = HW_DATATYPE_COMPLEX,
                         .bad_rank = nullptr, .rank = 0, .bad_order = nullptr,
                         .read_only = "argument #2, the data, cannot be read only"});

    const int32_t argument1 = immediate_int_value(args[1]);
    TransformDims dims;
    check_length_or_dimension(k, args[2], settings.num_dims, argument1);
    if (settings.num_dims == 1) {
        single_length(&dims, static_cast<uint32_t>(argument1));
    } else {
        fill_storage_lengths(k, args[2], settings, "argument #2, the data, cannot have more than 63 dimensions", &dims);
        set_transform_range(&dims, argument1, settings.order_type);
    }
    double *data = static_cast<double *>(rtable_data(k, args[2]));

    // Working storage: the gather buffer and roots of the largest generic radix, or a whole
    // transform length when the output is reordered out of place.
    uint32_t radices[kMaxRadices];
    uint64_t largest_generic = 0, largest_length = 0;
    for (int32_t i = dims.first; i < dims.last; ++i) {
        const uint32_t length = dims.length[i];
        if (length < 2) continue;
        const uint32_t last = radices[ehw_RadixDec(length, radices) - 1];
        if (hw::fft::needs_generic_butterfly(last) && last > largest_generic) largest_generic = last;
        if (storage == 1 && length > largest_length) largest_length = length;
    }
    uint64_t work_length = 2 * largest_generic;
    if (work_length < largest_length) work_length = largest_length;
    double *work = nullptr, *roots = nullptr;
    if (work_length > 0) {
        require(k, work_length <= INT32_MAX, "the total data length exceeds the maximum allowable");
        if (given_work == kImmediateZero) {
            work = new_complex_rtable(k, static_cast<int32_t>(work_length));
        } else {
            RTableInfo work_settings;
            rtable_info(k, &work_settings, given_work);
            require(k, work_settings.data_type == HW_DATATYPE_COMPLEX, "the working storage must have complex datatype");
            require(k, work_settings.storage_type == HW_STORAGE_RECT, "the working storage must have rectangular storage");
            if (element_count(k, given_work, work_settings.num_dims) < static_cast<int64_t>(work_length))
                fail_with(k, "the working storage must be at least %1 in length",
                          make_immediate_int(static_cast<int32_t>(work_length)));
            work = static_cast<double *>(rtable_data(k, given_work));
        }
        roots = work + 2 * largest_generic;
    }

    // A zero length leaves nothing to transform.
    if (dims.total == 0) return null_value(k);
    uint32_t stride = dims.total, batch = 1, transformed = 1;
    for (int32_t i = 0; i < dims.last; ++i) {
        const uint32_t length = dims.length[i];
        stride /= length;
        if (i >= dims.first && length >= 2) {
            const uint32_t count = ehw_RadixDec(length, radices);
            if (ehw_FFT(length, radices, count, kPi, data, work, roots, inverse, storage, stride, batch) == 1)
                fail(k, "internal error");
            transformed *= length;
        }
        batch *= length;
    }
    if (normalization != 0) {
        const double quotient = 1.0 / static_cast<double>(transformed);
        const double factor = normalization == 1 ? std::sqrt(quotient) : quotient;
        HW_PICK(hw::simd::best_isa(), scale_doubles)(data, size_t{dims.total} * 2, factor);
    }
    return null_value(k);
}
