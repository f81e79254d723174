// hw_GEMatrixInv: inverts the host's augmented n x 2n matrix of doubles in place.
#include <algorithm>

#include "host/arg_checks.h"

using namespace hw::host;

namespace {

// A dimension length as the engine's signed 32-bit count. A larger length can only belong
// to an rtable with no elements, which the engine then never reads.
int32_t engine_count(int64_t length) { return static_cast<int32_t>(std::min<int64_t>(length, INT32_MAX)); }

}  // namespace

extern "C" HostValue hw_GEMatrixInv(HostKernel *k, HostValue *args) {
    check_arg_count(k, args, 1, "incorect number of arguments, GEMatrixInv takes 1 argument");
    RTableInfo info;
    check_rtable(k, args[1], "argument #1 must be an rtable", &info,
                 {.bad_storage = "argument #1 must be an rtable with RTABLE_RECT storage",
                  .bad_type = "argument #1, the the first output variable, must be an rtable of datatype double",
                  .data_type = HW_DATATYPE_DOUBLE,
                  .bad_rank = "argument #1 must be a two dimensional rtable",
                  .rank = 2,
                  .bad_order = "argument #1 must be an rtable with C_order order type",
                  .read_only = nullptr});
    double *matrix = static_cast<double *>(rtable_data(k, args[1]));
    const int upper_rows = rtable_upper(k, args[1], 1);
    const int upper_cols = rtable_upper(k, args[1], 2);
    // The usual lower bound is 1, when the upper bounds are the lengths; for any other the
    // lengths are used, so the engine stays inside the data block.
    const int32_t rows = engine_count(int64_t{upper_rows} - rtable_lower(k, args[1], 1) + 1);
    const int32_t cols = engine_count(int64_t{upper_cols} - rtable_lower(k, args[1], 2) + 1);

    double condition = 0.0;
    switch (ehw_GEMatrixInv(matrix, std::max(rows, 0), std::max(cols, 0), &condition)) {
    case 1: fail(k, "the given matrix cannot be solved");
    case 3: fail(k, "problem is ill conditioned, result may be meaningless");
    default: return null_value(k);
    }
}
