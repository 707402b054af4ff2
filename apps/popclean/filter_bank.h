// One filter record for each channel of an interleaved stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "apps/popclean/filter_parameters.h"
#include "popfilter/pops.h"

namespace zr::popclean {

class FilterBank {
 public:
  /// Makes the records and the scratch memory for blocks of up to maxFrames frames. The rate is
  /// written to the records where it is one that they know; it changes no result.
  /// Throws a Failure if a parameter is refused or memory is short.
  FilterBank(int channels, int rate, const FilterSettings& settings, std::size_t maxFrames);

  /// Filters up to maxFrames interleaved frames in place; the result lags by the delay. Allocates
  /// nothing.
  void Process(int16_t* frames, std::size_t frameCount);

 private:
  struct Destroy {
    void operator()(POPSState* state) const { POPSDestroy(state); }
  };
  using Record = std::unique_ptr<POPSState, Destroy>;

  static Record MakeRecord(int rate, const FilterSettings& settings);

  std::vector<Record> records_;
  std::vector<int16_t> channelBlock_;
};

}  // namespace zr::popclean
