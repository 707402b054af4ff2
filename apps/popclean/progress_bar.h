// A bar on standard error for long work, where a person looks on.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace zr::popclean {

class ProgressBar {
 public:
  /// frames is the length of the work where it is known. Shows nothing unless isWanted and standard
  /// error is a terminal.
  ProgressBar(std::optional<int64_t> frames, int rate, bool isWanted);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// Leaves a clean line, however the work ends.
  ~ProgressBar();

  void Update(int64_t framesDone);

 private:
  using Clock = std::chrono::steady_clock;

  const std::optional<int64_t> frames_;
  const int rate_;
  const bool isShown_;
  const Clock::time_point start_ = Clock::now();
  Clock::time_point nextDrawing_;
  bool hasDrawn_ = false;
};

}  // namespace zr::popclean
