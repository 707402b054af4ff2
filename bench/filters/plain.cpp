// Plain loops of the recursive and adaptive filters and of the wavelet transform: sums in double
// precision from the oldest sample on.
#include <algorithm>
#include <cmath>

#include "bench/filters/streams.h"

namespace zr::bench {
namespace {

double Limited(double value) {
  return std::clamp(value, -32768.0, 32767.0);
}
int16_t RoundedAway(double value) {
  const double limited = Limited(value);
  return static_cast<int16_t>(limited < 0.0 ? limited - 0.5 : limited + 0.5);
}

/// Lays the next block behind the last of the one before it. A signal begins with zeros.
template <typename Sample>
void Continue(std::vector<float>* signal, const std::vector<Sample>& block) {
  const auto past = static_cast<std::ptrdiff_t>(signal->size() - block.size());
  std::copy(signal->end() - past, signal->end(), signal->begin());
  std::copy(block.begin(), block.end(), signal->begin() + past);
}

}  // namespace

Stream PlainIir(const IirSetUp& setUp, const Samples& block) {
  const auto order = static_cast<int32_t>(setUp.b.size()) - 1;
  const auto delay = SharedBuffer<float>(setUp.b.size());
  const auto outputs = SharedBuffer<int16_t>(block->size());
  return [=] {
    const float* const b = setUp.b.data();
    const float* const a = setUp.a.data();
    float* const d = delay->data();
    for (std::size_t n = 0; n < block->size(); n += 2) {
      const double x0 = (*block)[n];
      const double x1 = (*block)[n + 1];
      const double y0 = b[0] * x0 + d[0];
      const double y1 = b[0] * x1 + (b[1] * x0 - a[1] * y0 + d[1]);
      for (int32_t k = 0; k < order - 1; ++k) {
        d[k] = static_cast<float>(b[k + 1] * x1 - a[k + 1] * y1 + b[k + 2] * x0 - a[k + 2] * y0 +
                                  d[k + 2]);
      }
      d[order - 1] = static_cast<float>(b[order] * x1 - a[order] * y1);
      (*outputs)[n] = RoundedAway(y0);
      (*outputs)[n + 1] = RoundedAway(y1);
    }
    return BytesOf(*outputs);
  };
}

Stream PlainLms(const LmsSetUp& setUp, const Samples& block) {
  const auto past = static_cast<std::size_t>(setUp.taps) - 1;
  const auto signal = SharedBuffer<float>(past + block->size());
  const auto taps = SharedBuffer<float>(static_cast<std::size_t>(setUp.taps));
  const auto outputs = SharedBuffer<int16_t>(block->size());
  return [=] {
    Continue(signal.get(), *block);
    float* const h = taps->data();  // That of the oldest sample first.
    for (std::size_t n = 0; n < block->size(); ++n) {
      const float* const x = signal->data() + n;
      double y = 0.0;
      for (int32_t j = 0; j < setUp.taps; ++j) {
        y += static_cast<double>(h[j]) * x[j];
      }
      (*outputs)[n] = static_cast<int16_t>(Limited(y));
      const double step = ((*setUp.reference)[n] - y) * (2.0 * setUp.mu);
      for (int32_t j = 0; j < setUp.taps; ++j) {
        h[j] = static_cast<float>(h[j] + step * x[j]);
      }
    }
    return BytesOf(*outputs);
  };
}

Stream PlainAnalysis(const WaveletSetUp& setUp, const Samples& block) {
  const std::size_t past = setUp.low.size() - 1;
  const auto signal = SharedBuffer<float>(past + block->size());
  const auto bands = SharedBuffer<float>(block->size());
  return [=] {
    Continue(signal.get(), *block);
    const std::size_t half = block->size() / 2;
    for (std::size_t k = 0; k < half; ++k) {
      const float* const newest = signal->data() + (past + 2 * k);
      double low = 0.0;
      double high = 0.0;
      for (auto j = static_cast<std::ptrdiff_t>(past); j >= 0; --j) {
        low += static_cast<double>(setUp.low[static_cast<std::size_t>(j)]) * newest[-j];
        high += static_cast<double>(setUp.high[static_cast<std::size_t>(j)]) * newest[-j];
      }
      (*bands)[k] = static_cast<float>(low);
      (*bands)[half + k] = static_cast<float>(high);
    }
    return BytesOf(*bands);
  };
}

Stream PlainSynthesis(const WaveletSetUp& setUp, const std::shared_ptr<const Bands>& block) {
  const std::size_t past = setUp.low.size() / 2 - 1;
  const std::size_t length = block->low.size();
  const auto low = SharedBuffer<float>(past + length);
  const auto high = SharedBuffer<float>(past + length);
  const auto outputs = SharedBuffer<int16_t>(2 * length);
  return [=] {
    Continue(low.get(), block->low);
    Continue(high.get(), block->high);
    for (std::size_t m = 0; m < 2 * length; ++m) {
      const float* const newestLow = low->data() + (past + m / 2);
      const float* const newestHigh = high->data() + (past + m / 2);
      double lowSum = 0.0;
      double highSum = 0.0;
      for (auto j = static_cast<std::ptrdiff_t>(past); j >= 0; --j) {
        const std::size_t tap = 2 * static_cast<std::size_t>(j) + m % 2;
        lowSum += static_cast<double>(setUp.low[tap]) * newestLow[-j];
        highSum += static_cast<double>(setUp.high[tap]) * newestHigh[-j];
      }
      const auto sum = static_cast<float>(static_cast<float>(lowSum) + highSum);
      (*outputs)[m] = static_cast<int16_t>(std::nearbyint(Limited(sum)));
    }
    return BytesOf(*outputs);
  };
}

}  // namespace zr::bench
