// Sines, cosines and tangents of floats, px build: a reduction to half or quarter turns in two
// parts and a short polynomial. Large, special and, for tangents, zero arguments take a way of
// their own.
#include <bit>

#include "primitives/dispatch/px_entries.h"
#include "primitives/element_words.h"
#include "primitives/math/double_precision_scope.h"
#include "primitives/math/exceptional_elements.h"
#include "primitives/math/large_angles.h"
#include "primitives/rounding.h"
#include "primitives/zero_divisors.h"

namespace zr::primitives::px {
namespace {

// Magnitudes as words, the first ones beyond the short ways.
constexpr uint32_t kBeyondShortSine = 0x49742401;     // 1000000
constexpr uint32_t kBeyondShortCosine = 0x48f42401;   // 500000
constexpr uint32_t kBeyondShortTangent = 0x47fa0001;  // 128000
constexpr uint32_t kInfinity = 0x7f800000;

uint32_t MagnitudeWord(float x) {
  return std::bit_cast<uint32_t>(x) & ~kSignBit<float>;
}

struct Multiple {
  double count;
  bool isOdd;
};

// The nearest integer. In single precision the last bit of 1.5 * 2^23 and a little is worth 1.
Multiple RoundToMultiple(double x) {
  constexpr double kToInteger = 12582912.0;
  const float shifted = RoundToFloat(x + kToInteger);
  return {shifted - kToInteger, (std::bit_cast<uint32_t>(shifted) & 1) != 0};
}

constexpr double kOneOverPi = 0.3183098861837907;

// The sine of x, which lies multiple.count half turns and a remainder above 0.
float ShortSine(double x, Multiple multiple) {
  // Pi in two parts: the product of the first one and a count is exact.
  constexpr double kPiHead = 3.1415926535846666;
  constexpr double kPiTail = 5.126688303189038e-12;
  const double r = (x - kPiHead * multiple.count) - kPiTail * multiple.count;
  const double z = r * r;
  const double series =
      z * (((2.608e-6 * z - 0.000198107) * z + 0.008333075) * z - 0.166666589) + 1.000000002;
  const float sine = RoundToFloat(r * series);
  return multiple.isOdd ? -sine : sine;
}

float ShortTangent(double x) {
  constexpr double kTwoOverPi = 0.6366197723675814;
  constexpr double kHalfPiHead = 1.5707963267923333;
  constexpr double kHalfPiTail = 2.563344151594519e-12;
  const Multiple multiple = RoundToMultiple(x * kTwoOverPi);
  const double r = x - kHalfPiHead * multiple.count - kHalfPiTail * multiple.count;
  const double z = r * r;
  const double a = r + r * z * -0.0958017723;
  const double b = z * (0.00971685835 * z - 0.429135777) + 1.0;
  return RoundToFloat(multiple.isOdd ? -b / a : a / b);
}

float LongWay(float (*function)(float), float x, ExceptionalElements* exceptional) {
  if (MagnitudeWord(x) == kInfinity) {
    exceptional->Report(kStatusMathDomain);
    return kZeroOverZero<float>;
  }
  const DoublePrecisionScope scope;
  return function(x);
}

}  // namespace

int32_t ippsSin_32f(const float* a, float* d, int32_t n) {
  const auto sine = [](ExceptionalElements* exceptional, float x) {
    if (MagnitudeWord(x) >= kBeyondShortSine) return LongWay(&SineOfLargeAngle, x, exceptional);
    return ShortSine(x, RoundToMultiple(x * kOneOverPi));
  };
  return ForEachElementReporting(sine, d, n, a);
}

int32_t ippsCos_32f(const float* a, float* d, int32_t n) {
  constexpr double kHalfPi = 1.5707963267948966;
  const auto cosine = [](ExceptionalElements* exceptional, float x) {
    if (MagnitudeWord(x) >= kBeyondShortCosine) return LongWay(&CosineOfLargeAngle, x, exceptional);
    // The sine of a quarter turn more.
    Multiple multiple = RoundToMultiple((x + kHalfPi) * kOneOverPi);
    multiple.count -= 0.5;
    return ShortSine(x, multiple);
  };
  return ForEachElementReporting(cosine, d, n, a);
}

int32_t ippsTan_32f(const float* a, float* d, int32_t n) {
  const auto tangent = [](ExceptionalElements* exceptional, float x) {
    const uint32_t magnitude = MagnitudeWord(x);
    if (magnitude == 0 || magnitude >= kBeyondShortTangent)
      return LongWay(&TangentOfLargeAngle, x, exceptional);
    return ShortTangent(x);
  };
  return ForEachElementReporting(tangent, d, n, a);
}

}  // namespace zr::primitives::px
