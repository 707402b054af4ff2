// Levels in decibels and squared magnitudes of integers, px build.
#include <algorithm>
#include <array>
#include <limits>

#include "primitives/dispatch/px_entries.h"
#include "primitives/elementwise.h"
#include "primitives/math/double_precision_scope.h"
#include "primitives/math/exponential_and_logarithm.h"
#include "primitives/math/short_logarithm.h"
#include "primitives/scaling.h"

namespace zr::primitives::px {
namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();

/// A step of the staircase of levels: above this element, up to that of the next step, stands this
/// level.
struct Step {
  int32_t above;
  int32_t level;
};

constexpr int32_t kFirstEvenLevel = 12;
constexpr int32_t kLastEvenLevel = 92;

/// The integer part of 10^((level - 0.5) / 10). Even levels take five steps to a decade; the
/// integer part of a number divided by a power of ten is that of its integer part.
constexpr int32_t EndBelow(int32_t level) {
  // 10^9.15, 10^9.35 and so on, without their fractions.
  constexpr int64_t kHighestDecade[] = {1412537544, 2238721138, 3548133892, 5623413251, 8912509381};
  const int32_t step = (level - kFirstEvenLevel) / 2;
  int64_t end = kHighestDecade[step % 5];
  for (int32_t decade = 1 + step / 5; decade < 9; ++decade) {
    end /= 10;
  }
  return static_cast<int32_t>(end);
}

constexpr auto kStaircase = [] {
  constexpr Step kFirstSteps[] = {{0, 0}, {1, 3}, {2, 5}, {3, 6}, {4, 7}, {5, 8}, {6, 9}, {8, 10}};
  constexpr std::size_t kEvenCount = (kLastEvenLevel - kFirstEvenLevel) / 2 + 1;
  std::array<Step, std::size(kFirstSteps) + kEvenCount + 1> steps{};
  auto next = std::copy(std::begin(kFirstSteps), std::end(kFirstSteps), steps.begin());
  for (int32_t level = kFirstEvenLevel; level <= kLastEvenLevel; level += 2) {
    *next++ = {EndBelow(level), level};
  }
  *next = {1778279410, 93};  // 10^9.25
  return steps;
}();

/// For x > 0.
int32_t LevelOf(int32_t x) {
  const auto isBelow = [](const Step& step, int32_t element) { return step.above < element; };
  return std::lower_bound(kStaircase.begin(), kStaircase.end(), x, isBelow)[-1].level;
}

template <typename Level>
int32_t ForEachLevel(Level level, const int32_t* a, int32_t* d, int32_t n) {
  int32_t warning = kStatusOk;
  const auto operation = [&warning, level](int32_t x) {
    if (x > 0) return level(x);
    if (warning == kStatusOk) warning = x == 0 ? kStatusZeroLogarithm : kStatusNegativeLogarithm;
    return kLowest;
  };
  const int32_t status = ForEachElement(operation, d, n, a);
  return status != kStatusOk ? status : warning;
}

/// Cuts to an integer what is not below the range.
int32_t CutSaturated(double value) {
  return value > kHighest ? kHighest : static_cast<int32_t>(value);
}

}  // namespace

int32_t ippsTenLogTen_32s_Sfs(const int32_t* a, int32_t* d, int32_t n, int32_t scaleFactor) {
  if (scaleFactor >= 0) {
    const int32_t shift = std::min(scaleFactor, 31);
    return ForEachLevel([shift](int32_t x) { return LevelOf(x) >> shift; }, a, d, n);
  }
  const DoublePrecisionScope scope;
  const double multiplier = DoublePowerOfTwo(scaleFactor);
  const auto levelFrom = [multiplier](double logarithm) {
    return logarithm * 0.4342944819032518 * 10.0 * multiplier + 0.5;
  };
  const auto level = [levelFrom](int32_t x) {
    // What the short logarithm misses seldom tells.
    const double estimate = levelFrom(ShortLogarithm(x));
    const int32_t least = CutSaturated(estimate * (1.0 - 0x1p-48));
    if (least == CutSaturated(estimate * (1.0 + 0x1p-48))) return least;
    return CutSaturated(levelFrom(LogarithmOf(x)));
  };
  return ForEachLevel(level, a, d, n);
}

int32_t ippsPowerSpectr_32sc_Sfs(const Complex32s* a, int32_t* d, int32_t n, int32_t scaleFactor) {
  const double multiplier = DoublePowerOfTwo(scaleFactor);
  const auto power = [multiplier](Complex32s x) {
    const double re = x.re;
    const double im = x.im;
    return CutSaturated((re * re + im * im) * multiplier);
  };
  return ForEachElement(power, d, n, a);
}

}  // namespace zr::primitives::px
