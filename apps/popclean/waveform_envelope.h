// The extent of a waveform of any length in a bounded number of bins, before and after the filter,
// for a drawing of the whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "apps/popclean/stream_cleaner.h"

namespace zr::popclean {

class WaveformEnvelope {
 public:
  static constexpr std::size_t kMostBins = 2048;
  static constexpr std::size_t kMostChannels = 8;

  struct Bin {
    int16_t beforeLow = INT16_MAX;
    int16_t beforeHigh = INT16_MIN;
    int16_t afterLow = INT16_MAX;
    int16_t afterHigh = INT16_MIN;
    bool isRepaired = false;
  };

  /// Channels beyond kMostChannels are left out.
  explicit WaveformEnvelope(std::size_t channels);

  /// Takes the next block of a stream that starts with sample 0.
  void Add(const CleanedBlock& block);

  std::size_t Channels() const { return bins_.size(); }
  const std::vector<Bin>& Bins(std::size_t channel) const { return bins_[channel]; }

  /// Samples in a bin, but for the last.
  int64_t BinWidth() const { return width_; }
  int64_t SampleCount() const { return samples_; }

 private:
  void DoubleWidth();

  std::vector<std::vector<Bin>> bins_;
  int64_t width_ = 1;
  int64_t samples_ = 0;
};

}  // namespace zr::popclean
