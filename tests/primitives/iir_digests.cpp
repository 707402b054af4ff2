// IIR filters of every kind, over random and special inputs.
#include "primitives/filters/iir.h"
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
    AddFloats(taps, order, delay, random);
    AddIntegers(taps, order, delay, random);
    Iir32f* state = nullptr;
    setUpForFloats_.Add(ippsIIRInitAlloc_32f(&state, taps.data(), order, delay.data()));
    freeForFloats_.Add(ippsIIRFree_32f(state));
  }

  void Print() const {
    filter_.Print("ippsIIR32f_16s_Sfs");
    setUp_.Print("ippsIIRInitAlloc32f_16s");
    free_.Print("ippsIIRFree32f_16s");
    delayLine_.Print("ippsIIRSetDlyLine32f_16s");
    inPlace_.Print("ippsIIR32f_16s_ISfs");
    setUpOfIntegers_.Print("ippsIIRInitAlloc32s_16s32f");
    filterOfIntegers_.Print("ippsIIR32s_16s_Sfs");
    freeOfIntegers_.Print("ippsIIRFree32s_16s");
    freeForFloats_.Print("ippsIIRFree_32f");
    setUpForFloats_.Print("ippsIIRInitAlloc_32f");
  }

 private:
  template <typename Filter>
  static void AddCall(Filter filter, RandomElements& random, std::size_t count, Digest* digest) {
    const std::vector<int16_t> source = RandomSamples(random.Bits(), count);
    std::vector<int16_t> d = source;
    const int32_t scaleFactor = kScaleFactors[random.Bits() % std::size(kScaleFactors)];
    digest->Add(filter(source.data(), d.data(), static_cast<int32_t>(count), scaleFactor));
    digest->Add(d);
  }

  void AddFloats(const std::vector<float>& taps, int32_t order, const std::vector<float>& delay,
                 RandomElements& random) {
    Iir32f16s* state = nullptr;
    setUp_.Add(ippsIIRInitAlloc32f_16s(&state, taps.data(), order, delay.data()));
    const auto filter = [state](const int16_t* source, int16_t* d, int32_t n, int32_t factor) {
      return ippsIIR32f_16s_Sfs(source, d, n, state, factor);
    };
    const auto inPlace = [state](const int16_t*, int16_t* d, int32_t n, int32_t factor) {
      return ippsIIR32f_16s_ISfs(d, n, state, factor);
    };
    AddCall(filter, random, 20, &setUp_);
    for (const std::size_t count : {1U, 2U, 7U, 100U}) {
      AddCall(filter, random, count, &filter_);
      AddCall(inPlace, random, count, &inPlace_);
    }
    delayLine_.Add(ippsIIRSetDlyLine32f_16s(state, delay.data()));
    AddCall(filter, random, 20, &delayLine_);
    free_.Add(ippsIIRFree32f_16s(state));
  }

  void AddIntegers(const std::vector<float>& taps, int32_t order, const std::vector<float>& delay,
                   RandomElements& random) {
    Iir32s16s* state = nullptr;
    setUpOfIntegers_.Add(ippsIIRInitAlloc32s_16s32f(&state, taps.data(), order, delay.data()));
    const auto filter = [state](const int16_t* source, int16_t* d, int32_t n, int32_t factor) {
      return ippsIIR32s_16s_Sfs(source, d, n, state, factor);
    };
    AddCall(filter, random, 20, &setUpOfIntegers_);
    for (const std::size_t count : {1U, 2U, 7U, 100U})
      AddCall(filter, random, count, &filterOfIntegers_);
    freeOfIntegers_.Add(ippsIIRFree32s_16s(state));
  }

  Digest filter_;
  Digest setUp_;
  Digest free_;
  Digest delayLine_;
  Digest inPlace_;
  Digest setUpOfIntegers_;
  Digest filterOfIntegers_;
  Digest freeOfIntegers_;
  Digest freeForFloats_;
  Digest setUpForFloats_;
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
