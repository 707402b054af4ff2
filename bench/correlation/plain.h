// The cross-correlation as the plainest loop, with the bits of our direct sums.
#pragma once

#include "primitives/filters/correlation_methods.h"

namespace zr::bench {

int32_t CorrelatePlainly(const primitives::CorrelatedSignals& signals,
                         const primitives::LagRun& lags, int16_t* d, int32_t scaleFactor);

}  // namespace zr::bench
