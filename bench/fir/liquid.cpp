// The two FIR filters of liquid-dsp.
#include <complex>
// After it, as the header then uses C++'s complex numbers.
#include <liquid/liquid.h>

#include <memory>
#include <type_traits>

#include "bench/fir/filters.h"
#include "primitives/conversion.h"
#include "primitives/rounding.h"

namespace zr::bench {
namespace {

/// filter(samples) turns blockLength floats into its output, in place.
template <typename FilterFloats>
Filter WithConversions(int32_t blockLength, FilterFloats filter) {
  const auto samples = std::make_shared<std::vector<float>>(blockLength);
  return [=](const int16_t* source, int16_t* destination) {
    ippsConvert_16s32f(source, samples->data(), blockLength);
    filter(samples->data());
    ippsConvert_32f16s_Sfs(samples->data(), destination, blockLength, primitives::kRoundToNearest,
                           /*scaleFactor=*/0);
  };
}

}  // namespace

Filter LiquidFilter(const std::vector<float>& taps, int32_t blockLength) {
  std::vector<float> ownTaps = taps;
  const std::shared_ptr<std::remove_pointer_t<firfilt_rrrf>> filter(
      firfilt_rrrf_create(ownTaps.data(), static_cast<unsigned>(ownTaps.size())),
      &firfilt_rrrf_destroy);
  return WithConversions(blockLength, [=](float* samples) {
    firfilt_rrrf_execute_block(filter.get(), samples, static_cast<unsigned>(blockLength), samples);
  });
}

Filter LiquidTransformFilter(const std::vector<float>& taps, int32_t blockLength) {
  const auto tapsLength = static_cast<int32_t>(taps.size());
  if (blockLength < tapsLength - 1) return {};
  std::vector<float> ownTaps = taps;
  const std::shared_ptr<std::remove_pointer_t<fftfilt_rrrf>> filter(
      fftfilt_rrrf_create(ownTaps.data(), static_cast<unsigned>(tapsLength),
                          static_cast<unsigned>(blockLength)),
      &fftfilt_rrrf_destroy);
  return WithConversions(
      blockLength, [=](float* samples) { fftfilt_rrrf_execute(filter.get(), samples, samples); });
}

}  // namespace zr::bench
