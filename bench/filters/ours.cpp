// The primitives as streams.
#include <cstdlib>
#include <utility>

#include "bench/filters/streams.h"
#include "primitives/filters/iir.h"
#include "primitives/filters/lms.h"
#include "primitives/filters/noise_suppression.h"
#include "primitives/filters/wavelet.h"

namespace zr::bench {
namespace {

/// The state that initialise(&state) makes, freed by `free`.
template <typename State, typename Initialise>
std::shared_ptr<State> SharedState(Initialise initialise, int32_t (*free)(State*)) {
  State* state = nullptr;
  if (initialise(&state) != 0) std::abort();
  return {state, free};
}

template <typename State>
std::shared_ptr<State> SharedIir(const IirSetUp& setUp,
                                 int32_t (*initialise)(State**, const float*, int32_t,
                                                       const float*),
                                 int32_t (*free)(State*)) {
  std::vector<float> taps = setUp.b;
  taps.insert(taps.end(), setUp.a.begin(), setUp.a.end());
  const auto order = static_cast<int32_t>(setUp.b.size()) - 1;
  return SharedState<State>(
      [&](State** state) { return initialise(state, taps.data(), order, nullptr); }, free);
}

int32_t LengthOf(const Samples& block) {
  return static_cast<int32_t>(block->size());
}

}  // namespace

Stream OurIir(const IirSetUp& setUp, const Samples& block) {
  const auto state = SharedIir(setUp, &ippsIIRInitAlloc32f_16s, &ippsIIRFree32f_16s);
  const auto outputs = SharedBuffer<int16_t>(block->size());
  return [=] {
    ippsIIR32f_16s_Sfs(block->data(), outputs->data(), LengthOf(block), state.get(), 0);
    return BytesOf(*outputs);
  };
}

Stream OurIirInPlace(const IirSetUp& setUp, const Samples& block) {
  const auto state = SharedIir(setUp, &ippsIIRInitAlloc32f_16s, &ippsIIRFree32f_16s);
  const auto outputs = SharedBuffer<int16_t>(block->size());
  return [=] {
    *outputs = *block;
    ippsIIR32f_16s_ISfs(outputs->data(), LengthOf(block), state.get(), 0);
    return BytesOf(*outputs);
  };
}

Stream OurIirOf32s(const IirSetUp& setUp, const Samples& block) {
  const auto state = SharedIir(setUp, &ippsIIRInitAlloc32s_16s32f, &ippsIIRFree32s_16s);
  const auto outputs = SharedBuffer<int16_t>(block->size());
  return [=] {
    ippsIIR32s_16s_Sfs(block->data(), outputs->data(), LengthOf(block), state.get(), 0);
    return BytesOf(*outputs);
  };
}

Stream OurLms(const LmsSetUp& setUp, const Samples& block) {
  const auto state = SharedState<Lms32f16s>(
      [&](Lms32f16s** made) {
        return ippsFIRLMSInitAlloc32f_16s(made, nullptr, setUp.taps, nullptr, 0);
      },
      &ippsFIRLMSFree32f_16s);
  const auto outputs = SharedBuffer<int16_t>(block->size());
  return [=] {
    ippsFIRLMS32f_16s(block->data(), setUp.reference->data(), outputs->data(), LengthOf(block),
                      setUp.mu, state.get());
    return BytesOf(*outputs);
  };
}

Stream OurAnalysis(const WaveletSetUp& setUp, const Samples& block) {
  const auto taps = static_cast<int32_t>(setUp.low.size());
  const auto state = SharedState<WaveletForward16s>(
      [&](WaveletForward16s** made) {
        return ippsWTFwdInitAlloc_16s32f(made, setUp.low.data(), taps, 0, setUp.high.data(), taps,
                                         0);
      },
      &ippsWTFwdFree_16s32f);
  const auto bands = SharedBuffer<float>(block->size());
  return [=] {
    const int32_t half = LengthOf(block) / 2;
    ippsWTFwd_16s32f(block->data(), bands->data(), bands->data() + half, half, state.get());
    return BytesOf(*bands);
  };
}

Stream OurSynthesis(const WaveletSetUp& setUp, const std::shared_ptr<const Bands>& block) {
  const auto taps = static_cast<int32_t>(setUp.low.size());
  const auto state = SharedState<WaveletInverse16s>(
      [&](WaveletInverse16s** made) {
        return ippsWTInvInitAlloc_32f16s(made, setUp.low.data(), taps, 0, setUp.high.data(), taps,
                                         0);
      },
      &ippsWTInvFree_32f16s);
  const auto outputs = SharedBuffer<int16_t>(2 * block->low.size());
  return [=] {
    ippsWTInv_32f16s(block->low.data(), block->high.data(), static_cast<int32_t>(block->low.size()),
                     outputs->data(), state.get());
    return BytesOf(*outputs);
  };
}

Stream OurNoiseTracker(const Spectra& frames) {
  int32_t size = 0;
  ippsGetSizeMCRA_32s(kNoiseFrame, &size);
  const auto memory = SharedBuffer<int32_t>(static_cast<std::size_t>(size) / sizeof(int32_t) + 1);
  auto* const tracker = reinterpret_cast<NoiseTracker32s*>(memory->data());
  if (ippsInitMCRA_32s(kNoiseRate, kNoiseFrame, tracker) != 0) std::abort();
  const auto noise = SharedBuffer<int32_t>(kNoiseBins);
  return [=] {
    for (std::size_t k = 0; k < frames->size(); k += kNoiseBins) {
      ippsUpdateNoisePSDMCRA_32s_I(
          frames->data() + k, reinterpret_cast<NoiseTracker32s*>(memory->data()), noise->data());
    }
    return BytesOf(*noise);
  };
}

}  // namespace zr::bench
