// The functions of floats. What they are held to is barely more than a run over all arguments
// found: a result right to the last bit is at most half a unit off.
#include <bit>
#include <cmath>
#include <limits>

#include "primitives/math/elementary_functions.h"
#include "primitives/math/single_math.h"
#include "tests/primitives/accuracy/arguments.h"
#include "tests/primitives/accuracy/calls.h"
#include "tests/primitives/accuracy/exact_functions.h"
#include "tests/primitives/accuracy/function.h"

namespace zr::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Both forms overflow at the last float whose power a float would just hold.
constexpr double kOverflow = 88.72283935546875;

double PowerOfE(double x, double /*y*/) {
  return x >= kOverflow ? kInfinity : std::exp(x);
}

// A group has no subnormal results.
double PowerOfEInGroups(double x, double y) {
  return x <= -87.3365478515625 ? 0.0 : PowerOfE(x, y);
}

double Root(double x, double /*y*/) {
  return x < 0.0 ? kNaN : std::sqrt(x);
}

// Squares of floats are exact; their sum is rounded far beyond a double's last place.
double Power(double re, double im) {
  return static_cast<double>(static_cast<long double>(re) * re + static_cast<long double>(im) * im);
}

// The exponent multiplies the error of the fast logarithm, which is relative in the two rows that
// meet at 1; the polynomial adds its own.
double AllowedOfFastPower(double x, double y) {
  const bool isBesideOne = x >= 1.0 - 0x1p-9 && x < 1.0 + 0x1p-8;
  const double ofFit = isBesideOne ? 4.7e-10 * std::fabs(std::log2(x)) : 6.5e-13;
  return 0.5 + 0x1p24 * (7.0e-9 + 0.6931 * std::fabs(y) * (ofFit + 1.4e-15));
}

using F = float;

const Function<float> kFunctions[] = {
    {"Sin_32f", &OfOne<ippsSin_32f, F>, nullptr, [](double x, double) { return std::sin(x); },
     &ExactSine, Axis::kFirst, 0.802, 0.1407, 0.0104},
    {"Cos_32f", &OfOne<ippsCos_32f, F>, nullptr, [](double x, double) { return std::cos(x); },
     &ExactCosine, Axis::kFirst, 0.802, 0.1437, 0.0188},
    {"Tan_32f", &OfOne<ippsTan_32f, F>, nullptr, [](double x, double) { return std::tan(x); },
     &ExactTangent, Axis::kFirst, 0.937, 0.1435, 0.0149},
    {"Log10_32f", &OfOne<ippsLog10_32f, F>, nullptr, [](double x, double) { return std::log10(x); },
     &ExactDecimalLogarithm, Axis::kFirst, 0.500001, 0.253, 1e-7},
    {"Ln_32f", &OfOne<ippsLn_32f, F>, nullptr,
     [](double x, double) { return std::signbit(x) ? kNaN : std::log(x); }, &ExactLogarithm,
     Axis::kFirst, 0.500001, 0.253, 1e-7},
    {"Exp_32f_groups", &OfOne<ippsExp_32f, F>, nullptr, &PowerOfEInGroups, &ExactExponential,
     Axis::kFirst, 0.572, 0.0441, 0.00046},
    {"Exp_32f_I", &InPlace<ippsExp_32f_I, F>, nullptr, &PowerOfEInGroups, &ExactExponential,
     Axis::kFirst, 0.572, 0.0441, 0.00046},
    {"Exp_32f_alone", &Alone<ippsExp_32f, F>, nullptr, &PowerOfE, &ExactExponential, Axis::kFirst,
     0.500001, 0.0445, 1e-7},
    {"Sqrt_32f", &OfOne<ippsSqrt_32f, F>, nullptr, &Root, &ExactRoot, Axis::kFirst, 0.5, 0.253, 0},
    {"Sqrt_32f_I", &InPlace<ippsSqrt_32f_I, F>, nullptr, &Root, &ExactRoot, Axis::kFirst, 0.5,
     0.253, 0},
    {"Pow_32f_to_16", &OfTwo<ippsPow_32f, F>, &FillPower<F, 4>,
     [](double x, double y) { return std::pow(x, y); }, &ExactPower, Axis::kSecond, 0.612, 0.238,
     0.0475, &AllowedOfFastPower},
    {"Pow_32f", &OfTwo<ippsPow_32f, F>, &FillPower<F, 127>,
     [](double x, double y) { return std::pow(x, y); }, &ExactPower, Axis::kSecond, 3.35, 0.249,
     0.0665, &AllowedOfFastPower},
    {"PowAccurate_32f", &OfTwo<ippsPowAccurate_32f, F>, &FillPower<F, 127>,
     [](double x, double y) { return std::pow(x, y); }, &ExactPower, Axis::kSecond, 0.500001, 0.236,
     1e-7},
    {"Magn_32fc", &OfComplex<ippsMagn_32fc, Complex32f>, &FillComplex<F>,
     [](double re, double im) { return std::sqrt(Power(re, im)); }, &ExactMagnitude, Axis::kResult,
     0.500001, 0.157, 1e-7},
    {"Phase_32fc", &OfComplex<ippsPhase_32fc, Complex32f>, &FillComplex<F>,
     [](double re, double im) { return std::atan2(im, re); }, &ExactPhase, Axis::kResult, 0.500001,
     0.264, 1e-7},
    {"PowerSpectr_32fc", &OfComplex<ippsPowerSpectr_32fc, Complex32f>, &FillComplex<F>, &Power,
     &ExactSumOfSquares, Axis::kResult, 0.500001, 0.153, 1.5e-5}};

}  // namespace

std::span<const Function<float>> FunctionsOfFloats() {
  return kFunctions;
}

}  // namespace zr::test
