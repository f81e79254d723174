// hw_DWT and hw_DWTinv: the host entries of the wavelet transforms. Both take the same
// seventeen arguments and run one checking sequence, each with its own message texts.
#include "host/arg_checks.h"

using namespace hw::host;

namespace {

struct IntegerTexts {
    const char *not_immediate;
    const char *too_small;
};

struct SignalSetTexts {
    const char *not_rtable;
    const char *bad_storage;
    const char *bad_type;
    IntegerTexts skip, tskip, offset;
    const char *too_small;
};

struct DwtTexts {
    SignalSetTexts data;
    IntegerTexts length, count;
    const char *flag_range;
    SignalSetTexts first, second;
};

const DwtTexts kForwardTexts = {
    .data = {"argument #1, the input data, must be an rtable",
             "argument #1, the input data, must be an rtable with RTABLE_RECT storage",
             "argument #1, the input data, must be an rtable of datatype double",
             {"argument #2, the data skip for the input data, must be an immediate integer",
              "argument #2, the data skip for the input data, cannot be negative"},
             {"argument #3, the transformation skip for the input data, must be an immediate integer",
              "argument #3, the transform skip for the input data, cannot be negative"},
             {"argument #4, the offset for the input data, must be an immediate integer",
              "argument #4, the offset for the input data, cannot be negative"},
             "The input data is not big enough for the given offset and skips"},
    .length = {"argument #5, the first data length, must be an immediate integer",
               "argument #5, the first data length, must be greater or equal to 1"},
    .count = {"argument #6, the number of transformations, must be an immediate integer",
              "argument #6, the number of transformations, must be greater or equal to 1"},
    .flag_range = "argument #9, the flag for end conditions, must be 0, 1 or 2",
    .first = {"argument #10, the first output variable, must be an rtable",
              "argument #10, the first output variable, must be an rtable with RTABLE_RECT storage",
              "argument #10, the the first output variable, must be an rtable of datatype double",
              {"argument #11, the data skip for the first output variable, must be an immediate integer",
               "argument #11, the data skip for the first output variable, cannot be negative"},
              {"argument #12, the transform skip for the first output variable, must be an immediate integer",
               "argument #12, the transform skip for the first output variable, cannot be negative"},
              {"argument #13, the offset for the first output variable, must be an immediate integer",
               "argument #13, the offset for the first output variable, cannot be negative"},
              "The first output variable is not big enough for the given offset and skips"},
    .second = {"argument #14, the second output variable, must be an rtable",
               "argument #14, the second output variable, must be an rtable with RTABLE_RECT storage",
               "argument #14, the the second output variable, must be an rtable of datatype double",
               {"argument #15, the data skip for the second output variable, must be an immediate integer",
                "argument #15, the data skip for the second output variable, cannot be negative"},
               {"argument #16, the transform skip for the second output variable, must be an immediate integer",
                "argument #16, the transform skip for the second output variable, cannot be negative"},
               {"argument #17, the offset for the second output variable, must be an immediate integer",
                "argument #17, the offset for the second output variable, cannot be negative"},
               "The second output variable is not big enough for the given offset and skips"},
};

const DwtTexts kInverseTexts = {
    .data = {"argument #1, the output data, must be an rtable",
             "argument #1, the output data, must be an rtable with RTABLE_RECT storage",
             "argument #1, the output data, must be an rtable of datatype double",
             {"argument #2, the data skip for the output data, must be an immediate integer",
              "argument #2, the data skip for the output data, cannot be negative"},
             {"argument #3, the transformation skip for the output data, must be an immediate integer",
              "argument #3, the transform skip for the output data, cannot be negative"},
             {"argument #4, the offset for the output data, must be an immediate integer",
              "argument #4, the offset for the output data, cannot be negative"},
             "The output data is not big enough for the given offset and skips"},
    .length = kForwardTexts.length,
    .count = kForwardTexts.count,
    .flag_range = "argument #9, the flag for end conditions, must be 0 or 1 or 2",
    .first = {"argument #10, the first input variable, must be an rtable",
              "argument #10, the first input variable, must be an rtable with RTABLE_RECT storage",
              "argument #10, the the first input variable, must be an rtable of datatype double",
              {"argument #11, the data skip for the first input variable, must be an immediate integer",
               "argument #11, the data skip for the first input variable, cannot be negative"},
              {"argument #12, the transform skip for the first input variable, must be an immediate integer",
               "argument #12, the transform skip for the first input variable, cannot be negative"},
              {"argument #13, the offset for the first input variable, must be an immediate integer",
               "argument #13, the offset for the first input variable, cannot be negative"},
              "The first input variable is not big enough for the given offset and skips"},
    .second = {"argument #14, the second input variable, must be an rtable",
               "argument #14, the second input variable, must be an rtable with RTABLE_RECT storage",
               "argument #14, the the second input variable, must be an rtable of datatype double",
               {"argument #15, the data skip for the second input variable, must be an immediate integer",
                "argument #15, the data skip for the second input variable, cannot be negative"},
               {"argument #16, the transform skip for the second input variable, must be an immediate integer",
                "argument #16, the transform skip for the second input variable, cannot be negative"},
               {"argument #17, the offset for the second input variable, must be an immediate integer",
                "argument #17, the offset for the second input variable, cannot be negative"},
               "The second input variable is not big enough for the given offset and skips"},
};

// One signal set after its checks: data block, element count and layout.
struct SignalSet {
    double *base;
    int64_t elements;
    int32_t skip, tskip, offset;
};

// All the arguments, ready for an engine.
struct DwtCall {
    SignalSet data;
    int32_t length, count;
    const double *high_pass, *low_pass;
    int32_t filter_length;
    int32_t end_flag;
    SignalSet first, second;
};

double *signal_rtable(HostKernel *k, HostValue rt, const SignalSetTexts &t, int64_t *elements) {
    RTableInfo info;
    check_rtable(k, rt, t.not_rtable, &info,
                 {.bad_storage = t.bad_storage, .bad_type = t.bad_type, .data_type = HW_DATATYPE_DOUBLE,
                  .bad_rank = nullptr, .rank = 0, .bad_order = nullptr, .read_only = nullptr});
    double *base = static_cast<double *>(rtable_data(k, rt));
    *elements = element_count(k, rt, info.num_dims);
    return base;
}

SignalSet signal_set(HostKernel *k, HostValue *args, int first_arg, const SignalSetTexts &t) {
    SignalSet s;
    s.base = signal_rtable(k, args[first_arg], t, &s.elements);
    s.skip = count_at_least(k, args[first_arg + 1], 0, t.skip.not_immediate, t.skip.too_small);
    s.tskip = count_at_least(k, args[first_arg + 2], 0, t.tskip.not_immediate, t.tskip.too_small);
    s.offset = count_at_least(k, args[first_arg + 3], 0, t.offset.not_immediate, t.offset.too_small);
    return s;
}

const double *filter(HostKernel *k, HostValue rt, int arg, int64_t *length) {
    static const char *const texts[2][4] = {
        {"argument #7, the high pass filter, must be an rtable",
         "argument #7, the high pass filter, must be an rtable with RTABLE_RECT storage",
         "argument #7, the high pass filter, must be an rtable of datatype double",
         "argument #7, the high pass filter, must be an rtable of dimension 1"},
        {"argument #8, the low pass filter, must be an rtable",
         "argument #8, the low pass filter, must be an rtable with RTABLE_RECT storage",
         "argument #8, the low pass filter, must be an rtable of datatype double",
         "argument #8, the low pass filter, must be an rtable of dimension 1"}};
    const char *const *t = texts[arg - 7];
    RTableInfo info;
    check_rtable(k, rt, t[0], &info,
                 {.bad_storage = t[1], .bad_type = t[2], .data_type = HW_DATATYPE_DOUBLE, .bad_rank = t[3],
                  .rank = 1, .bad_order = nullptr, .read_only = nullptr});
    const double *base = static_cast<const double *>(rtable_data(k, rt));
    *length = dimension_length(k, rt, 1);
    return base;
}

// The last addressed element of a signal set must exist. Evaluated exactly: each term is
// below 2^62, so the sum fits in 128 bits with room to spare.
void require_fits(HostKernel *k, const SignalSet &s, int64_t last_index, int32_t count, const char *msg) {
    const __int128 needed = static_cast<__int128>(last_index) * s.skip + s.offset +
                            static_cast<__int128>(s.tskip) * (count - 1) + 1;
    require(k, static_cast<__int128>(s.elements) >= needed, msg);
}

DwtCall check_arguments(HostKernel *k, HostValue *args, const DwtTexts &t) {
    check_arg_count(k, args, 17, "incorrect number of arguments, DWT takes 17 arguments");
    DwtCall c;
    c.data = signal_set(k, args, 1, t.data);
    c.length = count_at_least(k, args[5], 1, t.length.not_immediate, t.length.too_small);
    c.count = count_at_least(k, args[6], 1, t.count.not_immediate, t.count.too_small);
    int64_t high_length = 0, low_length = 0;
    c.high_pass = filter(k, args[7], 7, &high_length);
    c.low_pass = filter(k, args[8], 8, &low_length);
    require(k, high_length == low_length,
            "arguments #7 and #8, the high and low pass filters, must be rtables of the same size");
    require(k, high_length >= 1, "arguments #7 and #8, the high and low pass filters, must be of length at least 1");
    const int32_t flag = immediate(k, args[9], "argument #9, the flag for end conditions, must be an immediate integer");
    c.end_flag = static_cast<int32_t>(flag_at_most(k, flag, 2, t.flag_range));
    c.first = signal_set(k, args, 10, t.first);
    c.second = signal_set(k, args, 14, t.second);

    const int64_t n = c.length;
    const int64_t last_coefficient = n / 2 + n % 2 - 1;
    require_fits(k, c.data, n - 1, c.count, t.data.too_small);
    require_fits(k, c.first, last_coefficient, c.count, t.first.too_small);
    require_fits(k, c.second, last_coefficient, c.count, t.second.too_small);
    require(k, n >= high_length, "The data length must be at least as long as the filter mask");
    c.filter_length = static_cast<int32_t>(high_length);
    return c;
}

}  // namespace

extern "C" HostValue hw_DWT(HostKernel *k, HostValue *args) {
    const DwtCall c = check_arguments(k, args, kForwardTexts);
    ehw_DWT(c.data.base, c.data.skip, c.data.tskip, c.data.offset, c.length, c.count, c.high_pass, c.low_pass,
            c.filter_length, c.end_flag, c.first.base, c.first.skip, c.first.tskip, c.first.offset, c.second.base,
            c.second.skip, c.second.tskip, c.second.offset);
    return null_value(k);
}

extern "C" HostValue hw_DWTinv(HostKernel *k, HostValue *args) {
    const DwtCall c = check_arguments(k, args, kInverseTexts);
    const int32_t result =
        ehw_DWTinv(c.data.base, c.data.skip, c.data.tskip, c.data.offset, c.length, c.count, c.high_pass,
                   c.low_pass, c.filter_length, c.end_flag, c.first.base, c.first.skip, c.first.tskip,
                   c.first.offset, c.second.base, c.second.skip, c.second.tskip, c.second.offset);
    switch (result) {
    case 1: fail(k, "Unable to allocate memory");
    case 2: fail(k, "The given filter mask is not invertible");
    case 11: fail(k, "Error inverting filter mask with f=1 overflow condition: the filter mask is not invertible");
    case 13:
        fail(k, "Error inverting filter mask with f=1 overflow condition: problem is ill conditioned, result may be "
                "meaningless");
    case 14:
        fail(k, "Error inverting filter mask with f=1 overflow condition: problem is over conditioned, and does not "
                "appear to be solvable");
    default: return null_value(k);
    }
}
