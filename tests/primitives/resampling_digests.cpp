// Changes of the sampling rate, over many ratios, windows and places. An impulse shows the taps.
#include "primitives/filters/resampling.h"

#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/filter_signals.h"

namespace zr::test {
namespace {

void PrintSampleRateDigests() {
  Digest down;
  Digest up;
  RandomElements random(1, false);
  for (int32_t factor = 1; factor <= 12; ++factor) {
    for (int run = 0; run < 20; ++run) {
      const std::size_t count = RandomLength(random, 60);
      const std::vector<int16_t> source = RandomSamples(random.Bits(), count);
      const auto srcLen = static_cast<int32_t>(source.size());
      int32_t phase = run % factor;
      int32_t dstLen = 0;
      std::vector<int16_t> d(source.size() * static_cast<std::size_t>(factor));
      up.Add(ippsSampleUp_16s(source.data(), srcLen, d.data(), &dstLen, factor, &phase));
      up.Add(dstLen);
      up.Add(d);
      down.Add(ippsSampleDown_16s(source.data(), srcLen, d.data(), &dstLen, factor, &phase));
      down.Add(dstLen);
      down.Add(phase);
      down.Add(d);
    }
  }
  down.Print("ippsSampleDown_16s");
  up.Print("ippsSampleUp_16s");
}

struct ResamplerDigests {
  Digest setUp;
  Digest run;
  Digest free;

  void Add(int32_t inRate, int32_t outRate, int32_t len, float rolloff, float alpha, int32_t hint) {
    Resampler16s* state = nullptr;
    setUp.Add(ippsResamplePolyphaseFixedInitAlloc_16s(&state, inRate, outRate, len, rolloff, alpha,
                                                      hint));
    const int32_t half = (len + 3) / 4 * 2;
    RandomElements random(static_cast<uint64_t>(len), false);
    const auto size = static_cast<std::size_t>(half);
    std::vector<int16_t> impulse(2 * size + 8);
    impulse[size + 2] = 32767;
    // Many fractions of a unit: each tap shows more of its bits than a sample has.
    for (const float norm : {1.0F, 1000.0F, 3.0e6F, 3.0e9F})
      AddRun(state, impulse, 8, half + 0.1, norm, &setUp);
    for (int call = 0; call < 10; ++call) {
      const std::size_t count = RandomLength(random, 300);
      const std::vector<int16_t> source = RandomSamples(random.Bits(), count + 2 * size + 1);
      const double time = half + static_cast<double>(random.Bits() % 1000) / 1000;
      AddRun(state, source, static_cast<int32_t>(count), time,
             0.75F + 0.125F * static_cast<float>(call), &run);
    }
    free.Add(ippsResamplePolyphaseFixedFree_16s(state));
  }

 private:
  static void AddRun(const Resampler16s* state, const std::vector<int16_t>& source, int32_t len,
                     double time, float norm, Digest* digest) {
    std::vector<int16_t> d(static_cast<std::size_t>(len) * 12 + 2);
    int32_t outLen = -1;
    digest->Add(
        ippsResamplePolyphaseFixed_16s(state, source.data(), len, d.data(), norm, &time, &outLen));
    digest->Add(d);
    digest->Add(time);
    digest->Add(outLen);
  }
};

}  // namespace

void PrintResamplingDigests() {
  PrintSampleRateDigests();
  ResamplerDigests digests;
  constexpr int32_t kRatios[][2] = {{1, 1},         {2, 1},         {1, 2},  {3, 2},
                                    {44100, 48000}, {48000, 44100}, {7, 11}, {8000, 96000},
                                    {100, 3},       {16000, 11025}};
  for (const auto& [inRate, outRate] : kRatios) {
    for (const int32_t len : {1, 4, 5, 30}) {
      for (const float rolloff : {1e-45F, 0.3F, 0.95F, 1.0F}) {
        for (const float alpha : {1.0F, 9.0F, 650.0F, 720.0F, 3.0e38F}) {
          for (const int32_t hint : {0, 2})
            digests.Add(inRate, outRate, len, rolloff, alpha, hint);
        }
      }
    }
  }
  digests.setUp.Print("ippsResamplePolyphaseFixedInitAlloc_16s");
  digests.run.Print("ippsResamplePolyphaseFixed_16s");
  digests.free.Print("ippsResamplePolyphaseFixedFree_16s");
}

}  // namespace zr::test
