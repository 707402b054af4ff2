// What is compared: changes of the rate of an endless 16-bit signal, which arrives in blocks.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zr::bench {

struct Rates {
  int32_t in;
  int32_t out;
};

class ResamplingStream {
 public:
  virtual ~ResamplingStream() = default;

  /// Takes the next count samples. Returns how many samples it put out.
  virtual int32_t Run(const int16_t* samples, int32_t count, int16_t* d) = 0;
};

/// A cutoff at half the lower rate, under a Kaiser window.
struct FilterDesign {
  int32_t length;  ///< In input samples.
  float alpha;
  bool hasFloatTaps;
};

std::unique_ptr<ResamplingStream> OurStream(const Rates& rates, const FilterDesign& design);

/// The plainest loop: for each output the sum of its phase's taps times the samples around it, with
/// the same taps, order and rounding.
std::unique_ptr<ResamplingStream> PlainStream(const Rates& rates, const FilterDesign& design);

/// One quality of a library.
struct Setting {
  std::string name;
  std::unique_ptr<ResamplingStream> (*make)(const Rates& rates, int quality);
  int quality;
};

/// One library, its settings from the lowest quality up.
struct Peer {
  std::string name;
  std::vector<Setting> settings;
};

std::vector<Peer> ResamplingPeers();

}  // namespace zr::bench
