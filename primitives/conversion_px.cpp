// Conversions between element types, and complex vectors joined, taken apart and conjugated, px
// build.
#include <cstring>
#include <limits>

#include "primitives/complex_words.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/elementwise.h"
#include "primitives/moved_elements.h"
#include "primitives/rounding.h"
#include "primitives/scaling.h"

namespace zr::primitives::px {
namespace {

template <typename Integer>
int32_t ConvertIntegerToFloat(const Integer* a, float* d, int32_t n) {
  return ForEachElement([](Integer x) { return RoundToFloat(static_cast<float>(x)); }, d, n, a);
}

template <typename Integer, bool kToNearest>
Integer Saturated(double value) {
  constexpr auto kLowest = std::numeric_limits<Integer>::min();
  constexpr auto kHighest = std::numeric_limits<Integer>::max();
  if (value >= kHighest) return kHighest;
  if (!(value > kLowest)) return kLowest;  // A NaN too.
  return static_cast<Integer>(kToNearest ? RoundTiesToEven(value) : static_cast<int32_t>(value));
}

template <typename Integer>
int32_t ConvertFloatToInteger(const float* a, Integer* d, int32_t n, int32_t roundMode,
                              int32_t scaleFactor) {
  const double multiplier = DoublePowerOfTwo(scaleFactor);
  if (roundMode == kRoundToNearest) {
    const auto nearest = [multiplier](double x) {
      return Saturated<Integer, true>(x * multiplier);
    };
    return ForEachElement(nearest, d, n, a);
  }
  const auto truncated = [multiplier](double x) {
    return Saturated<Integer, false>(x * multiplier);
  };
  return ForEachElement(truncated, d, n, a);
}

template <typename Real, typename Complex>
int32_t JoinParts(const Real* re, const Real* im, Complex* d, int32_t n) {
  using Word = WordOf<Real>;
  using Pair = WordPair<Word>;
  if (const int32_t status = CheckArguments(n, 1, d)) return status;
  if (re == nullptr) {
    return ForEachElement([](Word y) { return Pair{0, y}; }, AsWords(d), n, AsWords(im));
  }
  if (im == nullptr) {
    return ForEachElement([](Word x) { return Pair{x, 0}; }, AsWords(d), n, AsWords(re));
  }
  return ForEachElement(
      [](Word x, Word y) {
        return Pair{x, y};
      },
      AsWords(d), n, AsWords(re), AsWords(im));
}

/// One part of each element, the first being the real one.
template <typename Complex, typename Real>
int32_t Parts(const Complex* a, int32_t part, Real* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  const auto* const parts = reinterpret_cast<const Real*>(a) + part;
  for (int32_t i = 0; i < n; ++i) {
    StoreMoved(d + i, LoadMoved(parts + 2 * static_cast<std::ptrdiff_t>(i)));
  }
  return kStatusOk;
}

template <typename Word, typename Complex>
int32_t Conjugate(const Complex* a, Complex* d, int32_t n) {
  // Unknown to the compiler, so that both parts take the same operation, and several at once.
  WordPair<Word> signs = {0, Word{1} << (8 * sizeof(Word) - 1)};
  asm("" : "+m"(signs));
  const auto conjugate = [signs](WordPair<Word> x) {
    return WordPair<Word>{x.re ^ signs.re, x.im ^ signs.im};
  };
  return ForEachElement(conjugate, AsWords(d), n, AsWords(a));
}

}  // namespace

int32_t ippsConvert_16s32f(const int16_t* a, float* d, int32_t n) {
  return ConvertIntegerToFloat(a, d, n);
}
int32_t ippsConvert_32s32f(const int32_t* a, float* d, int32_t n) {
  return ConvertIntegerToFloat(a, d, n);
}

int32_t ippsConvert_64f32f(const double* a, float* d, int32_t n) {
  constexpr float kHighest = std::numeric_limits<float>::max();
  const auto limited = [](double x) {
    const auto value = static_cast<float>(x);
    const float aboveLowest = value > -kHighest ? value : -kHighest;  // For a NaN too.
    return RoundToFloat(aboveLowest < kHighest ? aboveLowest : kHighest);
  };
  return ForEachElement(limited, d, n, a);
}

int32_t ippsConvert_16s32f_Sfs(const int16_t* a, float* d, int32_t n, int32_t scaleFactor) {
  const float multiplier = FloatPowerOfTwo(scaleFactor);
  const auto scaled = [multiplier](int16_t x) {
    return RoundToFloat(static_cast<float>(x) * multiplier);
  };
  return ForEachElement(scaled, d, n, a);
}
int32_t ippsConvert_16s64f_Sfs(const int16_t* a, double* d, int32_t n, int32_t scaleFactor) {
  const double multiplier = DoublePowerOfTwoForIntegers(scaleFactor);
  return ForEachElement([multiplier](int16_t x) { return x * multiplier; }, d, n, a);
}

int32_t ippsConvert_32f16s_Sfs(const float* a, int16_t* d, int32_t n, int32_t roundMode,
                               int32_t scaleFactor) {
  return ConvertFloatToInteger(a, d, n, roundMode, scaleFactor);
}
int32_t ippsConvert_32f32s_Sfs(const float* a, int32_t* d, int32_t n, int32_t roundMode,
                               int32_t scaleFactor) {
  return ConvertFloatToInteger(a, d, n, roundMode, scaleFactor);
}

int32_t ippsRealToCplx_32f(const float* re, const float* im, Complex32f* d, int32_t n) {
  return JoinParts(re, im, d, n);
}
int32_t ippsRealToCplx_64f(const double* re, const double* im, Complex64f* d, int32_t n) {
  return JoinParts(re, im, d, n);
}

int32_t ippsReal_32fc(const Complex32f* a, float* d, int32_t n) {
  return Parts(a, 0, d, n);
}
int32_t ippsReal_64fc(const Complex64f* a, double* d, int32_t n) {
  return Parts(a, 0, d, n);
}
int32_t ippsImag_32fc(const Complex32f* a, float* d, int32_t n) {
  return Parts(a, 1, d, n);
}
int32_t ippsImag_64fc(const Complex64f* a, double* d, int32_t n) {
  return Parts(a, 1, d, n);
}

int32_t ippsConj_32fc(const Complex32f* a, Complex32f* d, int32_t n) {
  return Conjugate<uint32_t>(a, d, n);
}
int32_t ippsConj_64fc(const Complex64f* a, Complex64f* d, int32_t n) {
  return Conjugate<uint64_t>(a, d, n);
}
int32_t ippsConj_64fc_I(Complex64f* s, int32_t n) {
  return Conjugate<uint64_t>(s, s, n);
}

int32_t ippsConjFlip_64fc(const Complex64f* a, Complex64f* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  for (int32_t i = 0; i < n; ++i) {
    // Moved whole, and the imaginary part once more over it: two words would have to be joined.
    const auto* const from = reinterpret_cast<const uint64_t*>(a + i);
    auto* const to = reinterpret_cast<uint64_t*>(d + (n - 1 - i));
    std::memcpy(to, from, sizeof(Complex64f));
    Store(to, 1, Load(from, 1) ^ kSignBit<double>);
  }
  return kStatusOk;
}

}  // namespace zr::primitives::px
