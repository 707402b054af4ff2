// Tones, px build. The angle of each sample is formed anew and reduced exactly: by products that
// have no rounding, and by sums that keep what they lose.
#include "primitives/filters/tone.h"

#include <bit>
#include <cmath>
#include <numbers>

#include "primitives/argument_checks.h"
#include "primitives/element_access.h"
#include "primitives/exact_operations.h"
#include "primitives/fft/sine.h"
#include "primitives/rounding.h"

namespace zr::primitives {
namespace {

/// A number that two doubles hold together, the second being what the first has lost.
struct Pair {
  double rounded;
  double lost;
};

Pair SumKeepingAll(double a, double b) {
  const double sum = a + b;
  const double partOfB = sum - a;
  return {sum, (a - (sum - partOfB)) + (b - partOfB)};
}

/// Its 21 leading bits. Times another 32 bits they still fit a double.
double LeadingBits(double value) {
  constexpr uint64_t kLeading = 0xffffffff00000000;
  return std::bit_cast<double>(std::bit_cast<uint64_t>(value) & kLeading);
}

double WithoutWholeTurns(double turns) {
  return turns - RoundTiesToEven(turns);
}

// For angles from minus to plus an eighth of a turn.
double Sine(double angle) {
  return std::copysign(px::SineWithinEighth(std::fabs(angle)), angle);
}
double Cosine(double angle) {
  return px::CosineWithinEighth(std::fabs(angle));
}

/// The cosine of all three together, of which the others are below half a turn and the last is
/// small. Where the phase is a multiple of a quarter, nothing is lost on the way.
double CosineOfSum(double turns, double rest, double phase) {
  const int32_t quarter = RoundTiesToEven(4.0 * (turns + phase));
  const double fromQuarter = turns - (0.25 * quarter - phase);
  const Pair offset = SumKeepingAll(fromQuarter, rest);
  const double angle = Times(2.0 * std::numbers::pi, offset.rounded + offset.lost);
  switch (quarter & 3) {
    case 0:
      return Cosine(angle);
    case 1:
      return -Sine(angle);
    case 2:
      return -Cosine(angle);
    default:
      return Sine(angle);
  }
}

/// The factors of frequency * place, so that each product is exact.
class Frequency {
 public:
  explicit Frequency(double frequency)
      : high_(LeadingBits(frequency)),
        middle_(LeadingBits(frequency - high_)),
        low_(frequency - high_ - middle_) {}

  [[nodiscard]] double CosineAt(double place, double phase) const {
    const Pair turns = SumKeepingAll(WithoutWholeTurns(high_ * place), middle_ * place);
    const Pair rest = SumKeepingAll(WithoutWholeTurns(turns.rounded), low_ * place);
    return CosineOfSum(rest.rounded, rest.lost + turns.lost, phase);
  }

 private:
  double high_;
  double middle_;
  double low_;
};

}  // namespace

int32_t GenerateTone(const Tone& tone, double* d, int32_t count) {
  if (const int32_t status = CheckArguments(count, 1, d)) return status;
  if (!(tone.magnitude > 0.0)) return kStatusToneMagnitude;
  if (!(tone.frequency >= 0.0 && tone.frequency < 0.5)) return kStatusToneFrequency;
  if (!(tone.phase >= 0.0 && tone.phase < 1.0)) return kStatusTonePhase;
  const Frequency frequency(tone.frequency);
  for (int32_t n = 0; n < count; ++n) {
    Store(d, n, Times(tone.magnitude, frequency.CosineAt(n + tone.start, tone.phase)));
  }
  return kStatusOk;
}

double CosineOfTurns(double turns) {
  return CosineOfSum(WithoutWholeTurns(turns), 0.0, 0.0);
}

}  // namespace zr::primitives
