// Plain loops of the functions of integers.
#include <algorithm>
#include <cmath>
#include <limits>

#include "bench/primitives/plain.h"

namespace zr::bench::plain {
namespace {

using Limits = std::numeric_limits<int32_t>;

/// Single decibels for the first powers, above them even ones.
int32_t StaircaseOf(int32_t power) {
  constexpr int32_t kFirst[] = {0, 0, 3, 5, 6, 7, 8, 9, 9, 10, 10, 10, 10, 10, 10};
  if (power < 15) return kFirst[power];
  if (power > 1778279410) return 93;
  return 2 * static_cast<int32_t>((10.0 * std::log10(power) + 0.5) / 2.0);
}

int32_t LevelOf(int32_t power, double multiplier) {
  const double level = std::log(static_cast<double>(power)) * 0.4342944819032518 * 10.0;
  return static_cast<int32_t>(std::min<double>(level * multiplier + 0.5, Limits::max()));
}

template <typename Function>
int32_t ForEachPower(Function function, const int32_t* a, int32_t* d, int32_t n) {
  int32_t status = 0;
  for (int32_t i = 0; i < n; ++i) {
    if (a[i] > 0) {
      d[i] = function(a[i]);
    } else {
      if (status == 0) status = a[i] == 0 ? 7 : 8;
      d[i] = Limits::min();
    }
  }
  return status;
}

/// The integer part of the root, from an estimate that a rounding may have put beside it.
uint64_t IntegerRoot(unsigned __int128 x) {
  auto root = static_cast<uint64_t>(std::sqrt(static_cast<double>(x)));
  while (static_cast<unsigned __int128>(root) * root > x) {
    --root;
  }
  while (static_cast<unsigned __int128>(root + 1) * (root + 1) <= x) {
    ++root;
  }
  return root;
}

/// sqrt(x) * 2^-scaleFactor, rounded to nearest, ties to even.
uint64_t ScaledRoot(uint64_t x, int32_t scaleFactor) {
  if (scaleFactor <= 0) {
    // Twice the root: its last bit rounds, and a root that is not whole is not a tie.
    const uint64_t twice = IntegerRoot(static_cast<unsigned __int128>(x) << (2 - 2 * scaleFactor));
    return (twice + 1) / 2;
  }
  const uint64_t root = IntegerRoot(x);
  const uint64_t unit = uint64_t{1} << scaleFactor;
  const uint64_t whole = root / unit;
  const uint64_t twiceRest = root % unit * 2;
  const bool isTie = twiceRest == unit && root * root == x;
  const bool isUp = isTie ? whole % 2 != 0 : twiceRest >= unit;
  return whole + (isUp ? 1 : 0);
}

}  // namespace

int32_t ippsTenLogTen_32s_Sfs(const int32_t* a, int32_t* d, int32_t n, int32_t scaleFactor) {
  if (scaleFactor >= 0) {
    return ForEachPower([=](int32_t power) { return StaircaseOf(power) >> scaleFactor; }, a, d, n);
  }
  const double multiplier = std::ldexp(1.0, -scaleFactor);
  return ForEachPower([=](int32_t power) { return LevelOf(power, multiplier); }, a, d, n);
}

int32_t ippsSqrt_16s_ISfs(int16_t* s, int32_t n, int32_t scaleFactor) {
  // Beside it a double has no room for a fraction; the root's distance from ties is beyond its
  // rounding.
  constexpr double kNoFraction = 0x1.8p52;
  const double multiplier = std::ldexp(1.0, -scaleFactor);
  int32_t status = 0;
  for (int32_t i = 0; i < n; ++i) {
    if (s[i] < 0) status = 3;
    const double root = std::sqrt(static_cast<double>(std::max<int16_t>(s[i], 0))) * multiplier;
    s[i] = static_cast<int16_t>((std::min(root, 32767.0) + kNoFraction) - kNoFraction);
  }
  return status;
}

int32_t ippsSqrt_64s_Sfs(const int64_t* a, int64_t* d, int32_t n, int32_t scaleFactor) {
  int32_t status = 0;
  for (int32_t i = 0; i < n; ++i) {
    if (a[i] < 0) status = 3;
    d[i] =
        a[i] < 0 ? 0 : static_cast<int64_t>(ScaledRoot(static_cast<uint64_t>(a[i]), scaleFactor));
  }
  return status;
}

int32_t ippsPowerSpectr_32sc_Sfs(const Complex32s* a, int32_t* d, int32_t n, int32_t scaleFactor) {
  const double multiplier = std::ldexp(1.0, -scaleFactor);
  for (int32_t i = 0; i < n; ++i) {
    const double re = a[i].re;
    const double im = a[i].im;
    d[i] = static_cast<int32_t>(std::min<double>((re * re + im * im) * multiplier, Limits::max()));
  }
  return 0;
}

}  // namespace zr::bench::plain
