// The recursive and the adaptive filter of liquid-dsp.
#include <complex>
// After it, as the header then uses C++'s complex numbers.
#include <liquid/liquid.h>

#include <type_traits>

#include "bench/filters/streams.h"
#include "primitives/conversion.h"
#include "primitives/rounding.h"

namespace zr::bench {
namespace {

/// filter(samples) turns a block of floats into its output, in place.
template <typename FilterFloats>
Stream WithConversions(const Samples& block, FilterFloats filter) {
  const auto samples = SharedBuffer<float>(block->size());
  const auto outputs = SharedBuffer<int16_t>(block->size());
  return [=] {
    const auto length = static_cast<int32_t>(block->size());
    ippsConvert_16s32f(block->data(), samples->data(), length);
    filter(samples->data());
    ippsConvert_32f16s_Sfs(samples->data(), outputs->data(), length, primitives::kRoundToNearest,
                           /*scaleFactor=*/0);
    return BytesOf(*outputs);
  };
}

}  // namespace

Stream LiquidIir(const IirSetUp& setUp, const Samples& block) {
  IirSetUp own = setUp;
  const auto count = static_cast<unsigned>(own.b.size());
  const std::shared_ptr<std::remove_pointer_t<iirfilt_rrrf>> filter(
      iirfilt_rrrf_create(own.b.data(), count, own.a.data(), count), &iirfilt_rrrf_destroy);
  return WithConversions(block, [=](float* samples) {
    iirfilt_rrrf_execute_block(filter.get(), samples, static_cast<unsigned>(block->size()),
                               samples);
  });
}

/// A normalised form: the step is divided by the power of what is in the delay line.
Stream LiquidLms(const LmsSetUp& setUp, const Samples& block) {
  std::vector<float> silence(static_cast<std::size_t>(setUp.taps));
  const std::shared_ptr<std::remove_pointer_t<eqlms_rrrf>> filter(
      eqlms_rrrf_create(silence.data(), static_cast<unsigned>(setUp.taps)), &eqlms_rrrf_destroy);
  eqlms_rrrf_set_bw(filter.get(), 0.1F);
  const auto reference =
      std::make_shared<std::vector<float>>(setUp.reference->begin(), setUp.reference->end());
  return WithConversions(block, [=](float* samples) {
    for (std::size_t n = 0; n < block->size(); ++n) {
      float y = 0.0F;
      eqlms_rrrf_push(filter.get(), samples[n]);
      eqlms_rrrf_execute(filter.get(), &y);
      eqlms_rrrf_step(filter.get(), (*reference)[n], y);
      samples[n] = y;
    }
  });
}

}  // namespace zr::bench
