#include "apps/popclean/close_ups.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace zr::popclean {

int CloseUp::Size() const {
  return std::abs(repair.after - repair.before);
}

CloseUps::CloseUps(std::size_t channels) : recent_(channels) {
  for (Recent& recent : recent_) {
    recent.before.resize(kContext);
    recent.after.resize(kContext);
  }
}

void CloseUps::Add(const CleanedBlock& block) {
  for (std::size_t frame = 0; frame < block.frameCount; ++frame) {
    const int64_t sample = block.firstSample + static_cast<int64_t>(frame);
    const auto slot = static_cast<std::size_t>(sample % kContext);
    for (std::size_t channel = 0; channel < block.channels; ++channel) {
      const int16_t before = block.before[frame * block.channels + channel];
      const int16_t after = block.after[frame * block.channels + channel];
      const int number = static_cast<int>(channel) + 1;
      Extend(number, sample, before, after);
      if (before != after) Consider({number, sample, before, after});
      recent_[channel].before[slot] = before;
      recent_[channel].after[slot] = after;
    }
  }
}

void CloseUps::Extend(int channel, int64_t sample, int16_t before, int16_t after) {
  for (CloseUp& closeUp : kept_) {
    const int64_t next = closeUp.firstSample + static_cast<int64_t>(closeUp.before.size());
    if (closeUp.repair.channel != channel || next != sample) continue;
    if (sample > closeUp.repair.sample + kContext) continue;
    closeUp.before.push_back(before);
    closeUp.after.push_back(after);
  }
}

void CloseUps::Consider(const Repair& repair) {
  if (JoinsAnother(repair)) return;
  CloseUp closeUp = {.repair = repair, .firstSample = 0, .before = {}, .after = {}};
  if (kept_.size() == kMost) {
    const auto smallest = std::ranges::min_element(kept_, {}, &CloseUp::Size);
    if (smallest->Size() >= closeUp.Size()) return;
    kept_.erase(smallest);
  }

  const Recent& recent = recent_[static_cast<std::size_t>(repair.channel - 1)];
  closeUp.firstSample = std::max<int64_t>(0, repair.sample - kContext);
  for (int64_t sample = closeUp.firstSample; sample < repair.sample; ++sample) {
    const auto slot = static_cast<std::size_t>(sample % kContext);
    closeUp.before.push_back(recent.before[slot]);
    closeUp.after.push_back(recent.after[slot]);
  }
  closeUp.before.push_back(repair.before);
  closeUp.after.push_back(repair.after);
  kept_.push_back(std::move(closeUp));
}

// A click of several samples is one picture, which grows around the largest of them.
bool CloseUps::JoinsAnother(const Repair& repair) {
  const auto other = std::ranges::find_if(kept_, [&repair](const CloseUp& closeUp) {
    return closeUp.repair.channel == repair.channel &&
           repair.sample - closeUp.repair.sample <= kContext / 2;
  });
  if (other == kept_.end()) return false;
  const int size = std::abs(repair.after - repair.before);
  if (size > other->Size()) other->repair = repair;
  return true;
}

std::vector<CloseUp> CloseUps::Sorted() const {
  std::vector<CloseUp> sorted = kept_;
  std::ranges::sort(sorted, {}, [](const CloseUp& closeUp) {
    return std::pair(closeUp.repair.sample, closeUp.repair.channel);
  });
  return sorted;
}

}  // namespace zr::popclean
