// The median filter against a median that sorts each window anew.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "primitives/sorting.h"
#include "tests/common/test_memory.h"
#include "tests/primitives/random_elements.h"

namespace {

using Samples = std::vector<int16_t>;

Samples Filtered(const Samples& source, int32_t maskSize) {
  const auto n = static_cast<int32_t>(source.size());
  const int32_t half = (maskSize - 1) / 2;
  Samples result = source;
  for (int32_t i = 1; i < n - 1; ++i) {
    Samples window;
    for (int32_t k = i - half; k <= i + half; ++k)
      window.push_back(source[static_cast<std::size_t>(std::clamp(k, 0, n - 1))]);
    std::sort(window.begin(), window.end());
    result[static_cast<std::size_t>(i)] = window[static_cast<std::size_t>(half)];
  }
  return result;
}

TEST(MedianFilter, EveryMaskOverEveryLength) {
  zr::test::RandomElements random(9, true);
  for (int32_t n = 1; n <= 220; n += n < 60 ? 1 : 40) {
    for (int32_t maskSize = 1; maskSize <= 100; ++maskSize) {
      Samples source(static_cast<std::size_t>(n));
      // Many equal samples in every other run.
      for (int16_t& sample : source)
        sample =
            maskSize % 4 < 2 ? random.Next<int16_t>() : static_cast<int16_t>(random.Bits() % 5);
      const int32_t status = maskSize % 2 == 0 ? 5 : 0;
      Samples apart(source.size());
      ASSERT_EQ(ippsFilterMedian_16s(source.data(), apart.data(), n, maskSize), status);
      ASSERT_EQ(apart, Filtered(source, maskSize)) << n << " samples, mask " << maskSize;
      Samples inPlace = source;
      ASSERT_EQ(ippsFilterMedian_16s(inPlace.data(), inPlace.data(), n, maskSize), status);
      ASSERT_EQ(inPlace, apart) << n << " samples, mask " << maskSize;
    }
  }
  EXPECT_EQ(zr::test::LiveBlockCount(), 0U);
}

TEST(MedianFilter, WithoutMemoryTheCopyStays) {
  const Samples source = {4, -7, 9, 2};
  // More than a vector can hold is no memory either, and is not asked for.
  for (const int32_t maskSize : {7, 8, std::numeric_limits<int32_t>::max()}) {
    Samples d(4);
    const zr::test::FailingAllocation failing(1);
    EXPECT_EQ(ippsFilterMedian_16s(source.data(), d.data(), 4, maskSize), -9);
    EXPECT_EQ(d, source);
  }
  // These ask for none.
  const zr::test::FailingAllocation failing(1);
  const std::size_t count = zr::test::AllocationCount();
  Samples d(4);
  for (const int32_t maskSize : {1, 2, 3, 4, 5, 6})
    EXPECT_EQ(ippsFilterMedian_16s(source.data(), d.data(), 4, maskSize),
              maskSize % 2 == 0 ? 5 : 0);
  EXPECT_EQ(ippsFilterMedian_16s(source.data(), d.data(), 2, 9), 0);
  EXPECT_EQ(zr::test::AllocationCount(), count);
}

TEST(MedianFilter, RefusedMasksWriteNothing) {
  Samples d = {8, 9};
  for (const int32_t maskSize : {0, -1, std::numeric_limits<int32_t>::min()})
    EXPECT_EQ(ippsFilterMedian_16s(Samples(2).data(), d.data(), 2, maskSize), -6);
  EXPECT_EQ(d, (Samples{8, 9}));
}

}  // namespace
