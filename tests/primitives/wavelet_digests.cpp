// Two-band filter banks, over random and special taps and bands. What set-up is like, its own
// digest tells by what comes out right behind it.
#include "primitives/filters/wavelet.h"

#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/filter_signals.h"

namespace zr::test {
namespace {

struct WaveletDigests {
  Digest inverseSetUp;
  Digest forwardSetUp;
  Digest inverseFree;
  Digest forwardFree;
  Digest inverse;
  Digest forward;

  void AddBank(int32_t lenLow, int32_t lenHigh, uint64_t seed) {
    RandomElements random(seed, seed % 2 == 0);
    const std::vector<float> low = RandomTaps(random, static_cast<std::size_t>(lenLow));
    const std::vector<float> high = RandomTaps(random, static_cast<std::size_t>(lenHigh));
    const auto offset = [&random] { return static_cast<int32_t>(random.Bits() % 20) - 1; };
    const int32_t offsLow = offset();
    const int32_t offsHigh = offset();
    WaveletForward16s* split = nullptr;
    WaveletInverse16s* join = nullptr;
    forwardSetUp.Add(ippsWTFwdInitAlloc_16s32f(&split, low.data(), lenLow, offsLow, high.data(),
                                               lenHigh, offsHigh));
    inverseSetUp.Add(ippsWTInvInitAlloc_32f16s(&join, low.data(), lenLow, offsLow, high.data(),
                                               lenHigh, offsHigh));
    for (const int32_t count : {20, 1, 600, 3}) {
      const auto size = static_cast<std::size_t>(count);
      const std::vector<int16_t> x = RandomSamples(random.Bits(), 2 * size);
      std::vector<float> y(size);
      std::vector<float> z(size);
      Digest* const ofForward = count == 20 ? &forwardSetUp : &forward;
      ofForward->Add(ippsWTFwd_16s32f(x.data(), y.data(), z.data(), count, split));
      ofForward->Add(y);
      ofForward->Add(z);
      y = RandomTaps(random, size);
      z = RandomTaps(random, size);
      std::vector<int16_t> joined(2 * size);
      Digest* const ofInverse = count == 20 ? &inverseSetUp : &inverse;
      ofInverse->Add(ippsWTInv_32f16s(y.data(), z.data(), count, joined.data(), join));
      ofInverse->Add(joined);
    }
    forwardFree.Add(ippsWTFwdFree_16s32f(split));
    inverseFree.Add(ippsWTInvFree_32f16s(join));
  }
};

}  // namespace

void PrintWaveletDigests() {
  WaveletDigests digests;
  for (int32_t length = 1; length <= 40; ++length) {
    for (uint64_t seed = 0; seed < 6; ++seed)
      digests.AddBank(length, 1 + (length * 7 + static_cast<int32_t>(seed)) % 40, seed);
  }
  digests.inverseSetUp.Print("ippsWTInvInitAlloc_32f16s");
  digests.forwardSetUp.Print("ippsWTFwdInitAlloc_16s32f");
  digests.inverseFree.Print("ippsWTInvFree_32f16s");
  digests.forwardFree.Print("ippsWTFwdFree_16s32f");
  digests.inverse.Print("ippsWTInv_32f16s");
  digests.forward.Print("ippsWTFwd_16s32f");
}

}  // namespace zr::test
