// Exponentials of vectors, px build. Division is what costs, so four elements share one: of the
// product of their denominators the reciprocal is taken, and each gets its own back by the three
// others.
#include <bit>
#include <limits>

#include "primitives/argument_checks.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/element_words.h"
#include "primitives/math/double_precision_scope.h"
#include "primitives/math/exponential_and_logarithm.h"
#include "primitives/rounding.h"

namespace zr::primitives::px {
namespace {

// The integer nearest to x over ln 2.
struct Multiple {
  double integer;
  int32_t asExponent;
};

Multiple NearestMultiple(double x) {
  // 2^52 with the sign of x: the last bit of the sum is worth 1.
  const double toInteger = x < 0.0 ? -0x1p52 : 0x1p52;
  const double shifted = x * 1.4426950408889634 + toInteger;
  const auto magnitude = static_cast<int32_t>(std::bit_cast<uint64_t>(shifted) & 0x7fffffff);
  return {shifted - toInteger, x < 0.0 ? -magnitude : magnitude};
}

// What differs between the precisions. A term is an element of a group: its exponential is made of
// numerator / denominator and gets a power of two by its exponent field, which does not overflow.

struct SingleTerm {
  using Element = float;
  static constexpr int32_t kFractionBits = 23;

  explicit SingleTerm(double x) {
    const Multiple multiple = NearestMultiple(x);
    const double r = x - multiple.integer * 0.6931471805599453;
    const double z = r * r;
    const double even = 12.0 * (10.0 + z);
    const double odd = (z + 60.0) * r;
    numerator = even + odd;
    denominator = even - odd;
    exponent = multiple.asExponent;
  }
  float Value(double quotient) const { return RoundToFloat(quotient); }

  static bool IsBelowNormal(uint32_t magnitude) { return magnitude < 0x00800000; }
  static bool IsInRange(uint32_t magnitude, bool isNegative) {
    return magnitude < (isNegative ? 0x42aeac50U : 0x42b17218U);
  }
  static float Alone(float x) {
    if (x >= 88.72284) return std::numeric_limits<float>::infinity();
    return RoundToFloat(ExponentialOf(x));
  }

  double numerator;
  double denominator;
  int32_t exponent;
};

struct DoubleTerm {
  using Element = double;
  static constexpr int32_t kFractionBits = 52;

  explicit DoubleTerm(double x) {
    const Multiple multiple = NearestMultiple(x);
    head = x - multiple.integer * 0.6931471803691238;
    tail = multiple.integer * 1.9082149292705877e-10;
    const double r = head - tail;
    const double z = r * r;
    const double c =
        r -
        z * ((((4.1381367970572385e-8 * z - 1.6533902205465252e-6) * z + 6.613756321437934e-5) * z -
              0.0027777777777015593) *
                 z +
             0.16666666666666602);
    numerator = r * c;
    denominator = 2.0 - c;
    exponent = multiple.asExponent;
  }
  double Value(double quotient) const { return 1.0 - (tail - (quotient + head)); }

  static bool IsBelowNormal(uint64_t /*magnitude*/) { return false; }
  static bool IsInRange(uint64_t magnitude, bool isNegative) {
    return magnitude >> 32 < (isNegative ? 0x4086232bU : 0x40862e42U);
  }
  static double Alone(double x) { return ExponentialOf(x); }

  double numerator;
  double denominator;
  int32_t exponent;
  double head;
  double tail;
};

constexpr int32_t kGroup = 4;

template <typename Term, typename Element = typename Term::Element>
void StoreGroup(const Element (&elements)[kGroup], const int32_t (&places)[kGroup], Element* d) {
  const Term terms[kGroup] = {Term(elements[0]), Term(elements[1]), Term(elements[2]),
                              Term(elements[3])};
  const double reciprocal = 1.0 / (terms[0].denominator * terms[1].denominator *
                                   terms[2].denominator * terms[3].denominator);
  for (int32_t k = 0; k < kGroup; ++k) {
    double quotient = terms[k].numerator * reciprocal;
    for (int32_t other = 0; other < kGroup; ++other)
      if (other != k) quotient *= terms[other].denominator;
    const Element value = terms[k].Value(quotient);
    const auto power = static_cast<WordOf<Element>>(terms[k].exponent) << Term::kFractionBits;
    StoreWord(d + places[k], std::bit_cast<WordOf<Element>>(value) + power);
  }
}

template <typename Term, typename Element = typename Term::Element>
WordOf<Element> WordOutOfRange(WordOf<Element> word, bool isNegative) {
  using Limits = std::numeric_limits<Element>;
  constexpr auto kQuietNaN = std::bit_cast<WordOf<Element>>(Limits::quiet_NaN());
  if ((word & kQuietNaN) == kQuietNaN) return kQuietNaN | (word & kSignBit<Element>);
  return isNegative ? 0 : std::bit_cast<WordOf<Element>>(Limits::infinity());
}

template <typename Term, typename Element = typename Term::Element>
int32_t Exponentials(const Element* a, Element* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  const DoublePrecisionScope scope;
  if (n < kGroup) {
    for (int32_t i = 0; i < n; ++i)
      Store(d, i, Term::Alone(Load(a, i)));
    return kStatusOk;
  }
  Element elements[kGroup];
  int32_t places[kGroup];
  int32_t count = 0;
  for (int32_t i = n; i-- > 0;) {
    const WordOf<Element> word = LoadWord(a + i);
    const bool isNegative = (word & kSignBit<Element>) != 0;
    const WordOf<Element> magnitude = word & ~kSignBit<Element>;
    if (Term::IsBelowNormal(magnitude)) {
      Store(d, i, Element{1});
    } else if (!Term::IsInRange(magnitude, isNegative)) {
      StoreWord(d + i, WordOutOfRange<Term>(word, isNegative));
    } else {
      elements[count] = Load(a, i);
      places[count] = i;
      if (++count < kGroup) continue;
      StoreGroup<Term>(elements, places, d);
      count = 0;
    }
  }
  while (count-- > 0)
    Store(d, places[count], Term::Alone(elements[count]));
  return kStatusOk;
}

}  // namespace

int32_t ippsExp_32f(const float* a, float* d, int32_t n) {
  return Exponentials<SingleTerm>(a, d, n);
}
int32_t ippsExp_32f_I(float* s, int32_t n) {
  return Exponentials<SingleTerm>(s, s, n);
}
int32_t ippsExp_64f(const double* a, double* d, int32_t n) {
  return Exponentials<DoubleTerm>(a, d, n);
}
int32_t ippsExp_64f_I(double* s, int32_t n) {
  return Exponentials<DoubleTerm>(s, s, n);
}

}  // namespace zr::primitives::px
