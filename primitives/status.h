// The status codes that primitives return: 0 success, negative refused with nothing written,
// positive done with a warning.
#pragma once

#include <cstdint>

namespace zr::primitives {

inline constexpr int32_t kStatusOk = 0;
inline constexpr int32_t kStatusNegativeSqrt = 3;
inline constexpr int32_t kStatusEvenMaskSize = 5;
inline constexpr int32_t kStatusDividedByZero = 6;
inline constexpr int32_t kStatusZeroLogarithm = 7;
inline constexpr int32_t kStatusNegativeLogarithm = 8;
inline constexpr int32_t kStatusMathOverflow = 12;
inline constexpr int32_t kStatusMathUnderflow = 17;
inline constexpr int32_t kStatusMathSingularity = 18;
inline constexpr int32_t kStatusMathDomain = 19;
inline constexpr int32_t kStatusNoTableMemory = -4;
inline constexpr int32_t kStatusParameter = -5;
inline constexpr int32_t kStatusSize = -6;
inline constexpr int32_t kStatusNoiseRange = -7;
inline constexpr int32_t kStatusNullPointer = -8;
inline constexpr int32_t kStatusNoMemory = -9;
inline constexpr int32_t kStatusDivideByZero = -10;
inline constexpr int32_t kStatusOutOfRange = -11;
inline constexpr int32_t kStatusFftOrder = -15;
inline constexpr int32_t kStatusFftFlag = -16;
inline constexpr int32_t kStatusContext = -17;
inline constexpr int32_t kStatusThresholdBounds = -18;
inline constexpr int32_t kStatusIirOrder = -25;
inline constexpr int32_t kStatusFirLength = -26;
inline constexpr int32_t kStatusSamplingPhase = -30;
inline constexpr int32_t kStatusSamplingFactor = -31;
inline constexpr int32_t kStatusShift = -32;
inline constexpr int32_t kStatusWaveletOffset = -35;
inline constexpr int32_t kStatusTonePhase = -44;
inline constexpr int32_t kStatusToneFrequency = -45;
inline constexpr int32_t kStatusToneMagnitude = -46;
inline constexpr int32_t kStatusNoiseLength = -119;
inline constexpr int32_t kStatusNotSupported = -9999;

}  // namespace zr::primitives
