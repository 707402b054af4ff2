// What a run has done, for the person who started it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/popclean/audio_stream.h"

namespace zr::popclean {

struct RunSummary {
  std::string input;
  std::string output;
  AudioShape shape;
  std::string outputDescription;
  int64_t frames = 0;
  std::vector<int64_t> repairs;  ///< For each channel.
  double elapsedSeconds = 0.0;
};

/// The lines of the summary, each ended.
std::string SummaryText(const RunSummary& summary);

/// Hours, minutes and seconds as far as they are needed: "2.500 s", "3:02.500", "1:00:00.000".
std::string DurationText(double seconds);

}  // namespace zr::popclean
