// The status codes that primitives return: 0 success, negative refused with nothing written,
// positive done with a warning.
#pragma once

#include <cstdint>

namespace zr::primitives {

inline constexpr int32_t kStatusOk = 0;
inline constexpr int32_t kStatusDividedByZero = 6;
inline constexpr int32_t kStatusSize = -6;
inline constexpr int32_t kStatusNullPointer = -8;
inline constexpr int32_t kStatusNoMemory = -9;
inline constexpr int32_t kStatusDivideByZero = -10;
inline constexpr int32_t kStatusThresholdBounds = -18;
inline constexpr int32_t kStatusNotSupported = -9999;

}  // namespace zr::primitives
