// Our filter.
#include <memory>

#include "bench/fir/filters.h"
#include "primitives/filters/fir.h"

namespace zr::bench {

Filter OurFilter(const std::vector<float>& taps, int32_t blockLength) {
  Fir32f16s* made = nullptr;
  ippsFIRInitAlloc32f_16s(&made, taps.data(), static_cast<int32_t>(taps.size()), nullptr);
  const std::shared_ptr<Fir32f16s> state(made, &ippsFIRFree32f_16s);
  return [=](const int16_t* source, int16_t* destination) {
    ippsFIR32f_16s_Sfs(source, destination, blockLength, state.get(), /*scaleFactor=*/0);
  };
}

}  // namespace zr::bench
