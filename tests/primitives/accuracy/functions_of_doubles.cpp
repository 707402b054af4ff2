// The functions of doubles. What they are held to is barely more than a run over 10^7 arguments
// found.
#include <bit>

#include "primitives/math/double_math.h"
#include "primitives/math/elementary_functions.h"
#include "tests/primitives/accuracy/arguments.h"
#include "tests/primitives/accuracy/calls.h"
#include "tests/primitives/accuracy/exact_functions.h"
#include "tests/primitives/accuracy/function.h"

namespace zr::test {
namespace {

// A group takes elements by their upper words: it has no subnormal results, and overflows within
// the last 2^-20 of the range.
void ExactExponentialInGroups(mpfr_t result, const mpfr_t x, const mpfr_t y) {
  constexpr auto kFirst = std::bit_cast<double>(0xc086232b00000000U);
  constexpr auto kLast = std::bit_cast<double>(0x40862e4200000000U);
  if (mpfr_cmp_d(x, kFirst) <= 0) {
    mpfr_set_zero(result, 1);
  } else if (mpfr_cmp_d(x, kLast) >= 0) {
    mpfr_set_inf(result, 1);
  } else {
    ExactExponential(result, x, y);
  }
}

using D = double;

const Function<double> kFunctions[] = {
    {"Exp_64f_groups", &OfOne<ippsExp_64f, D>, &FillExponential, nullptr, &ExactExponentialInGroups,
     Axis::kFirst, 1.2, 0.214, 0.077},
    {"Exp_64f_I", &InPlace<ippsExp_64f_I, D>, &FillExponential, nullptr, &ExactExponentialInGroups,
     Axis::kFirst, 1.2, 0.214, 0.077},
    {"Exp_64f_alone", &Alone<ippsExp_64f, D>, &FillExponential, nullptr, &ExactExponential,
     Axis::kFirst, 0.5125, 0.247, 0.0008},
    {"ExpAccurate_64f", &OfOne<ippsExpAccurate_64f, D>, &FillExponential, nullptr,
     &ExactExponential, Axis::kFirst, 0.516, 0.247, 0.0018},
    {"Pow_64f", &OfTwo<ippsPow_64f, D>, &FillPower<D, 1023>, nullptr, &ExactPower, Axis::kSecond,
     0.555, 0.235, 0.0022},
    {"Sqrt_64f", &OfOne<ippsSqrt_64f, D>, &FillRoot, nullptr, &ExactRoot, Axis::kFirst, 0.5, 0.256,
     0},
    {"Sqrt_64f_I", &InPlace<ippsSqrt_64f_I, D>, &FillRoot, nullptr, &ExactRoot, Axis::kFirst, 0.5,
     0.256, 0},
    {"PowerSpectr_64fc", &OfComplex<ippsPowerSpectr_64fc, Complex64f>, &FillComplex<D>, nullptr,
     &ExactSumOfSquares, Axis::kResult, 1.25, 0.126, 0.0565}};

}  // namespace

std::span<const Function<double>> FunctionsOfDoubles() {
  return kFunctions;
}

}  // namespace zr::test
