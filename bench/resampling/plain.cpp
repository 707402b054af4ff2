// The plain contenders: the loops that a careful programmer would write for the same results.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>

#include "bench/primitives/plain.h"
#include "bench/resampling/stream.h"
#include "primitives/filters/sinc_prototype.h"

namespace zr::bench {
namespace {

int16_t RoundedSample(double value) {
  const double limited = std::clamp(value, -32768.0, 32767.0);
  return static_cast<int16_t>(limited < 0.0 ? limited - 0.5 : limited + 0.5);
}

template <typename Tap>
struct SumOf;
template <>
struct SumOf<float> {
  using Type = double;
};
template <>
struct SumOf<int16_t> {
  using Type = int64_t;
};

/// Every filter has a tap more than it needs, which makes those of all phases alike: it is 0 where
/// the place is between two samples.
template <typename Tap>
class Plain : public ResamplingStream {
 public:
  Plain(const Rates& rates, const FilterDesign& design, double unit)
      : in_(rates.in / std::gcd(rates.in, rates.out)),
        out_(rates.out / std::gcd(rates.in, rates.out)),
        half_(design.length / 2),
        gain_(std::min(static_cast<double>(out_) / in_, 1.0) / unit),
        place_(int64_t{half_} * out_),
        buffered_(static_cast<std::size_t>(half_)),
        taps_(static_cast<std::size_t>(out_ * (2 * half_ + 1))) {
    const primitives::SincPrototype prototype = {.inRate = in_,
                                                 .outRate = out_,
                                                 .length = design.length,
                                                 .rolloff = 1.0F,
                                                 .alpha = design.alpha};
    std::vector<double> table(static_cast<std::size_t>(primitives::PrototypeLength(prototype)));
    primitives::FillPrototype(prototype, table.data(), static_cast<int32_t>(table.size()));
    for (int32_t phase = 0; phase < out_; ++phase) {
      for (int32_t j = 0; j <= 2 * half_; ++j) {
        const int32_t distance = std::abs((j - half_) * out_ - phase);
        if (distance > half_ * out_) continue;
        const double tap = table[static_cast<std::size_t>(distance)] * unit;
        taps_[static_cast<std::size_t>(phase * (2 * half_ + 1) + j)] =
            static_cast<Tap>(unit == 1.0 ? tap : std::round(tap));
      }
    }
  }

  int32_t Run(const int16_t* samples, int32_t count, int16_t* d) override {
    buffered_.insert(buffered_.end(), samples, samples + count);
    const int64_t end = (static_cast<int64_t>(buffered_.size()) - half_) * out_;
    int32_t outputs = 0;
    for (; place_ < end; place_ += in_) {
      const int16_t* const x = buffered_.data() + (place_ / out_ - half_);
      const Tap* const filter = taps_.data() + place_ % out_ * (2 * half_ + 1);
      typename SumOf<Tap>::Type sum = 0;
      for (int32_t j = 0; j <= 2 * half_; ++j) {
        sum += static_cast<typename SumOf<Tap>::Type>(filter[j]) * x[j];
      }
      d[outputs] = RoundedSample(static_cast<double>(sum) * gain_);
      ++outputs;
    }
    const int64_t done = place_ / out_ - half_;
    buffered_.erase(buffered_.begin(), buffered_.begin() + done);
    place_ -= done * out_;
    return outputs;
  }

 private:
  int32_t in_;
  int32_t out_;
  int32_t half_;
  double gain_;
  int64_t place_;  ///< Of the next output, in units of 1 / out_ input samples.
  std::vector<int16_t> buffered_;
  std::vector<Tap> taps_;
};

}  // namespace

std::unique_ptr<ResamplingStream> PlainStream(const Rates& rates, const FilterDesign& design) {
  if (design.hasFloatTaps) return std::make_unique<Plain<float>>(rates, design, 1.0);
  return std::make_unique<Plain<int16_t>>(rates, design, 0x1p14);
}

namespace plain {

int32_t ippsSampleUp_16s(const int16_t* pSrc, int32_t srcLen, int16_t* pDst, int32_t* pDstLen,
                         int32_t factor, int32_t* pPhase) {
  std::fill_n(pDst, srcLen * factor, int16_t{0});
  for (int32_t k = 0; k < srcLen; ++k) {
    pDst[*pPhase + k * factor] = pSrc[k];
  }
  *pDstLen = srcLen * factor;
  return 0;
}

int32_t ippsSampleDown_16s(const int16_t* pSrc, int32_t srcLen, int16_t* pDst, int32_t* pDstLen,
                           int32_t factor, int32_t* pPhase) {
  int32_t next = *pPhase;
  int32_t kept = 0;
  for (; next < srcLen; next += factor) {
    pDst[kept++] = pSrc[next];
  }
  *pDstLen = kept;
  *pPhase = next - srcLen;
  return 0;
}

}  // namespace plain
}  // namespace zr::bench
