// Uniform random numbers to the bit: a sequence that is part of the system, in every build alike.
#include "primitives/random.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <limits>
#include <vector>

namespace {

constexpr uint64_t kModulus = uint64_t{1} << 32;

// The sequence from its recurrence x[k] = x[k-2] - x[k-3] - borrow, less 18 where that falls below
// 0, in remainders of wider integers; behind the integers, the next seed.
std::vector<int64_t> Reference(uint64_t seed, int32_t n) {
  std::vector<uint64_t> x = {0, 0, seed};
  x[1] = (x[2] * 69069 + 1013904243) % kModulus;
  x[0] = (x[1] * 69069 + 1013904243) % kModulus;
  uint64_t linear = 1131199209;
  uint64_t borrow = 1;
  std::vector<int64_t> integers;
  for (int32_t i = 0; i < n; ++i) {
    const std::size_t k = x.size();
    const uint64_t difference = (kModulus + x[k - 2] - x[k - 3] - borrow) % kModulus;
    borrow = difference >= kModulus / 2 ? 1 : 0;
    x.push_back((difference + kModulus - 18 * borrow) % kModulus);
    linear = (linear * 69069 + 1013904243) % kModulus;
    const auto sum = static_cast<int64_t>((x.back() + linear) % kModulus);
    integers.push_back(sum < int64_t{1} << 31 ? sum : sum - (int64_t{1} << 32));
  }
  integers.push_back(static_cast<int64_t>(x.back()));
  return integers;
}

// Its first difference is -2^31, no longer negative once the 18 are taken off.
constexpr uint32_t kBarelyNegative = 0x42ae9c96U;

TEST(Random, SequenceIsThatOfItsRecurrence) {
  for (const uint32_t seed : {0U, 1U, 0x7fffffffU, 0x80000000U, 0xffffffffU, kBarelyNegative}) {
    for (const int32_t n : {1, 2, 3, 4, 5, 1000}) {
      const std::vector<int64_t> expected = Reference(seed, n);
      std::vector<double> doubles(static_cast<std::size_t>(n));
      std::vector<float> floats(doubles.size());
      uint32_t seedOfDoubles = seed;
      uint32_t seedOfFloats = seed;
      EXPECT_EQ(ippsRandUniform_Direct_64f(doubles.data(), n, -3.0, 8.0, &seedOfDoubles), 0);
      EXPECT_EQ(ippsRandUniform_Direct_32f(floats.data(), n, -3.0F, 8.0F, &seedOfFloats), 0);
      for (std::size_t i = 0; i < doubles.size(); ++i) {
        const double scale = 11.0 * 2.3283064365387e-10;
        const double element = static_cast<double>(expected[i]) * scale + 2.5;
        ASSERT_EQ(doubles[i], element) << i << " from " << seed;
        ASSERT_EQ(floats[i], static_cast<float>(element)) << i << " from " << seed;
      }
      EXPECT_EQ(seedOfDoubles, static_cast<uint32_t>(expected.back()));
      EXPECT_EQ(seedOfFloats, seedOfDoubles);
    }
  }
}

struct BoundsRow {
  double low;
  double high;
  std::array<uint64_t, 3> expected;  ///< From seed 0: -2143376656, -1588453546, -1238212167.
  const char* what;
};

constexpr double kLargest = std::numeric_limits<double>::max();
constexpr uint64_t kPlus = 0x7ff0000000000000U;  // Infinities.
constexpr uint64_t kMinus = 0xfff0000000000000U;

constexpr auto kBoundsRows = std::to_array<BoundsRow>({
    {-1.0, 1.0, {0xbfeff0554400000e, 0xbfe7ab782a80000a, 0xbfe2736791c00008}, "ordinary"},
    {5.0, -3.0, {0x4013f82aa2000007, 0x400fab782a80000a, 0x400a736791c00008}, "low above high"},
    {0.75, 0.75, {0x3fe8000000000000, 0x3fe8000000000000, 0x3fe8000000000000}, "equal"},
    {0.0, 1e-300, {0x104fbeba635de00, 0x176508feebb12ae, 0x18225c98e2cd6f5}, "subnormal scale"},
    {0.0, 1e-310, {0x447716f86, 0x265369b595c, 0x3e58b4189f7}, "subnormal bounds"},
    {kLargest, kLargest, {kPlus, kPlus, kPlus}, "a sum out of range, though its half is not"},
    {-kLargest, kLargest, {kMinus, kMinus, kMinus}, "a difference out of range"},
});

TEST(Random, BoundsGiveScaleAndMiddleInDoublePrecision) {
  for (const BoundsRow& row : kBoundsRows) {
    std::array<double, 3> elements{};
    uint32_t seed = 0;
    EXPECT_EQ(ippsRandUniform_Direct_64f(elements.data(), 3, row.low, row.high, &seed), 0);
    EXPECT_EQ((std::bit_cast<std::array<uint64_t, 3>>(elements)), row.expected) << row.what;
  }
}

}  // namespace
