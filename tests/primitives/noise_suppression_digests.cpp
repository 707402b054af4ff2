// Noise suppression, over random and special inputs: the trackers' whole states show every bit.
#include "primitives/filters/noise_suppression.h"
#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/random_elements.h"

namespace zr::test {
namespace {

void PrintTrackerDigests() {
  Digest getSize;
  Digest setUp;
  Digest update;
  for (const int32_t frameLength : {8, 9, 100, 256, 1000, 4096, 8192}) {
    int32_t size = 0;
    getSize.Add(ippsGetSizeMCRA_32s(frameLength, &size));
    getSize.Add(size);
    for (const int32_t rate : {8000, 11025, 16000, 44100, 48000}) {
      std::vector<int32_t> memory(static_cast<std::size_t>(size) / sizeof(int32_t));
      auto* const state = reinterpret_cast<NoiseTracker32s*>(memory.data());
      setUp.Add(ippsInitMCRA_32s(rate, frameLength, state));
      setUp.Add(memory);
      RandomElements random(static_cast<uint64_t>(rate), false);
      std::vector<int32_t> noisy(static_cast<std::size_t>(frameLength / 2 + 1));
      std::vector<int32_t> noise(noisy.size());
      for (int frame = 0; frame < 150; ++frame) {
        for (int32_t& power : noisy) {
          const auto shift = random.Bits() % 24;
          power = random.Next<int32_t>() >> shift;
          if (frame < 140) power &= std::numeric_limits<int32_t>::max();
        }
        update.Add(ippsUpdateNoisePSDMCRA_32s_I(noisy.data(), state, noise.data()));
        update.Add(noise);
      }
      update.Add(memory);
    }
  }
  getSize.Print("ippsGetSizeMCRA_32s");
  setUp.Print("ippsInitMCRA_32s");
  update.Print("ippsUpdateNoisePSDMCRA_32s_I");
}

void PrintGainDigests() {
  constexpr int32_t kLength = 60000;
  Digest wiener;
  Digest ephraimMalah;
  RandomElements random(1, false);
  std::vector<int32_t> priors;
  std::vector<int32_t> gains;
  std::vector<int32_t> posteriors;
  for (int32_t i = 0; i < kLength; ++i) {
    priors.push_back(random.Next<int32_t>() >> i % 31);
    gains.push_back((random.Next<int32_t>() & std::numeric_limits<int32_t>::max()) >> i % 31);
    posteriors.push_back(1 + static_cast<int32_t>(random.Bits() % 0x40000000 >> i % 29));
  }
  std::vector<int32_t> d(kLength);
  wiener.Add(ippsFilterUpdateWiener_32s(priors.data(), d.data(), kLength));
  wiener.Add(d);
  ephraimMalah.Add(ippsFilterUpdateEMNS_32s(gains.data(), posteriors.data(), d.data(), kLength));
  ephraimMalah.Add(d);
  wiener.Print("ippsFilterUpdateWiener_32s");
  ephraimMalah.Print("ippsFilterUpdateEMNS_32s");
}

}  // namespace

void PrintNoiseSuppressionDigests() {
  PrintTrackerDigests();
  PrintGainDigests();
}

}  // namespace zr::test
