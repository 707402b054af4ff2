// How much of what does not belong there a change of rate lets through, measured with tones.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "bench/resampling/stream.h"

namespace zr::bench {

/// All in dB of a tone that went in.
struct Response {
  double stopband;  ///< How far below it the strongest of all images or aliases lies.
  double edge;      ///< What is left of a tone at the edge of the band.
  double middle;    ///< What is left of a tone in the middle of the band: 0 if all is right.
};

/// The band is nine tenths of half the lower rate. Images of tones in it, and aliases that fall
/// upon it, count.
class ToneTest {
 public:
  explicit ToneTest(const Rates& rates);

  /// Each tone goes through a stream of its own.
  [[nodiscard]] Response Measure(
      const std::function<std::unique_ptr<ResamplingStream>()>& make) const;

 private:
  /// A signal, and at which places of the outputs' spectrum to look.
  struct Probe {
    std::vector<int16_t> samples;
    std::vector<double> places;  ///< In Hz.
  };

  [[nodiscard]] Probe MakeProbe(double tone, const std::vector<double>& places) const;
  [[nodiscard]] double Strongest(const Probe& probe, ResamplingStream& stream) const;

  Rates rates_;
  double lowTone_;
  std::vector<Probe> beyondBand_;
  Probe edge_;
  Probe middle_;
};

}  // namespace zr::bench
