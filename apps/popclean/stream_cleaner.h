// The filter over a stream of any sample width. It sees 16 bits; what it leaves alone keeps its
// full width, and only a repaired sample carries the 16 bits that came out of the filter.
//
//   StreamCleaner cleaner(channels, rate, settings, maxFrames);
//   CleanedBlock block = cleaner.Process(frames, frameCount);  // the stream, delayed
//   sink.Write(block.FromFirstSample());                       // aligned with the input
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "apps/popclean/filter_bank.h"

namespace zr::popclean {

/// A block of output beside the input that belongs to it. Points into the cleaner and lasts until
/// its next call.
struct CleanedBlock {
  int64_t firstSample;  ///< Position in the input; negative while the lag's silence comes out.
  std::size_t frameCount;
  std::size_t channels;
  const double* output;   ///< Interleaved, as the other two.
  const int16_t* before;  ///< The filter's view of the input.
  const int16_t* after;   ///< The filter's output.

  /// The block without what stands before the first sample of the input.
  CleanedBlock FromFirstSample() const;
};

class StreamCleaner {
 public:
  StreamCleaner(int channels, int rate, const FilterSettings& settings, std::size_t maxFrames);

  /// Takes up to maxFrames frames and gives as many back, delayed. Allocates nothing.
  CleanedBlock Process(const double* frames, std::size_t frameCount);

  /// Feeds up to maxFrames frames of silence instead: the end of a stream comes out of the delay.
  CleanedBlock ProcessSilence(std::size_t frameCount);

  /// By how many frames the output lags.
  std::size_t Delay() const { return delay_; }
  std::size_t MaxFrames() const { return maxFrames_; }

 private:
  void DropReturnedFrames();
  CleanedBlock FilterPendingFrames();

  const std::size_t channels_;
  const std::size_t delay_;
  const std::size_t maxFrames_;
  FilterBank bank_;
  // The frames that are still in the delay, then the newest block.
  std::vector<double> originals_;
  std::vector<int16_t> views_;
  std::vector<int16_t> filtered_;
  std::size_t blockFrames_ = 0;
  int64_t taken_ = 0;
};

}  // namespace zr::popclean
