#include "apps/popclean/stream_cleaner.h"

#include <algorithm>

#include "apps/popclean/sample_conversion.h"

namespace zr::popclean {

CleanedBlock CleanedBlock::FromFirstSample() const {
  if (firstSample >= 0) return *this;
  const std::size_t skipped = std::min(static_cast<std::size_t>(-firstSample), frameCount);
  const std::size_t samples = skipped * channels;
  return {.firstSample = firstSample + static_cast<int64_t>(skipped),
          .frameCount = frameCount - skipped,
          .channels = channels,
          .output = output + samples,
          .before = before + samples,
          .after = after + samples};
}

StreamCleaner::StreamCleaner(int channels, int rate, const FilterSettings& settings,
                             std::size_t maxFrames)
    : channels_(static_cast<std::size_t>(channels)),
      delay_(settings.Value(POPS_ID_DELAY)),
      maxFrames_(maxFrames),
      bank_(channels, rate, settings, maxFrames),
      originals_((delay_ + maxFrames) * channels_),
      views_((delay_ + maxFrames) * channels_),
      filtered_(maxFrames * channels_) {}

CleanedBlock StreamCleaner::Process(const double* frames, std::size_t frameCount) {
  DropReturnedFrames();
  const std::size_t samples = frameCount * channels_;
  const std::size_t delayed = delay_ * channels_;
  std::copy_n(frames, samples, originals_.data() + delayed);
  std::transform(frames, frames + samples, views_.data() + delayed, To16Bits);
  blockFrames_ = frameCount;
  return FilterPendingFrames();
}

CleanedBlock StreamCleaner::ProcessSilence(std::size_t frameCount) {
  DropReturnedFrames();
  const std::size_t samples = frameCount * channels_;
  std::fill_n(originals_.data() + delay_ * channels_, samples, 0.0);
  std::fill_n(views_.data() + delay_ * channels_, samples, int16_t{0});
  blockFrames_ = frameCount;
  return FilterPendingFrames();
}

void StreamCleaner::DropReturnedFrames() {
  const auto returned = static_cast<std::ptrdiff_t>(blockFrames_ * channels_);
  const auto kept = static_cast<std::ptrdiff_t>(delay_ * channels_);
  std::copy_n(originals_.begin() + returned, kept, originals_.begin());
  std::copy_n(views_.begin() + returned, kept, views_.begin());
}

CleanedBlock StreamCleaner::FilterPendingFrames() {
  const std::size_t samples = blockFrames_ * channels_;
  std::copy_n(views_.data() + delay_ * channels_, samples, filtered_.data());
  bank_.Process(filtered_.data(), blockFrames_);
  for (std::size_t i = 0; i < samples; ++i) {
    if (filtered_[i] != views_[i]) originals_[i] = From16Bits(filtered_[i]);
  }
  const int64_t firstSample = taken_ - static_cast<int64_t>(delay_);
  taken_ += static_cast<int64_t>(blockFrames_);
  return {.firstSample = firstSample,
          .frameCount = blockFrames_,
          .channels = channels_,
          .output = originals_.data(),
          .before = views_.data(),
          .after = filtered_.data()};
}

}  // namespace zr::popclean
