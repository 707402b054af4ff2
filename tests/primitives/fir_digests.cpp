// FIR filters, their design and the correlation, over random and special inputs.
#include <algorithm>
#include <array>

#include "primitives/filters/correlation.h"
#include "primitives/filters/fir.h"
#include "primitives/filters/fir_design.h"
#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/filter_signals.h"

namespace zr::test {
namespace {

constexpr int32_t kScaleFactors[] = {0, 1, -1, 8, 15, 24, 40};

int32_t ScaleFactor(RandomElements& random) {
  return kScaleFactors[random.Bits() % std::size(kScaleFactors)];
}

void AddCall(Fir32f16s* state, RandomElements& random, std::size_t count, Digest* digest) {
  const std::vector<int16_t> source = RandomSamples(random.Bits(), count);
  std::vector<int16_t> d(count);
  digest->Add(ippsFIR32f_16s_Sfs(source.data(), d.data(), static_cast<int32_t>(count), state,
                                 ScaleFactor(random)));
  digest->Add(d);
}

// Streams through calls of either kind. What set-up and delay lines are like, their own digests
// tell by what is filtered right behind them.
struct FirDigests {
  Digest setUp;
  Digest delayLine;
  Digest free;
  Digest filter;

  void AddFilter(std::size_t tapsLen, uint64_t seed, bool withSpecials) {
    RandomElements random(seed, withSpecials);
    const std::vector<float> taps = RandomTaps(random, tapsLen);
    const std::vector<int16_t> heard = RandomSamples(seed, tapsLen);
    Fir32f16s* state = nullptr;
    setUp.Add(
        ippsFIRInitAlloc32f_16s(&state, taps.data(), static_cast<int32_t>(tapsLen), heard.data()));
    AddCall(state, random, 20, &setUp);
    for (const std::size_t count : {511U, 512U, 700U, 3U, 3000U, 5U})
      AddCall(state, random, count, &filter);
    delayLine.Add(ippsFIRSetDlyLine32f_16s(state, heard.data()));
    AddCall(state, random, 20, &delayLine);
    free.Add(ippsFIRFree32f_16s(state));
  }
};

void PrintCorrelationDigest() {
  Digest digest;
  RandomElements random(1, false);
  for (int run = 0; run < 200; ++run) {
    const std::size_t longest = run % 4 == 0 ? 3000 : 100;
    // Lengths ahead of seeds: among the arguments of one call, either could be drawn first.
    const std::size_t lengthA = RandomLength(random, longest);
    const std::size_t lengthB = RandomLength(random, longest);
    const std::vector<int16_t> a = RandomSamples(random.Bits(), lengthA);
    const std::vector<int16_t> b = RandomSamples(random.Bits(), lengthB);
    const auto len1 = static_cast<int32_t>(a.size());
    std::vector<int16_t> d(RandomLength(random, a.size() + b.size() + 5));
    digest.Add(ippsCrossCorr_16s_Sfs(a.data(), len1, b.data(), static_cast<int32_t>(b.size()),
                                     d.data(), static_cast<int32_t>(d.size()), run % 5 - len1,
                                     ScaleFactor(random)));
    digest.Add(d);
  }
  digest.Print("ippsCrossCorr_16s_Sfs");
}

void PrintDesignDigest() {
  Digest digest;
  RandomElements random(1, false);
  for (const double rFreq : {4.9e-324, 1e-310, 1e-300, 1e-30, 1e-9, 0.0123, 0.1, 0.25, 0.26, 0.3,
                             0.49999999, 0.5, 0.6, 0.0}) {
    for (const int32_t tapsLen : {4, 5, 6, 7, 32, 33, 1000, 1001, 20001}) {
      for (int32_t winType = 0; winType <= 4; ++winType) {
        for (const int32_t doNormal : {0, 1}) {
          const double anywhere = std::ldexp(static_cast<double>(random.Bits() >> 11), -54);
          for (const double cutoff : {rFreq, anywhere}) {
            std::vector<double> taps(static_cast<std::size_t>(tapsLen), -1.0);
            digest.Add(ippsFIRGenLowpass_64f(cutoff, taps.data(), tapsLen, winType, doNormal));
            digest.Add(taps);
          }
        }
      }
    }
  }
  digest.Print("ippsFIRGenLowpass_64f");
}

}  // namespace

void PrintFirDigests() {
  FirDigests filters;
  for (const std::size_t tapsLen : {1U, 2U, 5U, 8U, 63U, 64U, 65U, 128U, 500U, 1100U, 2500U}) {
    filters.AddFilter(tapsLen, tapsLen, false);
    filters.AddFilter(tapsLen, tapsLen + 1, true);
  }
  filters.setUp.Print("ippsFIRInitAlloc32f_16s");
  filters.delayLine.Print("ippsFIRSetDlyLine32f_16s");
  filters.free.Print("ippsFIRFree32f_16s");
  filters.filter.Print("ippsFIR32f_16s_Sfs");
  PrintCorrelationDigest();
  PrintDesignDigest();
}

}  // namespace zr::test
