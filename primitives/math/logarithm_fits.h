// Cubics that fit the base 2 logarithm of a mantissa m, one for each 1/256 of [1, 2), computed
// while compiling. Row j serves m in [1 + j / 256, 1 + (j + 1) / 256).
//
// A row's error swings between equal extremes, as that of the best cubic does. Five points of
// alternating sign settle the four coefficients and the size of the error; they stand where a
// Chebyshev polynomial has its extremes, as over so short an interval the logarithm and a cubic
// differ by little but a multiple of one. The first row vanishes at 1 and the last one less 1
// vanishes at 2, and their relative errors swing: so the logarithm of a number close to 1 keeps its
// digits.
//
// The coefficients are rounded from the highest down, and each one makes good what the rounding of
// those above it has changed.
#pragma once

#include <cstdint>

namespace zr::primitives {

/// m -> constant + linear * m + quadratic * m^2 + cubic * m^3.
struct LogarithmFit {
  double constant;
  double linear;
  double quadratic;
  double cubic;
};

inline constexpr int32_t kLogarithmFits = 256;

struct LogarithmFits {
  LogarithmFit rows[kLogarithmFits];
};

namespace logarithm_fitting {

inline constexpr long double kLog2OfE = 1.44269504088896340735992468100189214L;

/// d -> at[0] + at[1] * d + at[2] * d^2 + at[3] * d^3.
struct Cubic {
  long double at[4];
};

/// The fit that is `cubic` in terms of m - origin. roundTo is a power of two, the last bit of the
/// highest coefficient: with a coarse one the value at the origin is exact.
constexpr LogarithmFit InTermsOfMantissa(const Cubic& cubic, long double origin,
                                         long double roundTo) {
  const auto highest = static_cast<double>(
      static_cast<long double>(static_cast<int64_t>(cubic.at[3] / roundTo + 0.5L)) * roundTo);
  const long double t3 = highest;
  const auto quadratic = static_cast<double>(cubic.at[2] - 3 * t3 * origin);
  const long double t2 = quadratic;
  const auto linear = static_cast<double>(cubic.at[1] - (2 * t2 + 3 * t3 * origin) * origin);
  const long double t1 = linear;
  const auto constant =
      static_cast<double>(cubic.at[0] - (t1 + (t2 + t3 * origin) * origin) * origin);
  return {constant, linear, quadratic, highest};
}

/// Coefficients of the series of log2(1 + scale * t) in terms of t.
inline constexpr int32_t kTerms = 12;
struct Series {
  long double at[kTerms];
};
constexpr Series LogarithmSeries(long double scale) {
  Series series = {};
  long double power = kLog2OfE;
  for (int32_t k = 1; k < kTerms; ++k) {
    power *= k == 1 ? scale : -scale;
    series.at[k] = power / static_cast<long double>(k);
  }
  return series;
}

/// A row in the middle: the absolute error swings. log2(center) is for the caller to add.
constexpr Cubic FitAround(long double center, long double halfWidth) {
  // At t = 0, +-sqrt(1/2) and +-1 the error is +E, -E and +E. Even and odd terms part.
  const Series series = LogarithmSeries(halfWidth / center);
  long double evenAtHalf = 0;
  long double evenAtOne = 0;
  long double oddAtHalf = 0;  // Over t.
  long double oddAtOne = 0;
  for (int32_t k = kTerms; k-- > 1;) {
    if (k % 2 == 0) {
      evenAtOne += series.at[k];
      evenAtHalf += series.at[k] / static_cast<long double>(1 << (k / 2));
    } else {
      oddAtOne += series.at[k];
      oddAtHalf += series.at[k] / static_cast<long double>(1 << (k / 2));
    }
  }
  const long double error = (evenAtOne / 2 - evenAtHalf) / 2;
  const long double third = 2 * (oddAtOne - oddAtHalf);
  return {{-error, (oddAtOne - third) / halfWidth, evenAtOne / (halfWidth * halfWidth),
           third / (halfWidth * halfWidth * halfWidth)}};
}

/// A row at an end: a cubic in terms of d = m - origin that fits log2(m / origin) for d between 0
/// and width, 0 for d = 0, with a relative error that swings.
constexpr Cubic FitBeside(long double origin, long double width) {
  // The quotient by d is fitted by a quadratic at the extremes of a Chebyshev polynomial of third
  // degree, x = 0, 1/4, 3/4 and 1 for d = x * width. As it is a quadratic, its third difference
  // over them is 0.
  constexpr int32_t kPoints = 4;
  constexpr long double kAt[kPoints] = {0.0L, 0.25L, 0.75L, 1.0L};
  constexpr long double kDifference[kPoints] = {-1.0L, 2.0L, -2.0L, 1.0L};
  const Series series = LogarithmSeries(width / origin);
  long double quotient[kPoints] = {};
  long double difference = 0;
  long double differenceOfError = 0;
  for (int32_t i = 0; i < kPoints; ++i) {
    for (int32_t k = kTerms; k-- > 1;)
      quotient[i] = quotient[i] * kAt[i] + series.at[k];
    difference += kDifference[i] * quotient[i];
    differenceOfError += kDifference[i] * (i % 2 == 0 ? quotient[i] : -quotient[i]);
  }
  const long double error = difference / differenceOfError;
  for (int32_t i = 0; i < kPoints; ++i)
    quotient[i] *= i % 2 == 0 ? 1 - error : 1 + error;
  // Newton's interpolation through the points 0, 1/4 and 1.
  const long double slope = (quotient[1] - quotient[0]) * 4;
  const long double curvature = (quotient[3] - quotient[0]) - slope;
  const long double square = curvature / 0.75L;
  return {{0.0L, quotient[0] / width, (slope - square / 4) / (width * width),
           square / (width * width * width)}};
}

inline constexpr long double kWidth = 1.0L / kLogarithmFits;

constexpr LogarithmFits FitLogarithms() {
  constexpr long double kCoarse = 0x1p-51L;
  constexpr long double kCoarseAtTwo = 0x1p-55L;
  constexpr long double kFine = 0x1p-60L;
  LogarithmFits fits = {};
  fits.rows[0] = InTermsOfMantissa(FitBeside(1.0L, kWidth), 1.0L, kCoarse);
  long double logarithm = 0;  // Of the row's lower end.
  for (int32_t j = 0; j < kLogarithmFits - 1; ++j) {
    const long double center = 1 + (static_cast<long double>(j) + 0.5L) * kWidth;
    // From the center to an end of the row.
    const Series series = LogarithmSeries(kWidth / 2 / center);
    long double up = 0;
    long double down = 0;
    for (int32_t k = kTerms; k-- > 1;) {
      up += series.at[k];
      down += k % 2 == 0 ? series.at[k] : -series.at[k];
    }
    logarithm -= down;
    if (j > 0) {
      Cubic cubic = FitAround(center, kWidth / 2);
      cubic.at[0] += logarithm;
      fits.rows[j] = InTermsOfMantissa(cubic, center, kFine);
    }
    logarithm += up;
  }
  Cubic last = FitBeside(2.0L, -kWidth);
  last.at[0] = 1.0L;
  fits.rows[kLogarithmFits - 1] = InTermsOfMantissa(last, 2.0L, kCoarseAtTwo);
  return fits;
}

}  // namespace logarithm_fitting

using logarithm_fitting::FitLogarithms;

}  // namespace zr::primitives
