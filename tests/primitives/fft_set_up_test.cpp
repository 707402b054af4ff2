// The records of the transforms: their tables, the sizes they tell, and what is left of one that
// failed.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "primitives/fft/permutation.h"
#include "primitives/fft/sine.h"
#include "primitives/fft/specification.h"
#include "primitives/fft/table_memory.h"
#include "primitives/fft/tables.h"
#include "tests/common/test_memory.h"
#include "tests/primitives/fft_reference.h"
#include "tests/primitives/ulps.h"

namespace zr::test {
namespace {

namespace px = primitives::px;

TEST(FftSetUp, SinesAreTheNearestDoublesButForAFew) {
  struct Row {
    double (*ours)(double);
    long double (*exact)(long double);
  };
  constexpr int32_t kCount = 100000;
  for (const Row& row :
       {Row{px::SineWithinEighth, std::sin}, Row{px::CosineWithinEighth, std::cos}}) {
    int32_t misses = 0;
    for (int32_t i = 0; i <= kCount; ++i) {
      const double angle = std::numbers::pi / 4 * i / kCount;
      const double ulps = Ulps(row.ours(angle), [&] { return row.exact(angle); });
      ASSERT_LT(ulps, 1.0) << angle;
      misses += ulps > 0.5 ? 1 : 0;
    }
    EXPECT_LE(misses, kCount / 1000);
  }
}

std::size_t ReversedBits(std::size_t value, int32_t bitCount) {
  std::size_t reversed = 0;
  for (int32_t bit = 0; bit < bitCount; ++bit)
    reversed |= (value >> bit & 1) << (bitCount - 1 - bit);
  return reversed;
}

// Within the table's own rounding and the double angle's.
template <typename Element>
void ExpectRoot(const Element* entry, std::size_t index, int32_t order,
                const std::vector<Element>& sines) {
  const Exact root = RootOfUnity(static_cast<int64_t>(index), int64_t{1} << order, true);
  const double tolerance = 1.5 * std::numeric_limits<Element>::epsilon();
  ASSERT_NEAR(entry[0], static_cast<double>(root.real()), tolerance);
  ASSERT_NEAR(entry[1], static_cast<double>(root.imag()), tolerance);
  for (int i = 0; i < 2; ++i)
    ASSERT_TRUE(std::binary_search(sines.begin(), sines.end(), std::abs(entry[i]))) << index;
}

template <typename Element>
void ExpectTablesOfRoots(int32_t order) {
  const px::TemporaryTable<Element> memory(px::MakeSines<Element>(order));
  const std::vector<Element> sines(memory.Get(), memory.Get() + (1 << order) / 4 + 1);
  ASSERT_TRUE(std::is_sorted(sines.begin(), sines.end()));
  ASSERT_EQ(sines.front(), Element{0});
  ASSERT_EQ(sines.back(), Element{1});
  const px::SineTable<Element> table = {memory.Get(), order};

  for (const int32_t shorter : {order, order - 1}) {
    const px::TemporaryTable<Element> twiddles(px::MakeTwiddleTable(table, shorter));
    const px::TemporaryTable<Element> blocks(px::MakeBlockTable(table, shorter));
    const std::size_t rows = (std::size_t{1} << shorter) / 4;
    for (std::size_t i = 0; i < 3 * (rows + 1); ++i)
      ExpectRoot(twiddles.Get() + 2 * i, (i % 3 + 1) * (i / 3), shorter, sines);
    for (std::size_t k = 0; k < rows; ++k)
      ExpectRoot(blocks.Get() + 2 * k, k, shorter, sines);
  }

  const int32_t split = order / 2;
  const px::TemporaryTable<Element> twists(px::MakeTwistTable(table, order, split));
  const Element* next = twists.Get();
  for (std::size_t column = 0; column < std::size_t{1} << (order - split); column += 4) {
    for (std::size_t row = 0; row < std::size_t{1} << split; ++row) {
      for (std::size_t t = 0; t < 4; ++t, next += 2)
        ExpectRoot(next, ReversedBits(row, split) * (column + t), order, sines);
    }
  }
}

TEST(FftSetUp, EveryRootIsASineOfTheOneTable) {
  for (int32_t order = 5; order <= 16; ++order) {
    ExpectTablesOfRoots<float>(order);
    ExpectTablesOfRoots<double>(order);
  }
}

template <typename Element>
void ExpectReversal(int32_t order) {
  const std::size_t n = std::size_t{1} << order;
  std::vector<std::complex<Element>> numbers(n);
  for (std::size_t i = 0; i < n; ++i)
    numbers[i] = {static_cast<Element>(i), static_cast<Element>(i) + Element{0.5}};
  const px::TemporaryTable<int32_t> table(px::MakeBitReversalTable(order));
  std::vector<std::complex<Element>> apart(n);
  const auto* const from = reinterpret_cast<const Element*>(numbers.data());
  auto* const to = reinterpret_cast<Element*>(apart.data());
  px::FFTPermute(from, to, 1 << order, table.Get());
  for (std::size_t i = 0; i < n; ++i)
    ASSERT_EQ(apart[i], numbers[ReversedBits(i, order)]) << order;
  px::FFTPermute<Element>(to, to, 1 << order, table.Get());
  EXPECT_EQ(apart, numbers) << order;
}

TEST(FftSetUp, PermutationReversesBitsAndThenRestores) {
  for (int32_t order = 3; order <= 16; ++order) {
    ExpectReversal<float>(order);
    ExpectReversal<double>(order);
  }
}

// The three kinds, called alike.
struct Kind {
  const char* name;
  int32_t firstTooLarge;
  std::function<int32_t(void**, int32_t order, int32_t flag)> make;
  std::function<int32_t(void*)> free;
  std::function<int32_t(const void*, int32_t* size)> size;
};

template <typename Traits, typename Query>
Kind KindOf(const char* name, int32_t firstTooLarge, Query query) {
  using Opaque = typename Traits::Record;
  return {name, firstTooLarge,
          [](void** out, int32_t order, int32_t flag) {
            return Traits::Make(reinterpret_cast<Opaque**>(out), order, flag, 0);
          },
          [](void* record) { return Traits::Free(static_cast<Opaque*>(record)); },
          [query](const void* record, int32_t* size) {
            return query(static_cast<const Opaque*>(record), size);
          }};
}

// What no primitive tells.
int32_t GetBufferSize64(const ComplexFft64f* record, int32_t* size) {
  *size = px::Specification(record).bufSize;
  return 0;
}

const Kind kComplex = KindOf<ComplexFft<Complex32f>>("complex", 28, ippsFFTGetBufSize_C_32fc);
const Kind kReal = KindOf<RealFft>("real", 29, ippsFFTGetBufSize_R_32f);
const Kind kDouble = KindOf<ComplexFft<Complex64f>>("double", 27, GetBufferSize64);
const Kind* const kKinds[] = {&kComplex, &kReal, &kDouble};

// A split needs 4 columns of 2^s complex numbers.
TEST(FftSetUp, BufferSizes) {
  const int32_t splits[] = {5, 6, 7, 8, 8, 8, 10, 10, 10, 10, 8, 8};
  const int32_t doubleSplits[] = {4, 5, 6, 7, 7, 8, 9, 9, 9, 8};
  const auto sizeOf = [](const Kind& kind, int32_t order) {
    void* record = nullptr;
    int32_t size = -1;
    EXPECT_EQ(kind.make(&record, order, FFT_NODIV_BY_ANY), 0);
    EXPECT_EQ(kind.size(record, &size), 0);
    kind.free(record);
    return size;
  };
  for (int32_t order = 0; order <= 24; ++order) {
    const int32_t ofSplit = order <= 12 ? 0 : 32 << splits[order - 13];
    const int32_t expected = order <= 10 ? 0 : 16 + ofSplit;
    EXPECT_EQ(sizeOf(kComplex, order), expected) << order;
    if (order > 21) continue;
    EXPECT_EQ(sizeOf(kReal, order + 1), expected) << order;
    const int32_t ofDoubleSplit = order <= 11 ? 0 : 64 << doubleSplits[order - 12];
    const int32_t ofDouble = order <= 9 ? 0 : 16 + ofDoubleSplit;
    EXPECT_EQ(sizeOf(kDouble, order), ofDouble) << order;
  }
}

TEST(FftSetUp, RefusalsLeaveNothingBehind) {
  const std::size_t live = LiveBlockCount();
  for (const Kind* const each : kKinds) {
    const Kind& kind = *each;
    int untouched = 0;
    void* record = &untouched;
    EXPECT_EQ(kind.make(nullptr, 31, 3), -8) << kind.name;
    for (const int32_t order : {-1, 31, 2147483647, -2147483647 - 1})
      EXPECT_EQ(kind.make(&record, order, 3), -15) << kind.name;
    for (const int32_t flag : {0, 3, 5, 16, -1, 9})
      EXPECT_EQ(kind.make(&record, 30, flag), -16) << kind.name;
    for (int32_t order = kind.firstTooLarge; order <= 30; ++order)
      EXPECT_EQ(kind.make(&record, order, FFT_NODIV_BY_ANY), -9) << kind.name << order;
    {
      const FailingAllocation failing(1);  // The record's, ahead of the test of the flag.
      EXPECT_EQ(kind.make(&record, 3, 0), -9) << kind.name;
    }
    EXPECT_EQ(record, &untouched) << kind.name;
    EXPECT_EQ(LiveBlockCount(), live) << kind.name;
  }
}

TEST(FftSetUp, FailsWithoutMemoryAtAnyPoint) {
  const std::size_t live = LiveBlockCount();
  for (const Kind* const each : kKinds) {
    const Kind& kind = *each;
    // All paths: no table, the kernel's, blocks, a split, a split over blocks.
    for (const int32_t order : {3, 4, 10, 11, 12, 13, 14, 20}) {
      int untouched = 0;
      void* record = &untouched;
      std::size_t failures = 0;
      for (;; ++failures) {
        const std::size_t before = AllocationCount();
        const FailingAllocation failing(failures + 1);
        const int32_t status = kind.make(&record, order, FFT_DIV_BY_SQRTN);
        const bool hasFailed = AllocationCount() - before > failures;
        ASSERT_EQ(status, hasFailed ? -9 : 0) << kind.name << order << " " << failures;
        if (!hasFailed) break;
        ASSERT_EQ(record, &untouched) << kind.name << order;
        ASSERT_EQ(LiveBlockCount(), live) << kind.name << order;
      }
      EXPECT_EQ(order < 4, failures == 1) << kind.name << order;
      EXPECT_EQ(kind.free(record), 0);
      EXPECT_EQ(LiveBlockCount(), live) << kind.name << order;
    }
  }
}

TEST(FftSetUp, OnlyItsOwnKindServesARecord) {
  for (const Kind* const made : kKinds) {
    void* record = nullptr;
    ASSERT_EQ(made->make(&record, 5, FFT_NODIV_BY_ANY), 0);
    const std::size_t live = LiveBlockCount();
    for (const Kind* const other : kKinds) {
      if (other == made) continue;
      EXPECT_EQ(other->free(record), -17) << other->name << made->name;
      if (other == &kDouble) continue;
      int32_t size = 7;
      EXPECT_EQ(other->size(nullptr, &size), -8) << other->name;
      EXPECT_EQ(other->size(record, nullptr), -8) << other->name;
      EXPECT_EQ(other->size(record, &size), -17) << other->name << made->name;
      EXPECT_EQ(size, 7);
    }
    EXPECT_EQ(LiveBlockCount(), live);
    EXPECT_EQ(made->free(record), 0);
    EXPECT_EQ(made->free(nullptr), -8);
  }
}

}  // namespace
}  // namespace zr::test
