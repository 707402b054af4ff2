// Conversions at the scale factors and values where rounding and saturation change, and complex
// vectors joined and taken apart bit by bit.
#include "primitives/conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "tests/primitives/bits.h"

using zr::test::Bits;
using zr::test::kInfinity;
using zr::test::kNaN;

namespace {

constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
constexpr int32_t kMost = std::numeric_limits<int32_t>::max();

TEST(Conversion, ShortIntegersScaleExactlyAtEveryFactor) {
  const std::vector<int16_t> source = {-32768, -3, 0, 1, 2, 32767, 5};
  const auto n = static_cast<int32_t>(source.size());
  std::vector<float> floats(source.size());
  std::vector<double> doubles(source.size());
  for (const int32_t scaleFactor : {kLeast, -2000, -1009, -1008, -113, -112, -15, 0, 1, 15, 126,
                                    127, 1000, 1022, 1023, 2000, kMost}) {
    EXPECT_EQ(ippsConvert_16s32f_Sfs(source.data(), floats.data(), n, scaleFactor), 0);
    EXPECT_EQ(ippsConvert_16s64f_Sfs(source.data(), doubles.data(), n, scaleFactor), 0);
    for (std::size_t i = 0; i < source.size(); ++i) {
      const int32_t limited = std::min(126, std::max(-112, scaleFactor));
      const int32_t limitedOfDoubles = std::min(1022, std::max(-1008, scaleFactor));
      const auto single = static_cast<float>(std::ldexp(source[i], -limited));
      EXPECT_EQ(Bits(floats[i]), Bits(single)) << source[i] << " at " << scaleFactor;
      EXPECT_EQ(doubles[i], std::ldexp(source[i], -limitedOfDoubles))
          << source[i] << " at " << scaleFactor;
    }
  }
  EXPECT_EQ(ippsConvert_16s32f(source.data(), floats.data(), n), 0);
  EXPECT_EQ(floats, std::vector<float>(source.begin(), source.end()));
}

TEST(Conversion, LongIntegersRoundToTheNearestFloat) {
  const std::vector<int32_t> source = {16777216,   16777217,   16777219, -16777217, 33554434,
                                       2147483583, 2147483584, kMost,    kLeast,    0};
  const std::vector<float> expected = {
      16777216.0F,   16777216.0F,   16777220.0F,   -16777216.0F,   33554432.0F + 2.0F,
      2147483520.0F, 2147483648.0F, 2147483648.0F, -2147483648.0F, 0.0F};
  std::vector<float> result(source.size());
  EXPECT_EQ(ippsConvert_32s32f(source.data(), result.data(), static_cast<int32_t>(source.size())),
            0);
  EXPECT_EQ(Bits(result), Bits(expected));
}

struct NarrowingRow {
  double value;
  uint32_t expected;
  const char* what;
};

constexpr auto kNarrowingRows = std::to_array<NarrowingRow>({
    {1.0, 0x3f800000, "an ordinary value"},
    {-0.0, 0x80000000, "minus zero"},
    {1e39, 0x7f7fffff, "above the range"},
    {-1e39, 0xff7fffff, "below the range"},
    {std::numeric_limits<double>::infinity(), 0x7f7fffff, "infinity"},
    {-std::numeric_limits<double>::infinity(), 0xff7fffff, "minus infinity"},
    {std::numeric_limits<double>::quiet_NaN(), 0xff7fffff, "a NaN"},
    {-std::numeric_limits<double>::quiet_NaN(), 0xff7fffff, "a NaN with the other sign"},
    {3.4028234663852886e38, 0x7f7fffff, "the largest float"},
    {0x1.fffffefffffffp127, 0x7f7fffff, "just below a tie that would overflow"},
    {0x1.ffffffp127, 0x7f7fffff, "the tie"},
    {0x1.fffffdp127, 0x7f7ffffe, "a tie to even below the largest"},
    {0x1.0000010000001p0, 0x3f800001, "just above a tie"},
    {0x1p-149, 0x00000001, "the smallest subnormal"},
    {0x1p-150, 0x00000000, "half of it"},
    {0x1.8p-149, 0x00000002, "a tie among the subnormals"},
    {-0x1.0000000000001p-150, 0x80000001, "just above half of the smallest"},
});

TEST(Conversion, DoublesRoundOnceAndSaturateToFiniteFloats) {
  for (const auto& row : kNarrowingRows) {
    float result = 9.0F;
    EXPECT_EQ(ippsConvert_64f32f(&row.value, &result, 1), 0);
    EXPECT_EQ(Bits(result), row.expected) << row.what;
  }
}

template <typename Integer>
struct ToIntegerRow {
  float value;
  int32_t scaleFactor;
  Integer nearest;
  Integer truncated;
  const char* what;
};

constexpr float kUnit = 1.0F / 32768.0F;

constexpr auto kToShortRows = std::to_array<ToIntegerRow<int16_t>>({
    {1.0F, -15, 32767, 32767, "full scale saturates"},
    {-1.0F, -15, -32768, -32768, "negative full scale fits"},
    {2.5F * kUnit, -15, 2, 2, "tie to even below"},
    {3.5F * kUnit, -15, 4, 3, "tie to even above"},
    {-2.5F * kUnit, -15, -2, -2, "negative tie to even"},
    {-3.5F * kUnit, -15, -4, -3, "the other negative tie"},
    {0.5F, 0, 0, 0, "smallest tie"},
    {0.50000006F, 0, 1, 0, "just above a tie"},
    {2.4999998F, 0, 2, 2, "just below a tie"},
    {32766.5F, 0, 32766, 32766, "tie below the top"},
    {32767.0F, 0, 32767, 32767, "the top"},
    {-32767.5F, 0, -32768, -32767, "tie above the bottom"},
    {-40000.0F, 0, -32768, -32768, "below the bottom"},
    {kInfinity, 0, 32767, 32767, "infinity"},
    {-kInfinity, 0, -32768, -32768, "negative infinity"},
    {kNaN, 0, -32768, -32768, "a NaN"},
    {3.0e38F, 120, 226, 225, "large value, large factor"},
    {1.0F, kMost, 0, 0, "factor beyond any value"},
    {1.0e-45F, kLeast, 32767, 32767, "factor beyond any value, up"},
    {0.0F, kLeast, 0, 0, "zero stays zero"},
});

constexpr auto kToLongRows = std::to_array<ToIntegerRow<int32_t>>({
    {2.5F, 0, 2, 2, "tie to even below"},
    {3.5F, 0, 4, 3, "tie to even above"},
    {-2.5F, 0, -2, -2, "negative tie to even"},
    {3.9F, 0, 4, 3, "no tie"},
    {1.5F, -1, 3, 3, "doubled"},
    {8388607.5F, 0, 8388608, 8388607, "the largest tie of a float"},
    {2147483520.0F, 0, 2147483520, 2147483520, "the largest float below the top"},
    {-2147483520.0F, 0, -2147483520, -2147483520, "the lowest float above the bottom"},
    {-3e9F, 0, kLeast, kLeast, "below the bottom"},
    {2147483648.0F, 0, kMost, kMost, "one above the top"},
    {-2147483648.0F, 0, kLeast, kLeast, "the bottom"},
    {kNaN, 0, kLeast, kLeast, "a NaN"},
    {kNaN, kMost, kLeast, kLeast, "a NaN at a factor beyond any value"},
    {-kInfinity, kMost, kLeast, kLeast, "infinity at a factor beyond any value"},
    {3.4028235e38F, 97, 2147483520, 2147483520, "the largest float scaled into the range"},
    {0x1p-149F, -179, 1073741824, 1073741824, "the smallest float scaled into the range"},
    {0x1.8p-100F, -100, 2, 1, "a tie out of a tiny value"},
});

template <typename Integer, typename Rows, typename Convert>
void ExpectConverted(const Rows& rows, Convert convert) {
  for (const auto& row : rows) {
    Integer nearest = 99;
    Integer truncated = 99;
    EXPECT_EQ(convert(&row.value, &nearest, 1, 1, row.scaleFactor), 0);
    EXPECT_EQ(convert(&row.value, &truncated, 1, 7, row.scaleFactor), 0);
    EXPECT_EQ(nearest, row.nearest) << row.what;
    EXPECT_EQ(truncated, row.truncated) << row.what;
  }
}

TEST(Conversion, FloatsToIntegersRoundAndSaturate) {
  ExpectConverted<int16_t>(kToShortRows, ippsConvert_32f16s_Sfs);
  ExpectConverted<int32_t>(kToLongRows, ippsConvert_32f32s_Sfs);
}

// Parts that a register of the x87 or an addition would change: signalling NaNs, zeros.
template <typename Word>
struct Parts {
  std::vector<Word> re;
  std::vector<Word> im;
};

template <typename Word, typename Complex, typename Real, typename Join, typename Take>
void ExpectPartsKept(const Parts<Word>& parts, Join join, Take real, Take imaginary) {
  const std::size_t size = parts.re.size();
  const auto n = static_cast<int32_t>(size);
  const auto* const re = reinterpret_cast<const Real*>(parts.re.data());
  const auto* const im = reinterpret_cast<const Real*>(parts.im.data());
  std::vector<Word> joined(2 * size, Word{9});
  auto* const complex = reinterpret_cast<Complex*>(joined.data());
  std::vector<Word> taken(size);
  auto* const part = reinterpret_cast<Real*>(taken.data());
  const std::vector<Word> zeros(size);

  EXPECT_EQ(join(nullptr, nullptr, complex, 0), -6);
  EXPECT_EQ(join(nullptr, nullptr, complex, n), -8);
  EXPECT_EQ(joined, std::vector<Word>(2 * size, Word{9}));

  for (const bool hasReal : {true, false}) {
    for (const bool hasImaginary : {true, false}) {
      if (!hasReal && !hasImaginary) continue;
      EXPECT_EQ(join(hasReal ? re : nullptr, hasImaginary ? im : nullptr, complex, n), 0);
      EXPECT_EQ(real(complex, part, n), 0);
      EXPECT_EQ(taken, hasReal ? parts.re : zeros);
      EXPECT_EQ(imaginary(complex, part, n), 0);
      EXPECT_EQ(taken, hasImaginary ? parts.im : zeros);
    }
  }
}

const Parts<uint32_t> kSingleParts = {{0x3f800000, 0x80000000, 0x7f800001, 0xffc00001, 5},
                                      {0x40000000, 0x00000000, 0xff800001, 0x7fc00001, 6}};
const Parts<uint64_t> kDoubleParts = {
    {0x3ff0000000000000, 0x8000000000000000, 0x7ff0000000000001, 0xfff8000000000001, 5},
    {0x4000000000000000, 0x0000000000000000, 0xfff0000000000001, 0x7ff8000000000001, 6}};

TEST(Conversion, PartsComeBackBitByBitAndMissingOnesAsZero) {
  ExpectPartsKept<uint32_t, Complex32f, float>(kSingleParts, ippsRealToCplx_32f, ippsReal_32fc,
                                               ippsImag_32fc);
  ExpectPartsKept<uint64_t, Complex64f, double>(kDoubleParts, ippsRealToCplx_64f, ippsReal_64fc,
                                                ippsImag_64fc);
}

template <typename Complex, typename Word, typename Conjugate>
void ExpectConjugated(const Parts<Word>& parts, bool isReversed, Conjugate conjugate) {
  const std::size_t size = parts.re.size();
  std::vector<Word> source(2 * size);
  std::vector<Word> expected(2 * size);
  for (std::size_t i = 0; i < size; ++i) {
    source[2 * i] = parts.re[i];
    source[2 * i + 1] = parts.im[i];
    const std::size_t place = isReversed ? size - 1 - i : i;
    expected[2 * place] = parts.re[i];
    expected[2 * place + 1] = parts.im[i] ^ Word { 1 } << (8 * sizeof(Word) - 1);
  }
  std::vector<Word> result = source;
  EXPECT_EQ(conjugate(reinterpret_cast<const Complex*>(source.data()),
                      reinterpret_cast<Complex*>(result.data()), static_cast<int32_t>(size)),
            0);
  EXPECT_EQ(result, expected);
}

TEST(Conversion, ConjugatesChangeNothingButTheSignOfTheImaginaryPart) {
  ExpectConjugated<Complex32f>(kSingleParts, false, ippsConj_32fc);
  ExpectConjugated<Complex64f>(kDoubleParts, false, ippsConj_64fc);
  ExpectConjugated<Complex64f>(kDoubleParts, true, ippsConjFlip_64fc);
  ExpectConjugated<Complex64f>(
      kDoubleParts, false,
      [](const Complex64f* /*source*/, Complex64f* s, int32_t n) { return ippsConj_64fc_I(s, n); });
}

}  // namespace
