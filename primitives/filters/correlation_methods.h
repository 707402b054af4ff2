// The two ways to correlate: sum by sum, and through the Fourier transform.
#pragma once

#include <cstdint>

namespace zr::primitives {

struct CorrelatedSignals {
  const int16_t* samples1;
  int32_t length1;
  const int16_t* samples2;
  int32_t length2;
};

/// The lags from lowLag on, count of them, each with overlap.
struct LagRun {
  int64_t lowLag;
  int32_t count;
};

/// d: lags.count samples. Returns kStatusOk, or the status of memory or a transform that is not to
/// be had, with nothing written.
int32_t CorrelateDirectly(const CorrelatedSignals& signals, const LagRun& lags, int16_t* d,
                          int32_t scaleFactor);
int32_t CorrelateByTransform(const CorrelatedSignals& signals, const LagRun& lags, int16_t* d,
                             int32_t scaleFactor);

}  // namespace zr::primitives
