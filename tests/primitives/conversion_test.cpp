// Conversions and reversal, at scale factors and values where the rounding changes.
#include "primitives/conversion.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/primitives/bits.h"

using zr::test::Bits;
using zr::test::kInfinity;
using zr::test::kNaN;

namespace {

TEST(Conversion, FlipReversesWordsAtEveryLength) {
  for (int32_t n = 1; n <= 20; ++n) {
    std::vector<uint32_t> words;
    // Signalling NaNs: they must come through as they are.
    for (int32_t i = 0; i < n; ++i)
      words.push_back(0x7f800001U + static_cast<uint32_t>(i));
    std::vector<float> values(words.size());
    std::memcpy(values.data(), words.data(), words.size() * sizeof(float));
    EXPECT_EQ(ippsFlip_32f_I(values.data(), n), 0);
    std::vector<uint32_t> flipped(words.size());
    std::memcpy(flipped.data(), values.data(), words.size() * sizeof(float));
    EXPECT_EQ(flipped, std::vector<uint32_t>(words.rbegin(), words.rend())) << "n " << n;
  }
  float value = 1.0F;
  EXPECT_EQ(ippsFlip_32f_I(nullptr, 0), -8);
  EXPECT_EQ(ippsFlip_32f_I(&value, 0), -6);
}

TEST(Conversion, IntegersToFloatsScaleAtEveryFactor) {
  const std::vector<int16_t> source = {-32768, -3, 0, 1, 2, 32767, 5};
  std::vector<float> result(source.size());
  const auto n = static_cast<int32_t>(source.size());
  constexpr auto kLowest = std::numeric_limits<int32_t>::min();
  for (const int32_t scaleFactor : {kLowest, -113, -112, -15, 0, 1, 15, 126, 127, 1000}) {
    EXPECT_EQ(ippsConvert_16s32f_Sfs(source.data(), result.data(), n, scaleFactor), 0);
    for (std::size_t i = 0; i < source.size(); ++i) {
      const int32_t limited = std::min(126, std::max(-112, scaleFactor));
      const auto expected = static_cast<float>(std::ldexp(source[i], -limited));
      EXPECT_EQ(Bits(result[i]), Bits(expected)) << source[i] << " at " << scaleFactor;
    }
  }
  EXPECT_EQ(ippsConvert_16s32f_Sfs(nullptr, result.data(), 0, 0), -8);
  EXPECT_EQ(ippsConvert_16s32f_Sfs(source.data(), result.data(), 0, 0), -6);
}

struct ToIntegerRow {
  float value;
  int32_t scaleFactor;
  int16_t nearest;
  int16_t truncated;
  const char* what;
};

constexpr float kUnit = 1.0F / 32768.0F;

constexpr auto kToIntegerRows = std::to_array<ToIntegerRow>({
    {1.0F, -15, 32767, 32767, "full scale saturates"},
    {-1.0F, -15, -32768, -32768, "negative full scale fits"},
    {2.5F * kUnit, -15, 2, 2, "tie to even below"},
    {3.5F * kUnit, -15, 4, 3, "tie to even above"},
    {-2.5F * kUnit, -15, -2, -2, "negative tie to even"},
    {-3.5F * kUnit, -15, -4, -3, "negative tie away"},
    {0.5F, 0, 0, 0, "smallest tie"},
    {-0.5F, 0, 0, 0, "smallest negative tie"},
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
    {1.0F, std::numeric_limits<int32_t>::max(), 0, 0, "factor beyond any value"},
    {1.0e-45F, std::numeric_limits<int32_t>::min(), 32767, 32767, "factor beyond any value, up"},
    {0.0F, std::numeric_limits<int32_t>::min(), 0, 0, "zero stays zero"},
});

TEST(Conversion, FloatsToIntegersRoundAndSaturate) {
  for (const auto& row : kToIntegerRows) {
    int16_t nearest = 99;
    int16_t truncated = 99;
    EXPECT_EQ(ippsConvert_32f16s_Sfs(&row.value, &nearest, 1, 1, row.scaleFactor), 0);
    EXPECT_EQ(ippsConvert_32f16s_Sfs(&row.value, &truncated, 1, 7, row.scaleFactor), 0);
    EXPECT_EQ(nearest, row.nearest) << row.what;
    EXPECT_EQ(truncated, row.truncated) << row.what;
  }
  int16_t kept = 99;
  EXPECT_EQ(ippsConvert_32f16s_Sfs(nullptr, &kept, 0, 1, 0), -8);
  EXPECT_EQ(ippsConvert_32f16s_Sfs(&kUnit, &kept, 0, 1, 0), -6);
  EXPECT_EQ(kept, 99);
}

}  // namespace
