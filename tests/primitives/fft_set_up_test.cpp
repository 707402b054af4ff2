// The records of the transforms: their tables, the sizes they tell, and what is left of one that
// failed.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <functional>

#include "primitives/fft/sine.h"
#include "primitives/fft/specification.h"
#include "primitives/fft/table_memory.h"
#include "primitives/fft/tables.h"
#include "tests/common/test_memory.h"
#include "tests/primitives/fft_reference.h"

namespace zr::test {
namespace {

namespace px = primitives::px;

TEST(FftSetUp, SinesAreTheNearestDoublesButForAFew) {
  if (!IsLongDoubleWide()) GTEST_SKIP() << "nothing here is more exact than a double";
  constexpr int32_t kCount = 100000;
  int32_t misses = 0;
  for (int32_t i = 0; i <= kCount; ++i) {
    const double angle = std::numbers::pi / 4 * i / kCount;
    const auto sine = static_cast<double>(std::sin(static_cast<long double>(angle)));
    const auto cosine = static_cast<double>(std::cos(static_cast<long double>(angle)));
    misses += px::SineWithinEighth(angle) != sine ? 1 : 0;
    misses += px::CosineWithinEighth(angle) != cosine ? 1 : 0;
    ASSERT_NEAR(px::SineWithinEighth(angle), sine, std::ldexp(sine, -52));
    ASSERT_NEAR(px::CosineWithinEighth(angle), cosine, std::ldexp(cosine, -52));
  }
  EXPECT_LE(misses, 2 * kCount / 1000);
}

// Within the table's own rounding and the double angle's.
template <typename Element>
void ExpectRoot(const Element* entry, int64_t index, int32_t order,
                const std::vector<Element>& sines) {
  const Exact root = RootOfUnity(index, int64_t{1} << order, true);
  const double unit = std::numeric_limits<Element>::epsilon();
  const double tolerance = 1.5 * unit + (IsLongDoubleWide() ? 0.0 : 1e-15);
  ASSERT_NEAR(entry[0], static_cast<double>(root.real()), tolerance);
  ASSERT_NEAR(entry[1], static_cast<double>(root.imag()), tolerance);
  for (int i = 0; i < 2; ++i)
    ASSERT_TRUE(std::binary_search(sines.begin(), sines.end(), std::abs(entry[i]))) << index;
}

template <typename Element>
void ExpectTablesOfRoots(int32_t order) {
  const px::TemporaryTable<Element> memory(px::MakeSines<Element>(order));
  const int32_t quarter = (1 << order) / 4;
  const std::vector<Element> sines(memory.Get(), memory.Get() + quarter + 1);
  ASSERT_TRUE(std::is_sorted(sines.begin(), sines.end()));
  ASSERT_EQ(sines.front(), Element{0});
  ASSERT_EQ(sines.back(), Element{1});
  const px::SineTable<Element> table = {memory.Get(), order};

  for (const int32_t shorter : {order, order - 1}) {
    const px::TemporaryTable<Element> twiddles(px::MakeTwiddleTable(table, shorter));
    const px::TemporaryTable<Element> blocks(px::MakeBlockTable(table, shorter));
    const int32_t rows = (1 << shorter) / 4;
    for (int32_t k = 0; k <= rows; ++k) {
      for (int32_t multiple = 1; multiple <= 3; ++multiple)
        ExpectRoot(twiddles.Get() + 6 * k + 2 * (multiple - 1), int64_t{multiple} * k, shorter,
                   sines);
      if (k < rows) ExpectRoot(blocks.Get() + 2 * k, k, shorter, sines);
    }
  }

  const int32_t split = order / 2;
  const px::TemporaryTable<Element> twists(px::MakeTwistTable(table, order, split));
  const Element* next = twists.Get();
  for (int64_t column = 0; column < int64_t{1} << (order - split); column += 4) {
    for (uint32_t row = 0; row < uint32_t{1} << split; ++row) {
      int64_t reversed = 0;
      for (int32_t bit = 0; bit < split; ++bit)
        reversed += static_cast<int64_t>(row >> bit & 1) << (split - 1 - bit);
      for (int64_t t = 0; t < 4; ++t, next += 2)
        ExpectRoot(next, reversed * (column + t), order, sines);
    }
  }
}

TEST(FftSetUp, EveryRootIsASineOfTheOneTable) {
  for (int32_t order = 5; order <= 13; ++order) {
    ExpectTablesOfRoots<float>(order);
    ExpectTablesOfRoots<double>(order);
  }
}

TEST(FftSetUp, RecombinationTablesAreRoundedOnce) {
  const px::TemporaryTable<float> memory(px::MakeSines<float>(8));
  const px::SineTable<float> table = {memory.Get(), 8};
  const px::TemporaryTable<float> forward(px::MakeForwardRecombination(table, 8));
  const px::TemporaryTable<float> inverse(px::MakeInverseRecombination(table, 8));
  for (int32_t k = 0; k < 64; ++k) {
    const float sine = memory.Get()[k];
    const float cosine = memory.Get()[64 - k];
    EXPECT_EQ(forward.Get()[2 * k], cosine / 2.0F);
    EXPECT_EQ(forward.Get()[2 * k + 1], static_cast<float>((1.0 - double{sine}) / 2.0));
    EXPECT_EQ(inverse.Get()[2 * k], cosine);
    EXPECT_EQ(inverse.Get()[2 * k + 1], -sine);
  }
}

TEST(FftSetUp, BufferSizes) {
  // The columns of a split: 4 of 2^s complex numbers.
  const int32_t splits[] = {5, 6, 7, 8, 8, 8, 10, 10, 10, 10};
  for (int32_t order = 0; order <= 22; ++order) {
    const int32_t expected = order <= 10 ? 0 : 16 + (order <= 12 ? 0 : 32 << splits[order - 13]);
    int32_t size = -1;
    const Record<ComplexFft<Complex32f>> complex(order);
    EXPECT_EQ(ippsFFTGetBufSize_C_32fc(complex.Get(), &size), 0);
    EXPECT_EQ(size, expected) << order;
    const Record<RealFft> real(order + 1);
    EXPECT_EQ(ippsFFTGetBufSize_R_32f(real.Get(), &size), 0);
    EXPECT_EQ(size, expected) << order;
  }
}

// The three kinds, called alike.
struct Kind {
  const char* name;
  std::function<int32_t(void**, int32_t order, int32_t flag)> make;
  std::function<int32_t(void*)> free;
  int32_t firstTooLarge;
};

template <typename Traits>
Kind KindOf(const char* name, int32_t firstTooLarge) {
  using Pointer = typename Traits::Record*;
  return {name,
          [](void** out, int32_t order, int32_t flag) {
            return Traits::Make(reinterpret_cast<Pointer*>(out), order, flag, 0);
          },
          [](void* record) { return Traits::Free(static_cast<Pointer>(record)); }, firstTooLarge};
}

std::vector<Kind> AllKinds() {
  return {KindOf<ComplexFft<Complex32f>>("complex", 28), KindOf<RealFft>("real", 29),
          KindOf<ComplexFft<Complex64f>>("double", 27)};
}

TEST(FftSetUp, RefusalsLeaveNothingBehind) {
  const std::size_t live = LiveBlockCount();
  for (const Kind& kind : AllKinds()) {
    int untouched = 0;
    void* record = &untouched;
    EXPECT_EQ(kind.make(nullptr, 31, 3), -8) << kind.name;
    for (const int32_t order : {-1, 31, 2147483647, -2147483647 - 1})
      EXPECT_EQ(kind.make(&record, order, 3), -15) << kind.name;
    for (const int32_t flag : {0, 3, 5, 16, -1, 9})
      EXPECT_EQ(kind.make(&record, 30, flag), -16) << kind.name;
    for (int32_t order = kind.firstTooLarge; order <= 30; ++order)
      EXPECT_EQ(kind.make(&record, order, FFT_NODIV_BY_ANY), -9) << kind.name << order;
    EXPECT_EQ(record, &untouched) << kind.name;
    EXPECT_EQ(LiveBlockCount(), live) << kind.name;
  }
}

TEST(FftSetUp, FailsWithoutMemoryAtAnyPoint) {
  for (const Kind& kind : AllKinds()) {
    // All paths: no table, the kernel's, blocks, a split, a split over blocks.
    for (const int32_t order : {3, 4, 10, 11, 12, 13, 14, 20}) {
      const std::size_t live = LiveBlockCount();
      int untouched = 0;
      void* record = &untouched;
      std::size_t failures = 0;
      for (;;) {
        const std::size_t before = AllocationCount();
        const FailingAllocation failing(failures + 1);
        const int32_t status = kind.make(&record, order, FFT_DIV_BY_SQRTN);
        const bool hasFailed = AllocationCount() - before > failures;
        ASSERT_EQ(status, hasFailed ? -9 : 0) << kind.name << order << " " << failures;
        if (!hasFailed) break;
        ASSERT_EQ(record, &untouched) << kind.name << order;
        ASSERT_EQ(LiveBlockCount(), live) << kind.name << order;
        ++failures;
      }
      EXPECT_EQ(order < 4, failures == 1) << kind.name << order;
      EXPECT_EQ(kind.free(record), 0);
      EXPECT_EQ(LiveBlockCount(), live) << kind.name << order;
    }
  }
}

TEST(FftSetUp, OnlyItsOwnKindFreesARecord) {
  const std::vector<Kind> kinds = AllKinds();
  for (const Kind& made : kinds) {
    void* record = nullptr;
    ASSERT_EQ(made.make(&record, 5, FFT_NODIV_BY_ANY), 0);
    const std::size_t live = LiveBlockCount();
    for (const Kind& other : kinds) {
      if (&other == &made) continue;
      EXPECT_EQ(other.free(record), -17) << other.name << made.name;
    }
    int32_t size = 7;
    if (&made != &kinds.front()) {
      EXPECT_EQ(ippsFFTGetBufSize_C_32fc(static_cast<ComplexFft32f*>(record), &size), -17);
    }
    if (&made != &kinds[1]) {
      EXPECT_EQ(ippsFFTGetBufSize_R_32f(static_cast<RealFft32f*>(record), &size), -17);
    }
    EXPECT_EQ(ippsFFTGetBufSize_R_32f(static_cast<RealFft32f*>(record), nullptr), -8);
    EXPECT_EQ(ippsFFTGetBufSize_C_32fc(nullptr, &size), -8);
    EXPECT_EQ(size, 7);
    EXPECT_EQ(LiveBlockCount(), live);
    EXPECT_EQ(made.free(record), 0);
    EXPECT_EQ(made.free(nullptr), -8);
  }
}

}  // namespace
}  // namespace zr::test
