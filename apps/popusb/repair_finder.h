// Finds the repairs of a 16-bit mono stream by comparing what the device sent with what came out of
// the filter, which is late by its delay.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <span>
#include <vector>

#include "apps/popclean/repair.h"

namespace zr::popusb {

class RepairFinder {
 public:
  using Take = std::function<void(const popclean::Repair&)>;
  explicit RepairFinder(Take take) : take_(std::move(take)) {}

  /// The bytes of one transfer on both sides of the filter.
  void Compare(std::span<const uint8_t> sent, std::span<const uint8_t> heard);

  /// Whether bytes that were sent have never come: from there on nothing could be compared.
  bool HasLostTrack() const { return hasLostTrack_; }

 private:
  const Take take_;
  std::deque<uint8_t> sent_;   // Not yet compared.
  std::deque<uint8_t> heard_;  // Likewise, without the delay's silence.
  std::size_t silence_ = kSilence;
  int64_t sample_ = 0;
  bool hasLostTrack_ = false;

  static constexpr std::size_t kSilence = 2 * 8;
};

}  // namespace zr::popusb
