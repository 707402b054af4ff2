#include "apps/popclean/summary.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <numeric>
#include <sstream>

#include "apps/popclean/counted.h"

namespace zr::popclean {
namespace {

std::string RepairsText(const std::vector<int64_t>& repairs) {
  const int64_t total = std::accumulate(repairs.begin(), repairs.end(), int64_t{0});
  std::string text = Counted(total, "repair");
  if (repairs.size() < 2) return text;
  for (std::size_t i = 0; i < repairs.size(); ++i) {
    text += (i == 0 ? ": " : ", ") + std::to_string(repairs[i]) + " in channel " +
            std::to_string(i + 1);
  }
  return text;
}

}  // namespace

std::string DurationText(double seconds) {
  const auto milliseconds = static_cast<int64_t>(std::llround(seconds * 1000.0));
  const int64_t minutes = milliseconds / 60000;
  std::ostringstream text;
  text << std::setfill('0');
  if (minutes >= 60) {
    text << minutes / 60 << ':' << std::setw(2) << minutes % 60 << ':' << std::setw(2);
  } else if (minutes > 0) {
    text << minutes << ':' << std::setw(2);
  }
  text << milliseconds / 1000 % 60 << '.' << std::setw(3) << milliseconds % 1000;
  if (minutes == 0) text << " s";
  return text.str();
}

std::string SummaryText(const RunSummary& summary) {
  const AudioShape& shape = summary.shape;
  const double duration = static_cast<double>(summary.frames) / shape.rate;
  std::ostringstream text;
  text << "popclean: read " << summary.input << ": " << shape.container << ", " << shape.coding
       << ", " << Counted(shape.channels, "channel") << ", " << shape.rate << " Hz, "
       << DurationText(duration) << '\n'
       << "popclean: wrote " << summary.output << ": " << summary.outputDescription << '\n'
       << "popclean: " << RepairsText(summary.repairs) << '\n';
  if (!shape.isSixteenBit) {
    text << "popclean: " << shape.sampleWidth
         << " samples were judged at 16 bits; repaired samples carry 16 bits\n";
  }
  text << "popclean: " << std::fixed << std::setprecision(1)
       << duration / std::max(summary.elapsedSeconds, 1e-6) << " x real time\n";
  return text.str();
}

}  // namespace zr::popclean
