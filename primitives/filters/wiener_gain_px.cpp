// Wiener gains, px build.
#include <array>

#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/filters/noise_lengths.h"

namespace zr::primitives {
namespace {

/// r / (1 + r) in Q31, r being a ratio in Q15.
constexpr int32_t GainOf(uint64_t ratio) {
  return static_cast<int32_t>((ratio << 31) / (32768 + ratio));
}

/// The gains of a part of the grid, from 0 in steps of 2^kShift.
template <std::size_t kCount, int kShift>
constexpr std::array<int32_t, kCount> SegmentOf() {
  std::array<int32_t, kCount> gains{};
  for (std::size_t k = 0; k < kCount; ++k) {
    gains[k] = GainOf(uint64_t{k} << kShift);
  }
  return gains;
}

constexpr auto kFine = SegmentOf<64, 11>();
constexpr auto kMiddle = SegmentOf<16, 17>();
constexpr auto kCoarse = SegmentOf<8, 21>();
constexpr int32_t kOver512 = GainOf(1U << 24);
constexpr int32_t kOver1024 = 0x7fffffff;

/// ratio is not negative.
int32_t GridGain(int32_t ratio) {
  const auto index = static_cast<uint32_t>(ratio);
  if (index < 1U << 17) return kFine[index >> 11];
  if (index < 1U << 21) return kMiddle[index >> 17];
  if (index < 1U << 24) return kCoarse[index >> 21];
  return index < 1U << 25 ? kOver512 : kOver1024;
}

}  // namespace

namespace px {

int32_t ippsFilterUpdateWiener_32s(const int32_t* pSrcPriorSNR, int32_t* pDstGain, int32_t len) {
  if (pSrcPriorSNR == nullptr || pDstGain == nullptr) return kStatusNullPointer;
  if (!IsNoiseLength(len)) return kStatusNoiseLength;
  int32_t status = kStatusOk;
  for (int32_t i = 0; i < len; ++i) {
    const int32_t ratio = Load(pSrcPriorSNR, i);
    if (ratio < 0) status = kStatusParameter;
    Store(pDstGain, i, ratio < 0 ? 0 : GridGain(ratio));
  }
  return status;
}

}  // namespace px
}  // namespace zr::primitives
