// Cross-correlation sum by sum, px build. Sums of 16-bit products are integers: exact in 64 bits at
// any length.
#include <algorithm>

#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/filters/correlation_methods.h"
#include "primitives/filters/state_block.h"
#include "primitives/rounding.h"
#include "primitives/status.h"

namespace zr::primitives {
namespace {

int64_t SumOfProducts(const int16_t* a, const int16_t* b, int32_t n) {
  int64_t sum = 0;
  for (int32_t i = 0; i < n; ++i) {
    sum += int32_t{Load(a, i)} * Load(b, i);
  }
  return sum;
}

/// Where both signals are there, as far as they are moved against each other by lag.
int64_t SumAtLag(const CorrelatedSignals& signals, int64_t lag) {
  const int64_t first = std::max<int64_t>(0, -lag);
  const int64_t end = std::min<int64_t>(signals.length1, signals.length2 - lag);
  return SumOfProducts(signals.samples1 + first, signals.samples2 + (first + lag),
                       static_cast<int32_t>(end - first));
}

}  // namespace

int32_t CorrelateDirectly(const CorrelatedSignals& signals, const LagRun& lags, int16_t* d,
                          int32_t scaleFactor) {
  BlockLayout layout;
  const auto place = layout.Add<float>(lags.count);
  uint8_t* const block = layout.Allocate();
  if (block == nullptr) return kStatusNoMemory;
  float* const sums = place.In(block);
  for (int32_t n = 0; n < lags.count; ++n) {
    sums[n] = static_cast<float>(SumAtLag(signals, lags.lowLag + n));
  }
  px::ippsConvert_32f16s_Sfs(sums, d, lags.count, kRoundToNearest, scaleFactor);
  px::ippsFree(block);
  return kStatusOk;
}

}  // namespace zr::primitives
