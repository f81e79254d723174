// hw_FFT: the in-place fast Fourier transform of a complex rtable, over the first n
// elements of a vector, one chosen dimension, or every dimension in turn.
#include <cstdint>

#include "fft/working_storage.h"
#include "host/arg_checks.h"
#include "host/transform_dims.h"

using namespace hw::host;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr const char *kInverseFlag = "argument #3, the inverse flag, must be 0 or 1";
constexpr const char *kStorageFlag = "argument #4, the storage flag, must be 0 or 1";
constexpr const char *kBadData = "argument #2, the data, must be an 1-d complex rectangular rtable";

struct FftArguments {
    int32_t argument1, inverse, storage, normalization;
    RTableInfo data_settings;
};

// The radix list of every transformed length, made once. The lists share one buffer: the
// lengths multiply to at most 2^31 - 1, so together they hold at most 31 radices.
struct Passes {
    uint32_t radices[32];
    hw::fft::RadixList lists[kMaxTransformDims];  // entry i - dims.first for table entry i
};

FftArguments check_arguments(HostKernel *k, HostValue *args) {
    check_arg_count(k, args, 6, "incorrect number of arguments");
    require(k, is_immediate_int(args[1]), "argument #1, must be an integer");
    require(k, is_rtable(k, args[2]), kBadData);
    FftArguments a;
    a.inverse = immediate(k, args[3], kInverseFlag);
    a.storage = immediate(k, args[4], kStorageFlag);
    a.normalization = immediate(k, args[5], "argument #5, the normalization flag, must be 0,1, or 2");
    require(k, args[6] == kImmediateZero || is_rtable(k, args[6]),
            "argument #6, the working storage, must be 0 or an rtable");
    flag_at_most(k, a.inverse, 1, kInverseFlag);
    flag_at_most(k, a.storage, 1, kStorageFlag);
    flag_at_most(k, a.normalization, 2, "argument #5, the normalization flag, must be 0,1 or 2");
    check_rtable_fields(k, args[2], &a.data_settings,
                        {.bad_storage = kBadData, .bad_type = kBadData, .data_type = HW_DATATYPE_COMPLEX,
                         .bad_rank = nullptr, .rank = 0, .bad_order = nullptr,
                         .read_only = "argument #2, the data, cannot be read only"});
    a.argument1 = immediate_int_value(args[1]);
    check_length_or_dimension(k, args[2], a.data_settings.num_dims, a.argument1);
    return a;
}

void split_lengths(const TransformDims &dims, Passes *p) {
    uint32_t used = 0;
    for (int32_t i = dims.first; i < dims.last; ++i) {
        const uint32_t count = ehw_RadixDec(dims.length[i], p->radices + used);
        p->lists[i - dims.first] = {dims.length[i], p->radices + used, count};
        used += count;
    }
}

// The `length` complex elements of working storage: none, a new host rtable, or argument 6
// once it has passed its checks.
double *take_working_storage(HostKernel *k, HostValue given, uint64_t length, const double *data, uint32_t total) {
    if (length == 0) return nullptr;
    // Twice a generic radix of a length near 2^31 cannot be handed to the host as a length.
    require(k, length <= INT32_MAX, "the total data length exceeds the maximum allowable");
    if (given == kImmediateZero) return new_complex_rtable(k, static_cast<int32_t>(length));
    RTableInfo settings;
    rtable_info(k, &settings, given);
    require(k, settings.data_type == HW_DATATYPE_COMPLEX, "the working storage must have complex datatype");
    require(k, settings.storage_type == HW_STORAGE_RECT, "the working storage must have rectangular storage");
    if (element_count(k, given, settings.num_dims) < static_cast<int64_t>(length))
        fail_with(k, "the working storage must be at least %1 in length",
                  make_immediate_int(static_cast<int32_t>(length)));
    double *work = static_cast<double *>(rtable_data(k, given));
    require(k, !shares_storage(work, length * 16, data, size_t{total} * 16),
            "argument #6, the working storage, must not share storage with the data");
    return work;
}

// Transforms every length of the range; returns the product of the lengths transformed.
uint64_t transform(HostKernel *k, const TransformDims &dims, Passes &p, const FftArguments &a, double *data,
                   double *work, double *roots) {
    uint64_t transformed = 1;
    for_each_pass(dims, [&](int32_t i, uint32_t length, uint32_t stride, uint32_t batch) {
        if (length < 2) return;
        const hw::fft::RadixList &list = p.lists[i - dims.first];
        uint32_t *radices = p.radices + (list.radices - p.radices);  // the engine may rewrite its list
        if (ehw_FFT(length, radices, list.count, kPi, data, work, roots, a.inverse, a.storage, stride, batch) ==
            HW_FFT_UNSUPPORTED_RADIX)
            fail(k, "internal error");
        transformed *= length;
    });
    return transformed;
}

}  // namespace

extern "C" HostValue hw_FFT(HostKernel *k, HostValue *args) {
    const FftArguments a = check_arguments(k, args);
    TransformDims dims;
    read_transform_dims(k, args[2], a.data_settings, a.argument1,
                        "argument #2, the data, cannot have more than 63 dimensions", &dims);
    double *data = static_cast<double *>(rtable_data(k, args[2]));
    if (dims.total == 0) return null_value(k);  // nothing to transform, no storage needed
    Passes passes;
    split_lengths(dims, &passes);
    const hw::fft::WorkingStorage need =
        hw::fft::working_storage(passes.lists, dims.last - dims.first, a.storage == 1);
    double *work = take_working_storage(k, args[6], need.length, data, dims.total);
    double *roots = work ? work + 2 * need.roots_offset : nullptr;
    const uint64_t transformed = transform(k, dims, passes, a, data, work, roots);
    normalize(data, dims.total, static_cast<uint32_t>(a.normalization), transformed);
    return null_value(k);
}
