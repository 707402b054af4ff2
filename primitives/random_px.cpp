// Uniform random numbers, px build: a subtract-with-borrow sequence that the seed starts, added to
// a linear congruential one that starts alike in every call.
#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/exact_operations.h"

namespace zr::primitives::px {
namespace {

constexpr uint32_t LinearStep(uint32_t value) {
  return value * 69069 + 1013904243;
}

class UniformIntegers {
 public:
  explicit UniformIntegers(uint32_t seed) : x1_(seed) {}

  int32_t Next() {
    linear_ = LinearStep(linear_);
    uint32_t difference = x2_ - x3_ - borrow_;
    // Before the prime's 18 are taken off.
    borrow_ = difference >> 31;
    difference -= 18 * borrow_;
    x3_ = x2_;
    x2_ = x1_;
    x1_ = difference;
    return static_cast<int32_t>(difference + linear_);
  }

  /// What the caller keeps for the next call.
  [[nodiscard]] uint32_t Seed() const { return x1_; }

 private:
  uint32_t x1_;
  uint32_t x2_ = LinearStep(x1_);
  uint32_t x3_ = LinearStep(x2_);
  uint32_t borrow_ = 1;
  uint32_t linear_ = 1131199209;
};

template <typename Real>
Real RoundTo(double value) {
  if constexpr (sizeof(Real) == sizeof(double)) return value;
  return RoundToFloat(value);
}

template <typename Real>
int32_t FillUniform(Real* d, int32_t n, double low, double high, uint32_t* seed) {
  if (const int32_t status = CheckArguments(n, 1, d, seed)) return status;
  // 2^-32 to fourteen digits: which digits, shows in the last bits of a double.
  constexpr double kPerStep = 2.3283064365387e-10;
  const double scale = Times(Minus(high, low), kPerStep);
  const double middle = Times(Plus(low, high), 0.5);
  UniformIntegers integers(Load(seed, 0));
  for (int32_t i = 0; i < n; ++i) {
    // Between the bounds, no product or sum leaves the range of a double on the way to its place.
    Store(d, i, RoundTo<Real>(integers.Next() * scale + middle));
  }
  Store(seed, 0, integers.Seed());
  return kStatusOk;
}

}  // namespace

int32_t ippsRandUniform_Direct_32f(float* d, int32_t n, float low, float high, uint32_t* seed) {
  return FillUniform(d, n, low, high, seed);
}
int32_t ippsRandUniform_Direct_64f(double* d, int32_t n, double low, double high, uint32_t* seed) {
  return FillUniform(d, n, low, high, seed);
}

}  // namespace zr::primitives::px
