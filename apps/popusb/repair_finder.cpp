#include "apps/popusb/repair_finder.h"

#include <algorithm>

namespace zr::popusb {
namespace {

int16_t TakeSample(std::deque<uint8_t>& bytes) {
  const auto sample = static_cast<int16_t>(bytes[0] | bytes[1] << 8);
  bytes.erase(bytes.begin(), bytes.begin() + 2);
  return sample;
}

}  // namespace

void RepairFinder::Compare(std::span<const uint8_t> sent, std::span<const uint8_t> heard) {
  if (hasLostTrack_) return;
  sent_.insert(sent_.end(), sent.begin(), sent.end());
  const std::size_t silence = std::min(silence_, heard.size());
  silence_ -= silence;
  heard_.insert(heard_.end(), heard.begin() + static_cast<std::ptrdiff_t>(silence), heard.end());
  while (heard_.size() >= 2 && sent_.size() >= 2) {
    const int16_t before = TakeSample(sent_);
    const int16_t after = TakeSample(heard_);
    if (before != after) take_({.channel = 1, .sample = sample_, .before = before, .after = after});
    ++sample_;
  }
  // Beside what is in the delay, one byte can be held back for the next transfer.
  const std::size_t inDelay = sent_.size() + silence_;
  hasLostTrack_ = inDelay > kSilence + 1 || (sent.empty() && sent_.size() % 2 != 0);
}

}  // namespace zr::popusb
