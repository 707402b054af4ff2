// One run of the program: a source through the filter into a sink, with what is told about it.
#pragma once

#include <optional>
#include <string>

#include "apps/popclean/audio_stream.h"
#include "apps/popclean/filter_parameters.h"
#include "apps/popclean/repair_list.h"
#include "apps/popclean/repair_plot.h"
#include "apps/popclean/summary.h"

namespace zr::popclean {

/// Stands for standard input or output in place of a file name.
inline constexpr const char* kStandardStream = "-";

struct JobOptions {
  std::string input;
  std::string output;
  int rate = 0;      ///< Of raw input.
  int channels = 1;  ///< Of raw input.
  bool keepLag = false;
  bool isQuiet = false;
  std::string repairs;  ///< Empty for no list.
  std::string plot;     ///< Empty for no plot.
  FilterSettings settings;
};

/// Runs the job and tells of it on standard error. Throws a Failure; none of the files that were
/// asked for has appeared then.
void RunJob(const JobOptions& options);

/// The work between the ends. list and plot may be null. With keepLag the output is as long as the
/// input and lags; without it, the lag is taken off the start and flushed out at the end.
struct CleaningEnds {
  AudioSource& source;
  AudioSink& sink;
  RepairList* list = nullptr;
  RepairPlot* plot = nullptr;
};
void CleanStream(const CleaningEnds& ends, const FilterSettings& settings, bool keepLag,
                 bool showsProgress, RunSummary& summary);

}  // namespace zr::popclean
