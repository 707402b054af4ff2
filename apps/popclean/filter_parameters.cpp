#include "apps/popclean/filter_parameters.h"

#include <algorithm>

namespace zr::popclean {

const std::array<FilterParameter, kFilterParameterCount> kFilterParameters = {{
    {POPS_ID_STEP, "step", "thousandths", 200, 0, 2000,
     "How fast the predictor learns; near 2000 it becomes unstable"},
    {POPS_ID_CEILING, "ceiling", "thousandths of full scale", 1000, 0, 2000,
     "A prediction error above this is always loud enough for a click"},
    {POPS_ID_FLOOR, "floor", "thousandths of full scale", 75, 0, 2000,
     "Least prediction error of a click: lower finds more, and errs more"},
    {POPS_ID_SLOPE, "slope", "thousandths of the local deviation", 0, 0, 100000,
     "Added to the floor, so that loud passages need louder clicks"},
    {POPS_ID_ORDER, "order", "samples", 8, 2, 4096,
     "Taps of the predictor: how much of the past it sees"},
    {POPS_ID_SETTLE, "settle", "samples", 16, 1, 1000000,
     "How long the predictor learns before anything is judged"},
    {POPS_ID_DELAY, "delay", "samples", 8, 2, 4096, "Look-ahead, which is also the lag"},
    {POPS_ID_MODE, "mode", "", 3, 0, 3,
     "Shape of a click: 0 any, 1 farther from zero than predicted,\n"
     "2 off the line through its neighbours, 3 both"},
}};

FilterSettings::FilterSettings() {
  std::ranges::transform(kFilterParameters, values.begin(), &FilterParameter::standard);
}

uint32_t FilterSettings::Value(uint32_t id) const {
  const auto* const row = std::ranges::find(kFilterParameters, id, &FilterParameter::id);
  return values[static_cast<std::size_t>(row - kFilterParameters.begin())];
}

}  // namespace zr::popclean
