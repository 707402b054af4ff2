// The largest repairs of a stream with the samples around them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "apps/popclean/repair.h"
#include "apps/popclean/stream_cleaner.h"

namespace zr::popclean {

struct CloseUp {
  Repair repair;        ///< Its largest.
  int64_t firstSample;  ///< Of the two lists that follow.
  std::vector<int16_t> before;
  std::vector<int16_t> after;

  int Size() const;
};

class CloseUps {
 public:
  static constexpr std::size_t kMost = 6;
  static constexpr int64_t kContext = 48;  ///< Samples on each side.

  explicit CloseUps(std::size_t channels);

  /// Takes the next block of a stream.
  void Add(const CleanedBlock& block);

  /// In the order of time.
  std::vector<CloseUp> Sorted() const;

 private:
  struct Recent {
    std::vector<int16_t> before;
    std::vector<int16_t> after;
  };

  void Extend(int channel, int64_t sample, int16_t before, int16_t after);
  void Consider(const Repair& repair);
  bool JoinsAnother(const Repair& repair);

  std::vector<Recent> recent_;  // Of each channel, a ring of kContext samples.
  std::vector<CloseUp> kept_;
};

}  // namespace zr::popclean
