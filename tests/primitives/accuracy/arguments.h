// Arguments that find errors: of all magnitudes, beside the places where a table's row or a path
// changes, beside the ends of ranges, and with few digits, so that a result is exact or halfway
// between two numbers.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <limits>
#include <type_traits>

#include "tests/primitives/random_elements.h"

namespace zr::test {

/// In [low, high).
inline double Uniform(RandomElements* random, double low, double high) {
  return low + (high - low) * (static_cast<double>(random->Bits() >> 11) * 0x1p-53);
}

/// Of [0, count).
inline int Choice(RandomElements* random, uint64_t count) {
  return static_cast<int>((random->Bits() >> 32) % count);
}

template <typename Element>
using WordOf = std::conditional_t<sizeof(Element) == 4, uint32_t, uint64_t>;

/// A few places up or down from a positive number.
template <typename Element>
Element Beside(RandomElements* random, double x) {
  const auto word = std::bit_cast<WordOf<Element>>(static_cast<Element>(x));
  return std::bit_cast<Element>(word + static_cast<WordOf<Element>>(Choice(random, 9)) - 4);
}

/// Positive, finite, of any magnitude.
template <typename Element>
Element AnyMagnitude(RandomElements* random) {
  constexpr auto kInfinity =
      std::bit_cast<WordOf<Element>>(std::numeric_limits<Element>::infinity());
  return std::bit_cast<Element>(static_cast<WordOf<Element>>(random->Bits() % kInfinity));
}

template <typename Element>
Element PositiveBase(RandomElements* random) {
  using Limits = std::numeric_limits<Element>;
  const double exponent = Choice(random, 2 * Limits::max_exponent - 4) - Limits::max_exponent + 3;
  switch (Choice(random, 6)) {
    case 0:
    case 1:
      return AnyMagnitude<Element>(random);
    case 2:  // Close to 1.
      return static_cast<Element>(
          1.0 + std::ldexp(Uniform(random, -0.5, 1.0), -Choice(random, Limits::digits)));
    case 3: {  // Where a row begins or has its middle, in tables of 2^5 to 2^16 rows.
      const int rows = 32 << Choice(random, 12);
      const double mantissa = 1.0 + (Choice(random, rows) + Choice(random, 2) * 0.5) / rows;
      return Beside<Element>(random, mantissa * std::exp2(exponent));
    }
    case 4:  // The same beside 1, where a small error of a logarithm weighs most.
      return Beside<Element>(random, 1.0 + (Choice(random, 65) - 32) / 65536.0);
    default:  // Few digits.
      return static_cast<Element>(std::ldexp(1 + 2 * Choice(random, 2048), Choice(random, 12) - 8));
  }
}

/// The exponent that brings the power of a base to a place of a float's or a double's range.
template <typename Element>
double ExponentFor(RandomElements* random, long double logarithm) {
  using Limits = std::numeric_limits<Element>;
  constexpr double kEnd = Limits::max_exponent;
  constexpr double kNormal = Limits::min_exponent - 1;
  constexpr double kBegin = Limits::min_exponent - Limits::digits;
  switch (Choice(random, 8)) {
    case 0:  // Few digits.
      return (Choice(random, 33) - 16) / 2.0;
    case 1: {  // Beside the ends of the range, or in its subnormal part.
      const double ends[] = {kBegin, kNormal, kEnd};
      const double end = ends[Choice(random, 3)];
      return static_cast<double>(
          (end + std::ldexp(Uniform(random, -1.0, 1.0), -Choice(random, Limits::digits))) /
          logarithm);
    }
    case 2:  // Where a row of a table of powers of two ends.
      return static_cast<double>((std::floor(Uniform(random, kBegin, kEnd) * 128) + 0.5) / 128 /
                                 logarithm);
    default:
      return static_cast<double>(Uniform(random, kBegin - 1, kEnd) / logarithm);
  }
}

/// A positive base, and an exponent up to a limit whose power is within the range or just beyond.
template <typename Element, int Limit>
void FillPower(RandomElements* random, Element* x, Element* y) {
  using Limits = std::numeric_limits<Element>;
  do {
    *x = PositiveBase<Element>(random);
    const long double logarithm = std::log2(static_cast<long double>(*x));
    *y = static_cast<Element>(ExponentFor<Element>(random, logarithm));
    const long double power = *y * logarithm;
    if (std::isfinite(*y) && std::fabs(static_cast<double>(*y)) <= std::ldexp(1.0, Limit) &&
        power > Limits::min_exponent - Limits::digits - 2 && power < Limits::max_exponent + 0.01L)
      return;
  } while (true);
}

/// Two parts of any sign: both of any magnitude, of similar magnitude, on an axis or a diagonal, or
/// with few digits.
template <typename Element>
void FillComplex(RandomElements* random, Element* re, Element* im) {
  *re = AnyMagnitude<Element>(random);
  *im = AnyMagnitude<Element>(random);
  switch (Choice(random, 8)) {
    case 0:
      *im = *re;
      break;
    case 1:
      *im = Beside<Element>(random, std::max<double>(*re, 0x1p-100));
      break;
    case 2:  // Where a table of tangents or arctangents changes its row.
      *im = static_cast<Element>(*re * ((Choice(random, 513) + 0.5) / 256));
      break;
    case 3:
      *re = static_cast<Element>(Choice(random, 1 << 14));
      *im = static_cast<Element>(Choice(random, 1 << 14));
      break;
    case 4:
      (Choice(random, 2) == 0 ? *re : *im) = 0;
      break;
    case 5:
      break;
    default:
      *im = static_cast<Element>(*re * std::exp2(Uniform(random, -30.0, 30.0)));
  }
  const int signs = Choice(random, 4);
  if (signs % 2 != 0) *re = -*re;
  if (signs / 2 != 0) *im = -*im;
  if (!std::isfinite(*im)) *im = 1;
}

/// A power of e within the range of doubles or just beyond.
inline void FillExponential(RandomElements* random, double* x, double* /*y*/) {
  // From subnormal results on, from normal ones on; in groups from these upper words on.
  constexpr double kEnds[] = {0x1p-52,
                              -745.1332191019412,
                              -708.3964185322641,
                              709.782712893384,
                              std::bit_cast<double>(0xc086232b00000000U),
                              std::bit_cast<double>(0x40862e4200000000U)};
  constexpr double kLn2 = 0x1.62e42fefa39efp-1;
  switch (Choice(random, 8)) {
    case 0:
      *x = std::ldexp(Uniform(random, -1.0, 1.0), -Choice(random, 56));
      return;
    case 1:  // Where a row of the table ends, or the power of two.
    case 2: {
      const int rows = Choice(random, 2) == 0 ? 64 : 1;
      const double row = std::floor(Uniform(random, -1074.0, 1023.0) * rows) + 0.5;
      *x = std::copysign(Beside<double>(random, std::fabs(row * kLn2 / rows)), row);
      return;
    }
    case 3: {
      const double end = kEnds[Choice(random, std::size(kEnds))];
      *x = std::copysign(Beside<double>(random, std::fabs(end)), end);
      return;
    }
    case 4:  // Subnormal results.
      *x = Uniform(random, -745.2, -708.3);
      return;
    default:
      *x = Uniform(random, -745.2, 709.8);
  }
}

/// Numbers of any magnitude, and squares with their neighbours.
inline void FillRoot(RandomElements* random, double* x, double* /*y*/) {
  if (Choice(random, 2) == 0) {
    *x = AnyMagnitude<double>(random);
    return;
  }
  const double root = Uniform(random, 1.0, 2.0);
  *x = std::ldexp(Beside<double>(random, root * root), 2 * (Choice(random, 1000) - 500));
}

}  // namespace zr::test
