// A repaired sample.
#pragma once

#include <cstddef>
#include <cstdint>

#include "apps/popclean/stream_cleaner.h"

namespace zr::popclean {

struct Repair {
  int channel;     ///< From 1.
  int64_t sample;  ///< Position in the input, from 0.
  int16_t before;
  int16_t after;
};

/// Calls take(Repair) for each repair of a block, in the order of time.
template <typename Take>
void ForEachRepair(const CleanedBlock& block, Take take) {
  for (std::size_t frame = 0; frame < block.frameCount; ++frame) {
    for (std::size_t channel = 0; channel < block.channels; ++channel) {
      const std::size_t i = frame * block.channels + channel;
      if (block.before[i] == block.after[i]) continue;
      take(Repair{.channel = static_cast<int>(channel) + 1,
                  .sample = block.firstSample + static_cast<int64_t>(frame),
                  .before = block.before[i],
                  .after = block.after[i]});
    }
  }
}

}  // namespace zr::popclean
