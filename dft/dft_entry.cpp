// hw_DFT: the direct transform of an input rtable into an output rtable, over the first n
// elements of a vector, one chosen dimension, or every dimension in turn.
#include <cstdint>
#include <cstring>

#include "host/arg_checks.h"
#include "host/transform_dims.h"

using namespace hw::host;

namespace {

constexpr double kPi = 3.141592653589793;
constexpr const char *kInverseFlag = "argument #4, the inverse flag, must be 0 or 1";
constexpr const char *kNormalizationFlag = "argument #5, the normalization flag, must be 0,1 or 2";
constexpr const char *kOutputShape =
    "argument #3, the output data, must have the same ordering and dimensions as the input data";

// True when the byte ranges [a, a + a_bytes) and [b, b + b_bytes) share a byte.
bool blocks_overlap(const void *a, size_t a_bytes, const void *b, size_t b_bytes) {
    const uintptr_t x = reinterpret_cast<uintptr_t>(a), y = reinterpret_cast<uintptr_t>(b);
    return a_bytes > 0 && b_bytes > 0 && x < y + b_bytes && y < x + a_bytes;
}

}  // namespace

extern "C" HostValue hw_DFT(HostKernel *k, HostValue *args) {
    check_arg_count(k, args, 5, "incorrect number of arguments");
    require(k, is_immediate_int(args[1]), "argument #1 must be an integer");
    require(k, is_rtable(k, args[2]), "argument #2, the input data, must be an 1-d complex rectangular rtable");
    require(k, is_rtable(k, args[3]), "argument #3, the output data, must be an 1-d complex rtable");
    const int32_t inverse = immediate(k, args[4], kInverseFlag);
    const int32_t normalization = immediate(k, args[5], kNormalizationFlag);
    flag_at_most(k, inverse, 1, kInverseFlag);
    flag_at_most(k, normalization, 2, kNormalizationFlag);
    RTableInfo input_settings;
    const char *bad_input = "argument #2, the input data, must be a complex rectangular rtable";
    check_rtable_fields(k, args[2], &input_settings,
                        {.bad_storage = bad_input, .bad_type = bad_input, .data_type = HW_DATATYPE_COMPLEX,
                         .bad_rank = nullptr, .rank = 0, .bad_order = nullptr, .read_only = nullptr});
    const int32_t rank = input_settings.num_dims;

    const int32_t argument1 = to_int32(k, args[1]);
    check_length_or_dimension(k, args[2], rank, argument1);
    double *input = static_cast<double *>(rtable_data(k, args[2]));

    RTableInfo output_settings;
    const char *bad_output = "argument #3, the output data, must be a complex rectangular rtable";
    check_rtable_fields(k, args[3], &output_settings,
                        {.bad_storage = bad_output, .bad_type = bad_output, .data_type = HW_DATATYPE_COMPLEX,
                         .bad_rank = nullptr, .rank = 0, .bad_order = nullptr,
                         .read_only = "argument #3, the output data, cannot be read only"});
    require(k, output_settings.num_dims == rank && output_settings.order_type == input_settings.order_type,
            kOutputShape);

    TransformDims dims;
    uint32_t largest = 0;  // the longest length transformed, which sizes the roots table
    if (rank == 1) {
        const uint32_t n = static_cast<uint32_t>(argument1);
        require(k, argument1 <= dimension_length(k, args[3], 1), "data length specification exceeds storage of output");
        single_length(&dims, n);
        largest = n;
    } else {
        fill_storage_lengths(k, args[2], input_settings, "argument #2, the input data, cannot have more than 63 dimensions",
                             &dims, &args[3], kOutputShape);
        set_transform_range(&dims, argument1, input_settings.order_type);
        for (int32_t i = dims.first; i < dims.last; ++i)
            if (dims.length[i] > largest) largest = dims.length[i];
    }
    // Transforming every dimension carries the intermediate results in the input.
    const bool every_dimension = rank >= 2 && argument1 == 0;
    if (every_dimension) require(k, input_settings.read_only == 0, "argument #2, the input data, cannot be read only");
    double *output = static_cast<double *>(rtable_data(k, args[3]));
    const size_t used_bytes = size_t{dims.total} * 2 * sizeof(double);
    require(k, !blocks_overlap(input, used_bytes, output, used_bytes),
            "argument #3, the output data, must not share storage with the input data");

    double *roots = new_complex_rtable(k, static_cast<int32_t>((largest + 1) / 2));

    // A zero length leaves nothing to transform.
    if (dims.total == 0) return null_value(k);
    uint32_t stride = dims.total, batch = 1;
    for (int32_t i = 0; i < dims.last; ++i) {
        const uint32_t length = dims.length[i];
        stride /= length;
        if (i >= dims.first) {
            ehw_DFT(length, kPi, input, output, roots, inverse, stride, batch,
                    static_cast<uint32_t>(normalization));
            if (every_dimension && i + 1 < dims.last) std::memcpy(input, output, used_bytes);
        }
        batch *= length;
    }
    return null_value(k);
}
