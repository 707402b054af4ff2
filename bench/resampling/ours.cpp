// The primitives' resampler as a stream: half a filter of the past, and what the filter still lacks
// of the future, stay in a buffer.
#include <cstdlib>
#include <cstring>

#include "bench/resampling/stream.h"
#include "primitives/filters/resampling.h"

namespace zr::bench {
namespace {

class Ours : public ResamplingStream {
 public:
  Ours(const Rates& rates, const FilterDesign& design)
      : half_(design.length / 2), time_(half_), buffered_(static_cast<std::size_t>(half_)) {
    constexpr int32_t kFloatTaps = 2;
    if (ippsResamplePolyphaseFixedInitAlloc_16s(&state_, rates.in, rates.out, design.length, 1.0F,
                                                design.alpha,
                                                design.hasFloatTaps ? kFloatTaps : 0) != 0) {
      std::abort();
    }
  }
  ~Ours() override { ippsResamplePolyphaseFixedFree_16s(state_); }
  Ours(const Ours&) = delete;
  Ours& operator=(const Ours&) = delete;

  int32_t Run(const int16_t* samples, int32_t count, int16_t* d) override {
    buffered_.insert(buffered_.end(), samples, samples + count);
    int32_t outputs = 0;
    const auto length =
        static_cast<int32_t>(buffered_.size()) - half_ - static_cast<int32_t>(time_);
    ippsResamplePolyphaseFixed_16s(state_, buffered_.data(), length, d, 1.0F, &time_, &outputs);
    const int32_t done = static_cast<int32_t>(time_) - half_;
    buffered_.erase(buffered_.begin(), buffered_.begin() + done);
    time_ -= done;
    return outputs;
  }

 private:
  int32_t half_;
  double time_;
  std::vector<int16_t> buffered_;
  Resampler16s* state_ = nullptr;
};

}  // namespace

std::unique_ptr<ResamplingStream> OurStream(const Rates& rates, const FilterDesign& design) {
  return std::make_unique<Ours>(rates, design);
}

}  // namespace zr::bench
