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

}  // namespace

extern "C" HostValue hw_DFT(HostKernel *k, HostValue *args) {
    check_arg_count(k, args, 5, "incorrect number of arguments");
    require(k, is_immediate_int(args[1]), "argument #1 must be an integer");
    require(k, is_rtable(k, args[2]), "argument #2, the input data, must be an 1-d complex rectangular rtable");
    require(k, is_rtable(k, args[3]), "argument #3, the output data, must be an 1-d complex rtable");
    const int32_t inverse = immediate(k, args[4], kInverseFlag);
    const int32_t normalization_flag = immediate(k, args[5], kNormalizationFlag);
    flag_at_most(k, inverse, 1, kInverseFlag);
    const uint32_t normalization = flag_at_most(k, normalization_flag, 2, kNormalizationFlag);
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
    read_transform_dims(k, args[2], input_settings, argument1,
                        "argument #2, the input data, cannot have more than 63 dimensions", &dims, &args[3],
                        kOutputShape);
    // Transforming every dimension carries the intermediate results in the input.
    const bool every_dimension = rank >= 2 && argument1 == 0;
    if (every_dimension) require(k, input_settings.read_only == 0, "argument #2, the input data, cannot be read only");
    double *output = static_cast<double *>(rtable_data(k, args[3]));
    const size_t used_bytes = size_t{dims.total} * 2 * sizeof(double);
    require(k, !shares_storage(input, used_bytes, output, used_bytes),
            "argument #3, the output data, must not share storage with the input data");
    if (dims.total == 0) return null_value(k);  // nothing to transform, no roots needed

    uint32_t longest = 0;  // sizes the roots table
    for (int32_t i = dims.first; i < dims.last; ++i)
        if (dims.length[i] > longest) longest = dims.length[i];
    double *roots = new_complex_rtable(k, static_cast<int32_t>((longest + 1) / 2));
    for_each_pass(dims, [&](int32_t i, uint32_t length, uint32_t stride, uint32_t batch) {
        ehw_DFT(length, kPi, input, output, roots, inverse, stride, batch, 0);
        normalize(output, dims.total, normalization, length);
        if (every_dimension && i + 1 < dims.last) std::memcpy(input, output, used_bytes);
    });
    return null_value(k);
}
