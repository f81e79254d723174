// Constants of the trigonometry: pi in parts, pi/4 to 1088 bits, and cos and sin of the table
// angles j*pi/1024 (j = 0 .. 256) as pairs of doubles.
#pragma once

#include <cstdint>

namespace hw::trig {

// pi/2 = kHalfPi1 + .. + kHalfPi4 + O(2^-190); each part has at most 48 significant bits, so its
// product with a quadrant number below 32 is exact.
inline constexpr double kHalfPi1 = 0x1.921fb54442d2p+0;
inline constexpr double kHalfPi2 = -0x1.ee59d9cceba4p-50;
inline constexpr double kHalfPi3 = 0x1.b839a252049cp-104;
inline constexpr double kHalfPi4 = 0x1.114cf98e8042p-156;

// The table step pi/1024. kStep1 + kStep2 + kStep3 (44 significant bits each, so that products
// with a table index up to 256 are exact) and kStepD1 + kStepD2 + kStepD3 (whole doubles).
inline constexpr int kTableSteps = 256;
inline constexpr double kStep1 = 0x1.921fb54442ep-9;
inline constexpr double kStep2 = -0x1.cf72cece676p-54;
inline constexpr double kStep3 = 0x1.701b839a252p-101;
inline constexpr double kStepD1 = 0x1.921fb54442d18p-9;
inline constexpr double kStepD2 = 0x1.1a62633145c07p-63;
inline constexpr double kStepD3 = -0x1.f1976b7ed8fbcp-119;

// cos(j*pi/1024) = cos_hi + cos_lo and sin(j*pi/1024) = sin_hi + sin_lo, each part rounded to
// nearest (error below 2^-106).
struct TableAngle {
    double cos_hi, cos_lo, sin_hi, sin_lo;
};
extern const TableAngle kTableAngles[kTableSteps + 1];

// The fraction of pi/4 in 64-bit limbs, most significant first (truncated after 1088 bits).
inline constexpr int kQuarterPiLimbCount = 17;
extern const uint64_t kQuarterPiLimbs[kQuarterPiLimbCount];

}  // namespace hw::trig
