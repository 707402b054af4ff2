// Scale factors: what is stored is a value times 2^-scaleFactor. Between integers and floats that
// is a multiplication by a power of two, exact by its bits: no library routine and no rounding
// stands between a scale factor and its multiplier. From integers to integers it is a shift.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace zr::primitives {

/// 2^-scaleFactor in single precision, with the exponent kept inside the normal numbers: the
/// multiplier of integer-to-float conversions.
inline float FloatPowerOfTwo(int32_t scaleFactor) {
  const int32_t limited = std::clamp(scaleFactor, -112, 126);
  return std::bit_cast<float>(static_cast<uint32_t>(127 - limited) << 23);
}

/// 2^-scaleFactor in double precision: the multiplier of float-to-integer conversions. Beyond 300 a
/// finite float times the multiplier is saturated or 0, and the limit keeps the product a number:
/// infinities saturate and zeros stay zero at every scale factor.
inline double DoublePowerOfTwo(int32_t scaleFactor) {
  const int32_t limited = std::clamp(scaleFactor, -300, 300);
  return std::bit_cast<double>(static_cast<uint64_t>(1023 - limited) << 52);
}

/// 2^-scaleFactor in double precision, with the exponent limited so that a 16-bit integer times the
/// multiplier is neither infinite nor below the normal numbers: the multiplier of
/// integer-to-double conversions.
inline double DoublePowerOfTwoForIntegers(int32_t scaleFactor) {
  const int32_t limited = std::clamp(scaleFactor, -1008, 1022);
  return std::bit_cast<double>(static_cast<uint64_t>(1023 - limited) << 52);
}

template <typename Result, typename Wide>
inline Result Saturate(Wide value) {
  using Limits = std::numeric_limits<Result>;
  return static_cast<Result>(std::clamp<Wide>(value, Limits::min(), Limits::max()));
}

/// value * 2^-shift, rounded to the nearest integer, ties to even, for shifts from 1 to one below
/// the width of Wide.
template <typename Wide>
inline Wide ShiftRightTiesToEven(Wide value, int32_t shift) {
  const Wide justBelowHalf = (Wide{1} << (shift - 1)) - 1;
  const Wide oneIfOdd = (value >> shift) & 1;
  return (value + justBelowHalf + oneIfOdd) >> shift;
}

/// value * 2^shift, saturated, for shifts from 0 to one below the width of Result. Masks choose the
/// end of the range: a branch would be a gamble in vectors where some elements saturate.
template <typename Result, typename Wide>
inline Result ShiftLeftSaturated(Wide value, int32_t shift) {
  constexpr int32_t kSignBit = std::numeric_limits<Wide>::digits;
  constexpr Wide kHighest = std::numeric_limits<Result>::max();
  const Wide ifNegative = value >> kSignBit;
  const Wide ifBeyond = ((kHighest >> shift) - (value ^ ifNegative)) >> kSignBit;
  return static_cast<Result>(((value << shift) & ~ifBeyond) | ((kHighest ^ ifNegative) & ifBeyond));
}

/// value * 2^-scaleFactor, rounded to the nearest integer, ties to even, and saturated, for any
/// scale factor. value is int32_t or int64_t and has the magnitude of the largest product of two
/// halves of its width at most, 2^30 or 2^62. In a loop with one scale factor the compiler takes
/// the tests of it out of the loop.
template <typename Result, typename Wide>
inline Result ScaleAndSaturate(Wide value, int32_t scaleFactor) {
  static_assert(std::is_same_v<Wide, int32_t> || std::is_same_v<Wide, int64_t>);
  if (scaleFactor == 0) return Saturate<Result>(value);
  if (scaleFactor < 0) {
    // From this shift on all values but 0 and -1 are saturated, and -1 is the lowest result.
    constexpr int32_t kSaturatingShift = std::numeric_limits<Result>::digits;
    return ShiftLeftSaturated<Result>(value, -std::max(scaleFactor, -kSaturatingShift));
  }
  if (scaleFactor > std::numeric_limits<Wide>::digits) return 0;
  return Saturate<Result>(ShiftRightTiesToEven(value, scaleFactor));
}

}  // namespace zr::primitives
