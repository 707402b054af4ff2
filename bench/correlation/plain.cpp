#include "bench/correlation/plain.h"

#include <algorithm>
#include <cmath>

namespace zr::bench {

int32_t CorrelatePlainly(const primitives::CorrelatedSignals& signals,
                         const primitives::LagRun& lags, int16_t* d, int32_t scaleFactor) {
  const float scale = std::ldexp(1.0F, -scaleFactor);
  for (int32_t n = 0; n < lags.count; ++n) {
    const int64_t lag = lags.lowLag + n;
    const int64_t first = std::max<int64_t>(0, -lag);
    const int64_t end = std::min<int64_t>(signals.length1, signals.length2 - lag);
    int64_t sum = 0;
    for (int64_t i = first; i < end; ++i) {
      sum += int32_t{signals.samples1[i]} * int32_t{signals.samples2[i + lag]};
    }
    const float rounded = std::nearbyintf(static_cast<float>(sum) * scale);
    d[n] = static_cast<int16_t>(std::clamp(rounded, -32768.0F, 32767.0F));
  }
  return 0;
}

}  // namespace zr::bench
