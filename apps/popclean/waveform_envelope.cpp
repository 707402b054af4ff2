#include "apps/popclean/waveform_envelope.h"

#include <algorithm>

namespace zr::popclean {
namespace {

void Include(WaveformEnvelope::Bin& bin, const WaveformEnvelope::Bin& other) {
  bin.beforeLow = std::min(bin.beforeLow, other.beforeLow);
  bin.beforeHigh = std::max(bin.beforeHigh, other.beforeHigh);
  bin.afterLow = std::min(bin.afterLow, other.afterLow);
  bin.afterHigh = std::max(bin.afterHigh, other.afterHigh);
  bin.isRepaired = bin.isRepaired || other.isRepaired;
}

}  // namespace

WaveformEnvelope::WaveformEnvelope(std::size_t channels)
    : bins_(std::min(channels, kMostChannels)) {
  for (auto& bins : bins_)
    bins.reserve(kMostBins);
}

void WaveformEnvelope::Add(const CleanedBlock& block) {
  for (std::size_t frame = 0; frame < block.frameCount; ++frame) {
    if (samples_ / width_ >= static_cast<int64_t>(kMostBins)) DoubleWidth();
    const auto index = static_cast<std::size_t>(samples_ / width_);
    for (std::size_t channel = 0; channel < bins_.size(); ++channel) {
      auto& bins = bins_[channel];
      if (bins.size() <= index) bins.emplace_back();
      const int16_t before = block.before[frame * block.channels + channel];
      const int16_t after = block.after[frame * block.channels + channel];
      Include(bins[index], {before, before, after, after, before != after});
    }
    ++samples_;
  }
}

void WaveformEnvelope::DoubleWidth() {
  for (auto& bins : bins_) {
    const std::size_t half = (bins.size() + 1) / 2;
    for (std::size_t i = 0; i < half; ++i) {
      Bin joined = bins[2 * i];
      if (2 * i + 1 < bins.size()) Include(joined, bins[2 * i + 1]);
      bins[i] = joined;
    }
    bins.resize(half);
  }
  width_ *= 2;
}

}  // namespace zr::popclean
