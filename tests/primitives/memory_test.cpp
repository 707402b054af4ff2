// Blocks, copies and moves: alignment, refusals and every overlap.
#include "primitives/memory.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>
#include <numeric>

#include "tests/common/test_memory.h"

namespace {

constexpr int32_t kLongest = std::numeric_limits<int32_t>::max();

TEST(Memory, BlocksAreAlignedWritableAndGivenBack) {
  const std::size_t before = zr::test::LiveBlockCount();
  for (int32_t length = 1; length < 70; ++length) {
    uint8_t* const bytes = ippsMalloc_8u(length);
    int16_t* const shorts = ippsMalloc_16s(length);
    float* const floats = ippsMalloc_32f(length);
    for (void* block : std::array<void*, 3>{bytes, shorts, floats}) {
      ASSERT_NE(block, nullptr);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0U);
    }
    // Overruns show when the block goes back.
    std::memset(bytes, 1, static_cast<std::size_t>(length));
    std::memset(shorts, 1, static_cast<std::size_t>(length) * sizeof(int16_t));
    std::memset(floats, 1, static_cast<std::size_t>(length) * sizeof(float));
    ippsFree(bytes);
    ippsFree(shorts);
    ippsFree(floats);
  }
  ippsFree(nullptr);
  EXPECT_EQ(zr::test::LiveBlockCount(), before);
}

TEST(Memory, IllegalLengthsAskForNothing) {
  const std::size_t before = zr::test::AllocationCount();
  for (const int32_t length : {0, -1, std::numeric_limits<int32_t>::min()}) {
    EXPECT_EQ(ippsMalloc_8u(length), nullptr);
    EXPECT_EQ(ippsMalloc_16s(length), nullptr);
    EXPECT_EQ(ippsMalloc_32f(length), nullptr);
  }
  EXPECT_EQ(zr::test::AllocationCount(), before);
}

TEST(Memory, LengthsBeyondTheMachineAndFailuresGiveNull) {
  EXPECT_EQ(ippsMalloc_16s(kLongest), nullptr);
  EXPECT_EQ(ippsMalloc_32f(kLongest), nullptr);
  const zr::test::FailingAllocation failing(1);
  EXPECT_EQ(ippsMalloc_32f(4), nullptr);
}

TEST(Memory, CopyAndZeroRefuseWithoutWriting) {
  std::array<int16_t, 2> shorts = {1, 2};
  std::array<float, 2> floats = {1.0F, 2.0F};
  EXPECT_EQ(ippsCopy_16s(nullptr, shorts.data(), 0), -8);
  EXPECT_EQ(ippsCopy_16s(shorts.data(), nullptr, 2), -8);
  EXPECT_EQ(ippsCopy_16s(shorts.data() + 1, shorts.data(), 0), -6);
  EXPECT_EQ(ippsMove_16s(shorts.data() + 1, shorts.data(), -1), -6);
  EXPECT_EQ(ippsMove_16s(nullptr, shorts.data(), 1), -8);
  EXPECT_EQ(ippsZero_32f(nullptr, 0), -8);
  EXPECT_EQ(ippsZero_32f(floats.data(), 0), -6);
  EXPECT_EQ(shorts, (std::array<int16_t, 2>{1, 2}));
  EXPECT_EQ(floats, (std::array<float, 2>{1.0F, 2.0F}));
  EXPECT_EQ(ippsZero_32f(floats.data(), 1), 0);
  EXPECT_EQ(floats, (std::array<float, 2>{0.0F, 2.0F}));
}

TEST(Memory, MoveHalvesTheByteDistance) {
  alignas(int16_t) std::array<unsigned char, 8> bytes = {0, 1, 2, 3, 4, 5, 6, 7};
  const auto* const even = reinterpret_cast<const int16_t*>(bytes.data() + 2);
  // The one distance that counts as none: the destination a byte below the source.
  auto* const below = reinterpret_cast<int16_t*>(bytes.data() + 1);
  EXPECT_EQ(ippsMove_16s(even, below, 2), 0);
  EXPECT_EQ(bytes, (std::array<unsigned char, 8>{0, 1, 2, 3, 4, 5, 6, 7}));
  auto* const above = reinterpret_cast<int16_t*>(bytes.data() + 3);
  EXPECT_EQ(ippsMove_16s(even, above, 2), 0);
  EXPECT_EQ(bytes, (std::array<unsigned char, 8>{0, 1, 2, 2, 3, 4, 5, 7}));
}

TEST(Memory, MoveTakesEveryOverlap) {
  constexpr int32_t kLength = 100;
  for (int32_t shift = -kLength; shift <= kLength; ++shift) {
    std::array<int16_t, 3 * kLength> moved{};
    std::iota(moved.begin(), moved.end(), int16_t{0});
    auto expected = moved;
    for (int32_t i = 0; i < kLength; ++i) {
      expected[static_cast<std::size_t>(kLength + shift + i)] = static_cast<int16_t>(kLength + i);
    }
    EXPECT_EQ(ippsMove_16s(moved.data() + kLength, moved.data() + kLength + shift, kLength), 0);
    EXPECT_EQ(moved, expected) << "shift " << shift;
  }
}

}  // namespace
