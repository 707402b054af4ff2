// The prototype of a resampler's filters, px build.
#include "primitives/filters/sinc_prototype.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "primitives/exact_operations.h"
#include "primitives/math/sine_and_cosine.h"

namespace zr::primitives {
namespace {

/// The modified Bessel function of order 0, for x of 0 or more, by its power series. For large x it
/// is infinite, in every build alike.
double BesselI0(double x) {
  constexpr double kNegligible = 1e-21;
  const double half = x / 2.0;
  double term = 1.0;
  double sum = 1.0;
  double k = 0.0;
  do {
    k += 1.0;
    const double ratio = half / k;
    term = Times(term, ratio * ratio);
    sum = Plus(sum, term);
  } while (term > kNegligible * sum);
  return sum;
}

void ApplyKaiserWindow(double alpha, double* table, int32_t count) {
  const double last = count - 1.0;
  const double peak = BesselI0(alpha);
  for (int32_t i = 1; i < count; ++i) {
    const double place = i / last;
    const double weight = Over(BesselI0(alpha * std::sqrt(1.0 - place * place)), peak);
    table[i] = Times(table[i], weight);
  }
}

void NormaliseSum(int32_t step, double* table, int32_t count) {
  double sum = 0.0;
  for (int64_t i = step; i < count; i += step) {
    sum += table[i];
  }
  const double gain = std::fabs(Over(1.0, table[0] + 2.0 * sum));
  for (int32_t i = 0; i < count; ++i) {
    table[i] = Times(table[i], gain);
  }
}

}  // namespace

int64_t PrototypeLength(const SincPrototype& prototype) {
  // Without it the end might fall short of its place by rounding.
  constexpr double kMargin = 1e-5;
  const double in = prototype.inRate;
  const double out = prototype.outRate;
  const auto length = static_cast<double>(prototype.length);
  if (prototype.outRate < prototype.inRate) {
    return static_cast<int64_t>((length * out / in + kMargin) * 0.5 * in) + 1;
  }
  return static_cast<int64_t>((length + kMargin) * 0.5 * out) + 1;
}

void FillPrototype(const SincPrototype& prototype, double* table, int32_t count) {
  // The lower of the two rates has its half at i = largest.
  const int32_t larger = std::max(prototype.inRate, prototype.outRate);
  const double rolloff = prototype.rolloff;
  table[0] = rolloff;
  for (int32_t i = 1; i < count; ++i) {
    const double angle = i * rolloff * std::numbers::pi / larger;
    table[i] = Over(SineAndCosineOf(angle).sine, i * std::numbers::pi / larger);
  }
  ApplyKaiserWindow(prototype.alpha, table, count);
  NormaliseSum(larger, table, count);
}

}  // namespace zr::primitives
