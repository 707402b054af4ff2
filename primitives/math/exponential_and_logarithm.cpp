// Both go by the base 2 logarithm at double length, as powers do.
#include "primitives/math/exponential_and_logarithm.h"

#include <limits>

#include "primitives/math/base_two_logarithm.h"
#include "primitives/math/double_length.h"
#include "primitives/math/power_from_logarithm.h"

namespace zr::primitives {
namespace {

constexpr auto kLnOfTwoInFull = LogarithmOfRatio<6>(2, 1);
constexpr DoubleLength kLnOfTwo = SplitAtDouble(kLnOfTwoInFull);
constexpr DoubleLength kLog2OfE = SplitAtDouble(Reciprocal(kLnOfTwoInFull));

}  // namespace

double ExponentialOf(double x) {
  const bool isNumber = x == x;
  return isNumber ? PowerFromLogarithm(kLog2OfE, x, 1.0) : x + x;
}

double LogarithmOf(double x) {
  if (!(x < std::numeric_limits<double>::infinity())) return x;
  const DoubleLength logarithm = BaseTwoLogarithm(x);
  const double product = logarithm.head * kLnOfTwo.head;
  const double error = ErrorOfProduct(logarithm.head, kLnOfTwo.head, product);
  return product + (error + (logarithm.head * kLnOfTwo.tail + logarithm.tail * kLnOfTwo.head));
}

}  // namespace zr::primitives
