// Two-band filter bank, px build: the life of its states.
#include <cstring>

#include "primitives/dispatch/px_entries.h"
#include "primitives/element_access.h"
#include "primitives/filters/state_block.h"
#include "primitives/filters/wavelet_state.h"
#include "primitives/status.h"

namespace zr::primitives {
namespace {

template <typename State>
constexpr int32_t kMagic = 0;
template <>
constexpr int32_t kMagic<WaveletForward16s> = 45;
template <>
constexpr int32_t kMagic<WaveletInverse16s> = 54;

/// Taps of one band as the caller gives them.
struct Band {
  const float* taps;
  int32_t length;
  int32_t offset;
};

int32_t CheckBands(const void* state, const Band& low, const Band& high) {
  if (state == nullptr || low.taps == nullptr) return kStatusNullPointer;
  if (low.length < 1) return kStatusSize;
  if (high.taps == nullptr) return kStatusNullPointer;
  if (high.length < 1) return kStatusSize;
  return low.offset < -1 || high.offset < -1 ? kStatusWaveletOffset : kStatusOk;
}

/// Where a ring of silence stands in a block.
class RingPlace {
 public:
  RingPlace(BlockLayout* layout, int32_t length)
      : data_(layout->Add<float>(2 * int64_t{length})), length_(length) {}

  [[nodiscard]] DoubledRing In(uint8_t* block) const {
    float* const data = data_.In(block);
    std::memset(data, 0, 2 * sizeof(float) * static_cast<std::size_t>(length_));
    return {.data = data, .length = length_, .position = 0};
  }

 private:
  BlockPlace<float> data_;
  int32_t length_;
};

/// Where a ring that may be missing and its record stand.
class DelayPlace {
 public:
  DelayPlace(BlockLayout* layout, int32_t length)
      : record_(layout->Add<DoubledRing>(1)), ring_(layout, length), isNeeded_(length > 0) {}

  [[nodiscard]] DoubledRing* In(uint8_t* block) const {
    if (!isNeeded_) return nullptr;
    DoubledRing* const delay = record_.In(block);
    *delay = ring_.In(block);
    return delay;
  }

 private:
  BlockPlace<DoubledRing> record_;
  RingPlace ring_;
  bool isNeeded_;
};

/// d = every step-th of the taps from the first-th on, count of them, the last first.
void ReverseTaps(const float* taps, int32_t first, int32_t step, int32_t count, float* d) {
  for (int32_t i = 0; i < count; ++i) {
    d[count - 1 - i] = Load(taps, first + step * i);
  }
}

template <typename Channel>
class ChannelPlace;

template <>
class ChannelPlace<AnalysisChannel> {
 public:
  ChannelPlace(BlockLayout* layout, const Band& band)
      : band_(band),
        record_(layout->Add<AnalysisChannel>(1)),
        delay_(layout, band.offset > 0 ? band.offset : 0),
        history_(layout, band.length),
        taps_(layout->Add<float>(band.length)) {}

  [[nodiscard]] AnalysisChannel* In(uint8_t* block) const {
    float* const taps = taps_.In(block);
    ReverseTaps(band_.taps, 0, 1, band_.length, taps);
    AnalysisChannel* const channel = record_.In(block);
    *channel = {.delay = delay_.In(block),
                .history = history_.In(block),
                .reversedTaps = taps,
                .oddStart = band_.offset == -1 ? 1 : 0};
    return channel;
  }

 private:
  Band band_;
  BlockPlace<AnalysisChannel> record_;
  DelayPlace delay_;
  RingPlace history_;
  BlockPlace<float> taps_;
};

template <>
class ChannelPlace<SynthesisChannel> {
 public:
  ChannelPlace(BlockLayout* layout, const Band& band)
      : band_(band),
        oddCount_(band.length / 2),
        evenCount_(band.length - oddCount_),
        record_(layout->Add<SynthesisChannel>(1)),
        delay_(layout, band.offset / 2),
        history_(layout, evenCount_),
        evenTaps_(layout->Add<float>(evenCount_)),
        oddTaps_(layout->Add<float>(oddCount_)) {}

  [[nodiscard]] SynthesisChannel* In(uint8_t* block) const {
    float* const evenTaps = evenTaps_.In(block);
    float* const oddTaps = oddCount_ > 0 ? oddTaps_.In(block) : nullptr;
    ReverseTaps(band_.taps, 0, 2, evenCount_, evenTaps);
    ReverseTaps(band_.taps, 1, 2, oddCount_, oddTaps);
    SynthesisChannel* const channel = record_.In(block);
    *channel = {.delay = delay_.In(block),
                .history = history_.In(block),
                .evenTaps = evenTaps,
                .oddTaps = oddTaps,
                .oddCount = oddCount_,
                .phase = band_.offset & 1};
    return channel;
  }

 private:
  Band band_;
  int32_t oddCount_;
  int32_t evenCount_;
  BlockPlace<SynthesisChannel> record_;
  DelayPlace delay_;
  RingPlace history_;
  BlockPlace<float> evenTaps_;
  BlockPlace<float> oddTaps_;
};

template <typename Channel, typename State>
int32_t Make(State** state, const Band& low, const Band& high) {
  if (const int32_t status = CheckBands(state, low, high)) return status;
  BlockLayout layout;
  const auto record = layout.Add<State>(1);
  const ChannelPlace<Channel> lowPlace(&layout, low);
  const ChannelPlace<Channel> highPlace(&layout, high);
  const auto work = layout.Add<float>(kWaveletBlock);
  uint8_t* const block = layout.Allocate();
  *state = nullptr;
  if (block == nullptr) return kStatusNoMemory;

  *state = record.In(block);
  **state = {{.magic = kMagic<State>,
              .low = lowPlace.In(block),
              .high = highPlace.In(block),
              .work = work.In(block),
              .workLength = kWaveletBlock}};
  return kStatusOk;
}

bool IsSound(const DoubledRing& ring) {
  return ring.data != nullptr && ring.length >= 1 && ring.position >= 0 &&
         ring.position < ring.length;
}
bool AreRingsSound(const DoubledRing* delay, const DoubledRing& history) {
  return (delay == nullptr || IsSound(*delay)) && IsSound(history);
}

bool IsSound(const AnalysisChannel* channel) {
  return channel != nullptr && AreRingsSound(channel->delay, channel->history) &&
         channel->reversedTaps != nullptr && (channel->oddStart == 0 || channel->oddStart == 1);
}
bool IsSound(const SynthesisChannel* channel) {
  return channel != nullptr && AreRingsSound(channel->delay, channel->history) &&
         channel->evenTaps != nullptr && (channel->oddTaps != nullptr || channel->oddCount == 0) &&
         (channel->phase == 0 || channel->phase == 1);
}

template <typename State>
int32_t CheckKindAndParts(const State* state) {
  if (state == nullptr) return kStatusNullPointer;
  if (state->magic != kMagic<State>) return kStatusContext;
  const bool isSound = IsSound(state->low) && IsSound(state->high) && state->work != nullptr &&
                       state->workLength == kWaveletBlock;
  return isSound ? kStatusOk : kStatusContext;
}

template <typename State>
int32_t Free(State* state) {
  if (const int32_t status = CheckKindAndParts(state)) return status;
  px::ippsFree(state);
  return kStatusOk;
}

}  // namespace

int32_t CheckState(const WaveletForward16s* state) {
  return CheckKindAndParts(state);
}
int32_t CheckState(const WaveletInverse16s* state) {
  return CheckKindAndParts(state);
}

namespace px {

int32_t ippsWTFwdInitAlloc_16s32f(WaveletForward16s** state, const float* pTapsLow, int32_t lenLow,
                                  int32_t offsLow, const float* pTapsHigh, int32_t lenHigh,
                                  int32_t offsHigh) {
  return Make<AnalysisChannel>(state, {pTapsLow, lenLow, offsLow}, {pTapsHigh, lenHigh, offsHigh});
}
int32_t ippsWTInvInitAlloc_32f16s(WaveletInverse16s** state, const float* pTapsLow, int32_t lenLow,
                                  int32_t offsLow, const float* pTapsHigh, int32_t lenHigh,
                                  int32_t offsHigh) {
  return Make<SynthesisChannel>(state, {pTapsLow, lenLow, offsLow}, {pTapsHigh, lenHigh, offsHigh});
}

int32_t ippsWTFwdFree_16s32f(WaveletForward16s* state) {
  return Free(state);
}
int32_t ippsWTInvFree_32f16s(WaveletInverse16s* state) {
  return Free(state);
}

}  // namespace px
}  // namespace zr::primitives
