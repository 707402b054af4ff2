// The adaptive filter, over random and special inputs: its taps show every bit.
#include "primitives/filters/lms.h"
#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/filter_signals.h"

namespace zr::test {

void PrintLmsDigests() {
  Digest setUp;
  Digest free;
  Digest getTaps;
  Digest filter;
  for (const uint32_t tapsLen : {1U, 2U, 3U, 4U, 5U, 8U, 32U, 80U, 200U}) {
    for (uint64_t seed = 0; seed < 20; ++seed) {
      RandomElements random(seed, seed % 2 == 0);
      const std::vector<float> taps = RandomTaps(random, tapsLen);
      const std::vector<int16_t> ring = RandomSamples(seed, tapsLen);
      const auto index = static_cast<int32_t>(random.Bits() % tapsLen);
      Lms32f16s* state = nullptr;
      setUp.Add(ippsFIRLMSInitAlloc32f_16s(&state, taps.data(), static_cast<int32_t>(tapsLen),
                                           ring.data(), index));
      std::vector<float> learnt(tapsLen);
      const auto addTaps = [&](Digest* digest) {
        digest->Add(ippsFIRLMSGetTaps32f_16s(state, learnt.data()));
        digest->Add(learnt);
      };
      addTaps(&setUp);
      for (int call = 0; call < 5; ++call) {
        const std::size_t count = RandomLength(random, 100);
        const std::vector<int16_t> source = RandomSamples(random.Bits(), count);
        const std::vector<int16_t> reference = RandomSamples(random.Bits(), count);
        const bool isAnyStep = seed % 4 == 0;
        const float mu = isAnyStep ? random.Next<float>() : 1e-10F / static_cast<float>(tapsLen);
        std::vector<int16_t> d(count);
        filter.Add(ippsFIRLMS32f_16s(source.data(), reference.data(), d.data(),
                                     static_cast<int32_t>(count), mu, state));
        filter.Add(d);
        addTaps(&getTaps);
      }
      free.Add(ippsFIRLMSFree32f_16s(state));
    }
  }
  setUp.Print("ippsFIRLMSInitAlloc32f_16s");
  free.Print("ippsFIRLMSFree32f_16s");
  getTaps.Print("ippsFIRLMSGetTaps32f_16s");
  filter.Print("ippsFIRLMS32f_16s");
}

}  // namespace zr::test
