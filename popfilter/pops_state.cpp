// Creation and destruction of the filter's record, and its working buffers.
#include <algorithm>
#include <limits>

#include "popfilter/pops.h"
#include "popfilter/pops_buffers.h"
#include "primitives/memory.h"

namespace {

// A length that no allocator can serve is refused there like any failed allocation.
int32_t AllocatorLength(uint64_t elements) {
  const bool fits = elements <= static_cast<uint64_t>(std::numeric_limits<int32_t>::max());
  return fits ? static_cast<int32_t>(elements) : 0;
}

template <typename T>
bool Reallocate(T*& buffer, T* (*allocate)(int32_t), uint64_t elements) {
  ippsFree(buffer);
  buffer = allocate(AllocatorLength(elements));
  if (buffer == nullptr) return false;
  std::fill_n(buffer, elements, T{});
  return true;
}

}  // namespace

int32_t POPSAllocateBuffers(POPSState* state) {
  const uint64_t order = state->ulOrder;
  const uint64_t delay = state->ulDelay;
  const bool isComplete = Reallocate(state->psHistory, ippsMalloc_16s, order + delay) &&
                          Reallocate(state->pfCoefs, ippsMalloc_32f, order) &&
                          Reallocate(state->pfAnalysis, ippsMalloc_32f, order + delay) &&
                          Reallocate(state->psTail, ippsMalloc_16s, delay);
  return isComplete ? POPS_OK : POPS_ERR_NOMEM;
}

int32_t POPSCreate(POPSState** state) {
  if (state == nullptr) return POPS_ERR_PARAM;
  *state = reinterpret_cast<POPSState*>(ippsMalloc_8u(sizeof(POPSState)));
  if (*state == nullptr) return POPS_ERR_NOMEM;

  **state = POPSState{.ulSampleRate = 8000,
                      .ulOption = 0,
                      .ulBytesPerSample = sizeof(int16_t),
                      .psHistory = nullptr,
                      .psTail = nullptr,
                      .ulChannels = 1,
                      .ulOrder = 8,
                      .ulSettle = 16,
                      .ulDelay = 8,
                      .ulPhase = POPS_PHASE_REFILL,
                      .ulCount = 24,
                      .pfCoefs = nullptr,
                      .pfAnalysis = nullptr,
                      .fEnergy = 0.0F,
                      .fStep = 0.2F,
                      .fCeiling = 1.0F,
                      .fFloor = 0.075F,
                      .fSlope = 0.0F,
                      .ulDetectMode = 3};
  return POPSAllocateBuffers(*state);
}

int32_t POPSDestroy(POPSState* state) {
  if (state == nullptr) return POPS_ERR_NOSTATE;
  ippsFree(state->psHistory);
  ippsFree(state->pfCoefs);
  ippsFree(state->pfAnalysis);
  ippsFree(state->psTail);
  ippsFree(state);
  return POPS_OK;
}
