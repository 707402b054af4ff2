// Blocks, moves, fills and reversals: alignment, failures, every overlap, and elements kept to the
// bit.
#include "primitives/memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <numeric>
#include <vector>

#include "tests/common/test_memory.h"

namespace {

struct Allocator {
  const char* name;
  std::size_t elementSize;
  void* (*allocate)(int32_t length);
};

constexpr auto kAllocators = std::to_array<Allocator>({
    {"8u", 1, [](int32_t length) -> void* { return ippsMalloc_8u(length); }},
    {"8s", 1, [](int32_t length) -> void* { return ippsMalloc_8s(length); }},
    {"16s", 2, [](int32_t length) -> void* { return ippsMalloc_16s(length); }},
    {"32f", 4, [](int32_t length) -> void* { return ippsMalloc_32f(length); }},
    {"64f", 8, [](int32_t length) -> void* { return ippsMalloc_64f(length); }},
    {"32fc", 8, [](int32_t length) -> void* { return ippsMalloc_32fc(length); }},
    {"64fc", 16, [](int32_t length) -> void* { return ippsMalloc_64fc(length); }},
});

constexpr int32_t kLongest = std::numeric_limits<int32_t>::max();

TEST(Memory, BlocksAreAlignedWritableAndGivenBack) {
  const std::size_t before = zr::test::LiveBlockCount();
  for (const Allocator& allocator : kAllocators) {
    for (int32_t length = 1; length < 70; ++length) {
      void* const block = allocator.allocate(length);
      ASSERT_NE(block, nullptr) << allocator.name;
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 32, 0U) << allocator.name;
      // An overrun shows when the block goes back.
      std::memset(block, 1, static_cast<std::size_t>(length) * allocator.elementSize);
      ippsFree(block);
    }
  }
  ippsFree(nullptr);
  EXPECT_EQ(zr::test::LiveBlockCount(), before);
}

TEST(Memory, WhatCannotBeAllocatedIsNull) {
  for (const Allocator& allocator : kAllocators) {
    const std::size_t before = zr::test::AllocationCount();
    for (const int32_t length : {0, -1, std::numeric_limits<int32_t>::min()}) {
      EXPECT_EQ(allocator.allocate(length), nullptr) << allocator.name;
    }
    EXPECT_EQ(zr::test::AllocationCount(), before) << allocator.name << " asked for nothing";
    // A product that wrapped would be small enough for any machine.
    EXPECT_EQ(allocator.allocate(kLongest), nullptr) << allocator.name;
    EXPECT_EQ(allocator.allocate(1 << 30), nullptr) << allocator.name;
    const zr::test::FailingAllocation failing(1);
    EXPECT_EQ(allocator.allocate(4), nullptr) << allocator.name;
  }
}

template <auto kPrimitive, typename Element>
int32_t MoveBytes(const uint8_t* a, uint8_t* d, int32_t n) {
  return kPrimitive(reinterpret_cast<const Element*>(a), reinterpret_cast<Element*>(d), n);
}

struct Mover {
  const char* name;
  int elementSize;
  int32_t (*move)(const uint8_t* a, uint8_t* d, int32_t n);
};

constexpr auto kMovers = std::to_array<Mover>({
    {"16s", 2, MoveBytes<ippsMove_16s, int16_t>},
    {"32f", 4, MoveBytes<ippsMove_32f, float>},
    {"64f", 8, MoveBytes<ippsMove_64f, double>},
    {"64fc", 16, MoveBytes<ippsMove_64fc, Complex64f>},
});

TEST(Memory, MovesTakeEveryOverlapAndTakeLessThanAnElementDownForNone) {
  constexpr int kStart = 200;
  for (const Mover& mover : kMovers) {
    const int32_t n = 160 / mover.elementSize;
    for (int shift = -170; shift <= 170; ++shift) {
      std::vector<uint8_t> moved(2 * kStart + 160);
      std::iota(moved.begin(), moved.end(), uint8_t{0});
      std::vector<uint8_t> expected = moved;
      const bool countsAsNone = shift <= 0 && -shift < mover.elementSize;
      for (int i = 0; i < 160 && !countsAsNone; ++i) {
        expected[static_cast<std::size_t>(kStart + shift + i)] = static_cast<uint8_t>(kStart + i);
      }
      EXPECT_EQ(mover.move(moved.data() + kStart, moved.data() + kStart + shift, n), 0);
      EXPECT_EQ(moved, expected) << mover.name << " by " << shift;
    }
  }
}

// Fills n elements that start an odd byte behind their neighbours.
template <auto kFill, typename Element, typename Word, typename... Values>
void ExpectFilled(const std::vector<Word>& pattern, Values... values) {
  for (int32_t n = 1; n < 40; ++n) {
    const std::size_t size = pattern.size() * sizeof(Word);
    std::vector<uint8_t> bytes(2 + size * static_cast<std::size_t>(n), 0x5a);
    std::vector<uint8_t> expected = bytes;
    for (std::size_t i = 0; i < static_cast<std::size_t>(n); ++i) {
      std::memcpy(expected.data() + 1 + i * size, pattern.data(), size);
    }
    EXPECT_EQ(kFill(values..., reinterpret_cast<Element*>(bytes.data() + 1), n), 0);
    EXPECT_EQ(bytes, expected) << sizeof(Element) << " bytes, " << n;
  }
}

TEST(Memory, FillsStoreTheBitsOfTheirValue) {
  // Quiet ones: a signalling one may be quietened by the registers of the caller.
  constexpr uint32_t kSingle = 0xffc12345U;
  constexpr uint64_t kDouble = 0x7ff8000012345678U;
  constexpr auto kSingleNaN = std::bit_cast<float>(kSingle);
  constexpr auto kDoubleNaN = std::bit_cast<double>(kDouble);
  constexpr auto kSubnormal = std::bit_cast<double>(uint64_t{1});
  ExpectFilled<ippsSet_16s, int16_t, uint16_t>({0xfedc}, int16_t{-0x124});
  ExpectFilled<ippsSet_32f, float, uint32_t>({kSingle}, kSingleNaN);
  ExpectFilled<ippsSet_64f, double, uint64_t>({kDouble}, kDoubleNaN);
  ExpectFilled<ippsSet_32fc, Complex32f, uint32_t>({0x80000000U, kSingle}, -0.0F, kSingleNaN);
  ExpectFilled<ippsSet_64fc, Complex64f, uint64_t>({kDouble, 1}, kDoubleNaN, kSubnormal);
  ExpectFilled<ippsZero_16s, int16_t, uint16_t>({0});
  ExpectFilled<ippsZero_32f, float, uint32_t>({0});
  ExpectFilled<ippsZero_64f, double, uint64_t>({0});
  ExpectFilled<ippsZero_32fc, Complex32f, uint32_t>({0, 0});
  ExpectFilled<ippsZero_64fc, Complex64f, uint64_t>({0, 0});
}

TEST(Memory, ReversalOfFloatsKeepsSignallingNaNsAndThatOfDoublesQuietensThem) {
  constexpr uint64_t kQuietBit = uint64_t{1} << 51;
  for (std::size_t n = 1; n <= 20; ++n) {
    std::vector<uint32_t> words(n);
    std::iota(words.begin(), words.end(), 0x7f800001U);
    std::vector<uint64_t> longWords(n);
    std::iota(longWords.begin(), longWords.end(), 0xfff0000000000001U);
    longWords[0] = 0x8000000000000000U;  // Minus zero and a subnormal stay what they are.
    longWords[n - 1] = 0x8000000000000001U;

    std::vector<uint32_t> flipped = words;
    EXPECT_EQ(ippsFlip_32f_I(reinterpret_cast<float*>(flipped.data()), static_cast<int32_t>(n)), 0);
    EXPECT_EQ(flipped, std::vector<uint32_t>(words.rbegin(), words.rend())) << n;

    std::vector<uint64_t> flippedLong = longWords;
    EXPECT_EQ(
        ippsFlip_64f_I(reinterpret_cast<double*>(flippedLong.data()), static_cast<int32_t>(n)), 0);
    std::vector<uint64_t> expected(longWords.rbegin(), longWords.rend());
    for (std::size_t i = 1; i + 1 < n; ++i) {
      const bool isInTheMiddle = 2 * i + 1 == n;  // It does not move.
      if (!isInTheMiddle) expected[i] |= kQuietBit;
    }
    EXPECT_EQ(flippedLong, expected) << n;
  }
}

TEST(Memory, CopyOntoItselfAndBytesSwappedTwice) {
  std::array<uint16_t, 3> values = {0x1234, 0x00ff, 0x8001};
  const auto original = values;
  auto* const shorts = reinterpret_cast<int16_t*>(values.data());
  EXPECT_EQ(ippsCopy_16s(shorts, shorts, 3), 0);
  EXPECT_EQ(values, original);
  EXPECT_EQ(ippsSwapBytes_16u_I(values.data(), 3), 0);
  EXPECT_EQ(values, (std::array<uint16_t, 3>{0x3412, 0xff00, 0x0180}));
  EXPECT_EQ(ippsSwapBytes_16u_I(values.data(), 3), 0);
  EXPECT_EQ(values, original);
}

}  // namespace
