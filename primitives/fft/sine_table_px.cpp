// The quarter wave, px build. Both of its ends are accurate, as each comes from the function that
// is near 0 or near 1 there.
#include "primitives/fft/sine_table.h"

#include <type_traits>

#include "primitives/fft/sine.h"
#include "primitives/fft/table_memory.h"
#include "primitives/rounding.h"

namespace zr::primitives::px {
namespace {

template <typename Element>
Element Rounded(double value) {
  if constexpr (std::is_same_v<Element, float>) {
    return RoundToFloat(value);
  } else {
    return value;
  }
}

}  // namespace

template <typename Element>
Element* MakeSines(int32_t order) {
  const int32_t n = int32_t{1} << order;
  const int32_t quarter = n / 4;
  auto* const sines = AllocateTable<Element>(int64_t{quarter} + 1);
  if (sines == nullptr) return nullptr;
  const double step = 6.283185307179586 / n;
  for (int32_t k = 0; k <= n / 8; ++k)
    sines[k] = Rounded<Element>(SineWithinEighth(k * step));
  for (int32_t k = n / 8 + 1; k <= quarter; ++k)
    sines[k] = Rounded<Element>(CosineWithinEighth((quarter - k) * step));
  return sines;
}

template float* MakeSines(int32_t);
template double* MakeSines(int32_t);

}  // namespace zr::primitives::px
