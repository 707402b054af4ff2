#include "apps/popclean/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>

#include "apps/popclean/summary.h"

namespace zr::popclean {
namespace {

constexpr std::chrono::seconds kPatience(1);
constexpr std::chrono::milliseconds kBetweenDrawings(100);
constexpr const char* kClearLine = "\r\033[K";

std::string Bar(double share) {
  constexpr std::size_t kCells = 30;
  std::string bar(kCells, '.');
  std::fill_n(bar.begin(), static_cast<std::size_t>(share * kCells), '#');
  return bar;
}

}  // namespace

ProgressBar::ProgressBar(std::optional<int64_t> frames, int rate, bool isWanted)
    : frames_(frames),
      rate_(rate),
      isShown_(isWanted && isatty(STDERR_FILENO) == 1),
      nextDrawing_(start_ + kPatience) {}

ProgressBar::~ProgressBar() {
  if (hasDrawn_) std::fputs(kClearLine, stderr);
}

void ProgressBar::Update(int64_t framesDone) {
  if (!isShown_) return;
  const Clock::time_point now = Clock::now();
  if (now < nextDrawing_) return;
  nextDrawing_ = now + kBetweenDrawings;
  hasDrawn_ = true;

  const auto done = static_cast<double>(framesDone);
  const double elapsed = std::chrono::duration<double>(now - start_).count();
  const std::string time = DurationText(done / rate_);
  if (!frames_) {
    std::fprintf(stderr, "%spopclean: %s done, %.1f x real time", kClearLine, time.c_str(),
                 done / rate_ / elapsed);
    return;
  }
  const double share = std::clamp(done / static_cast<double>(*frames_), 0.0, 1.0);
  const double left = share > 0.0 ? elapsed * (1.0 - share) / share : 0.0;
  std::fprintf(stderr, "%spopclean: [%s] %3.0f %%, %s done, %s left", kClearLine,
               Bar(share).c_str(), 100.0 * share, time.c_str(), DurationText(left).c_str());
}

}  // namespace zr::popclean
