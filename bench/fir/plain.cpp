// A FIR filter as the plainest loop: all samples that are still needed in one array of floats, and
// for each output the sum of products in double precision, from the oldest sample on.
#include <algorithm>
#include <cmath>
#include <cstddef>

#include "bench/fir/filters.h"

namespace zr::bench {
namespace {

class PlainFir {
 public:
  PlainFir(const std::vector<float>& taps, int32_t blockLength)
      : reversedTaps_(taps.rbegin(), taps.rend()),
        history_(taps.size() - 1),
        blockLength_(static_cast<std::size_t>(blockLength)),
        samples_(history_ + blockLength_) {}

  void Run(const int16_t* source, int16_t* destination) {
    for (std::size_t n = 0; n < blockLength_; ++n) {
      samples_[history_ + n] = source[n];
    }
    for (std::size_t n = 0; n < blockLength_; ++n) {
      double sum = 0.0;
      for (std::size_t j = 0; j < reversedTaps_.size(); ++j) {
        sum += static_cast<double>(reversedTaps_[j]) * static_cast<double>(samples_[n + j]);
      }
      const float rounded = std::nearbyintf(static_cast<float>(sum));
      destination[n] = static_cast<int16_t>(std::clamp(rounded, -32768.0F, 32767.0F));
    }
    std::copy(samples_.end() - static_cast<std::ptrdiff_t>(history_), samples_.end(),
              samples_.begin());
  }

 private:
  std::vector<float> reversedTaps_;
  std::size_t history_;
  std::size_t blockLength_;
  std::vector<float> samples_;
};

}  // namespace

Filter PlainFilter(const std::vector<float>& taps, int32_t blockLength) {
  return
      [filter = PlainFir(taps, blockLength)](const int16_t* source, int16_t* destination) mutable {
        filter.Run(source, destination);
      };
}

}  // namespace zr::bench
