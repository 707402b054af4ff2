// Tables that are copied out of the quarter wave, px build.
#include "primitives/fft/tables.h"

#include "primitives/complex_words.h"
#include "primitives/fft/permutation.h"
#include "primitives/fft/table_memory.h"
#include "primitives/fft/transform_sizes.h"
#include "primitives/rounding.h"

namespace zr::primitives::px {
namespace {

template <typename Element>
void StoreRoot(Element* table, int32_t i, Root<Element> root) {
  table[2 * i] = root.re;
  table[2 * i + 1] = root.im;
}

int32_t ReverseBits(int32_t value, int32_t bitCount) {
  int32_t reversed = 0;
  for (int32_t bit = 0; bit < bitCount; ++bit)
    reversed = reversed << 1 | (value >> bit & 1);
  return reversed;
}

// One column of the twist table, rows in bit-reversed order.
template <typename Element>
void FillColumn(const SineTable<Element>& sines, int32_t order, int32_t column, int32_t rowCount,
                const int32_t* bitRevTable, Element* roots) {
  for (int32_t row = 0; row < rowCount; ++row)
    StoreRoot(roots, row, sines.RootAt(order, row * column));
  FFTPermute(roots, roots, rowCount, bitRevTable);
}

}  // namespace

int32_t* MakeBitReversalTable(int32_t order) {
  const int32_t count = int32_t{1} << (order - 2);
  auto* const table = AllocateTable<int32_t>(int64_t{count} + 1);
  if (table == nullptr) return nullptr;
  int32_t front = 0;
  int32_t back = count - 1;
  for (int32_t i = 1; i < count; ++i) {
    const int32_t reversed = ReverseBits(i, order - 2);
    if (i < reversed) {
      table[front++] = 4 * i;
      table[front++] = 4 * reversed;
    } else if (i == reversed) {
      table[back--] = 4 * i;
    }
  }
  table[front] = 0;
  table[count] = 0;
  return table;
}

template <typename Element>
Element* MakeTwiddleTable(const SineTable<Element>& sines, int32_t order) {
  const int32_t quarter = int32_t{1} << (order - 2);
  auto* const table = AllocateTable<Element>((int64_t{quarter} + 1) * 6);
  if (table == nullptr) return nullptr;
  for (int32_t k = 0; k <= quarter; ++k) {
    for (int32_t multiple = 1; multiple <= 3; ++multiple)
      StoreRoot(table, 3 * k + multiple - 1, sines.RootAt(order, multiple * k));
  }
  return table;
}

template <typename Element>
Element* MakeBlockTable(const SineTable<Element>& sines, int32_t order) {
  const int32_t quarter = int32_t{1} << (order - 2);
  auto* const table = AllocateTable<Element>(int64_t{quarter} * 2);
  if (table == nullptr) return nullptr;
  for (int32_t r = 0; r < quarter; ++r)
    StoreRoot(table, r, sines.RootAt(order, r));
  return table;
}

template <typename Element>
Element* MakeTwistTable(const SineTable<Element>& sines, int32_t order, int32_t split) {
  const int32_t rowCount = int32_t{1} << split;
  const int32_t columnCount = int32_t{1} << (order - split);
  auto* const table = AllocateTable<Element>(int64_t{2} << order);
  const TemporaryTable bitRevTable(MakeBitReversalTable(split));
  const TemporaryTable columns(AllocateTable<Element>(int64_t{2 * kSplitColumns} * rowCount));
  if (table == nullptr || bitRevTable.Get() == nullptr || columns.Get() == nullptr) {
    ippsFree(table);
    return nullptr;
  }
  Element* next = table;
  for (int32_t first = 0; first < columnCount; first += kSplitColumns) {
    for (int32_t t = 0; t < kSplitColumns; ++t) {
      FillColumn(sines, order, first + t, rowCount, bitRevTable.Get(),
                 columns.Get() + 2 * t * rowCount);
    }
    for (int32_t row = 0; row < rowCount; ++row) {
      for (int32_t t = 0; t < kSplitColumns; ++t) {
        const Element* const root = columns.Get() + 2 * (t * rowCount + row);
        *next++ = root[0];
        *next++ = root[1];
      }
    }
  }
  return table;
}

float* MakeForwardRecombination(const SineTable<float>& sines, int32_t order) {
  const int32_t quarter = int32_t{1} << (order - 2);
  auto* const table = AllocateTable<float>(int64_t{quarter} * 2);
  if (table == nullptr) return nullptr;
  for (int32_t k = 0; k < quarter; ++k) {
    table[2 * k] = 0.5F * sines.sines[quarter - k];
    table[2 * k + 1] = RoundToFloat(0.5 - 0.5 * sines.sines[k]);
  }
  return table;
}

float* MakeInverseRecombination(const SineTable<float>& sines, int32_t order) {
  const int32_t quarter = int32_t{1} << (order - 2);
  auto* const table = AllocateTable<float>(int64_t{quarter} * 2);
  if (table == nullptr) return nullptr;
  for (int32_t k = 0; k < quarter; ++k) {
    table[2 * k] = sines.sines[quarter - k];
    table[2 * k + 1] = -sines.sines[k];
  }
  return table;
}

template float* MakeTwiddleTable(const SineTable<float>&, int32_t);
template double* MakeTwiddleTable(const SineTable<double>&, int32_t);
template float* MakeBlockTable(const SineTable<float>&, int32_t);
template double* MakeBlockTable(const SineTable<double>&, int32_t);
template float* MakeTwistTable(const SineTable<float>&, int32_t, int32_t);
template double* MakeTwistTable(const SineTable<double>&, int32_t, int32_t);

}  // namespace zr::primitives::px
