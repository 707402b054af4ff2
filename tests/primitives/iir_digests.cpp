// IIR filters of every kind, over random and special inputs.
#include "primitives/filters/iir.h"

#include <map>
#include <string>

#include "tests/primitives/digest.h"
#include "tests/primitives/family_digests.h"
#include "tests/primitives/filter_signals.h"

namespace zr::test {
namespace {

// A factor that shows small outputs' fractions, and one that shows large outputs.
constexpr int32_t kScaleFactors[] = {0, 1, -9, 14, 30, 127};

// What set-up and delay elements are like, their own digests tell by what is filtered behind them.
class IirDigests {
 public:
  void AddFilter(int32_t order, uint64_t seed, bool withSpecials) {
    RandomElements random(seed, withSpecials);
    std::vector<float> taps = RandomTaps(random, 2U * static_cast<uint32_t>(order) + 2);
    // Of such feedback every filter would be infinite in no time.
    for (std::size_t k = static_cast<std::size_t>(order) + 2; k < taps.size() && !withSpecials; ++k)
      taps[k] = taps[static_cast<std::size_t>(order) + 1] * (k % 2 == 0 ? 0.3F : -0.2F);
    const std::vector<float> delay = RandomTaps(random, static_cast<std::size_t>(order) + 1);
    const auto add = [&](const char* name, auto filter, auto* state, std::size_t count) {
      const std::vector<int16_t> source = RandomSamples(random.Bits(), count);
      std::vector<int16_t> d = source;
      const int32_t scaleFactor = kScaleFactors[random.Bits() % std::size(kScaleFactors)];
      const auto length = static_cast<int32_t>(count);
      digests_[name].Add(filter(source.data(), d.data(), length, state, scaleFactor));
      digests_[name].Add(d);
    };

    Iir32f16s* floats = nullptr;
    digests_["ippsIIRInitAlloc32f_16s"].Add(
        ippsIIRInitAlloc32f_16s(&floats, taps.data(), order, delay.data()));
    add("ippsIIRInitAlloc32f_16s", ippsIIR32f_16s_Sfs, floats, 20);
    const auto inPlace = [](const int16_t*, int16_t* d, int32_t n, Iir32f16s* state,
                            int32_t scaleFactor) {
      return ippsIIR32f_16s_ISfs(d, n, state, scaleFactor);
    };
    for (const std::size_t count : {1U, 2U, 7U, 100U}) {
      add("ippsIIR32f_16s_Sfs", ippsIIR32f_16s_Sfs, floats, count);
      add("ippsIIR32f_16s_ISfs", inPlace, floats, count);
    }
    digests_["ippsIIRSetDlyLine32f_16s"].Add(ippsIIRSetDlyLine32f_16s(floats, delay.data()));
    add("ippsIIRSetDlyLine32f_16s", ippsIIR32f_16s_Sfs, floats, 20);
    digests_["ippsIIRFree32f_16s"].Add(ippsIIRFree32f_16s(floats));

    Iir32s16s* integers = nullptr;
    digests_["ippsIIRInitAlloc32s_16s32f"].Add(
        ippsIIRInitAlloc32s_16s32f(&integers, taps.data(), order, delay.data()));
    add("ippsIIRInitAlloc32s_16s32f", ippsIIR32s_16s_Sfs, integers, 20);
    for (const std::size_t count : {1U, 2U, 7U, 100U})
      add("ippsIIR32s_16s_Sfs", ippsIIR32s_16s_Sfs, integers, count);
    digests_["ippsIIRFree32s_16s"].Add(ippsIIRFree32s_16s(integers));

    Iir32f* forFloatData = nullptr;
    digests_["ippsIIRInitAlloc_32f"].Add(
        ippsIIRInitAlloc_32f(&forFloatData, taps.data(), order, delay.data()));
    digests_["ippsIIRFree_32f"].Add(ippsIIRFree_32f(forFloatData));
  }

  void Print() const {
    for (const auto& [name, digest] : digests_)
      digest.Print(name.c_str());
  }

 private:
  std::map<std::string, Digest> digests_;
};

}  // namespace

void PrintIirDigests() {
  IirDigests digests;
  for (int32_t order = 0; order < 12; ++order) {
    for (uint64_t seed = 0; seed < 20; ++seed)
      digests.AddFilter(order, seed, seed % 2 == 0);
  }
  digests.Print();
}

}  // namespace zr::test
