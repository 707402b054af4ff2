// The numbered parameters of the filter: 32-bit integers outside, the record's fields inside.
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>

#include "popfilter/pops.h"
#include "popfilter/pops_buffers.h"
#include "primitives/rounding.h"

namespace {

constexpr std::array<uint32_t, 6> kLegalRates = {8000, 16000, 11025, 22050, 44100, 48000};
constexpr uint32_t kFlushedSamples = 4;

uint32_t ToThousandths(float value) {
  const double scaled = static_cast<double>(value) * 1000.0;
  // What the truncating store of the processor gives for a value beyond its range.
  const bool fits = scaled > -2147483649.0 && scaled < 2147483648.0;
  return std::bit_cast<uint32_t>(fits ? static_cast<int32_t>(scaled)
                                      : std::numeric_limits<int32_t>::min());
}

float FromThousandths(uint32_t value) {
  constexpr float kThousandth = 0.001F;
  return zr::primitives::RoundToFloat(static_cast<double>(std::bit_cast<int32_t>(value)) *
                                      static_cast<double>(kThousandth));
}

void Flush(POPSState& state) {
  if (state.psHistory == nullptr) return;
  const uint64_t historyLength = static_cast<uint64_t>(state.ulOrder) + state.ulDelay;
  std::fill_n(state.psHistory, std::min<uint64_t>(kFlushedSamples, historyLength), int16_t{0});
}

// A length of 0 goes on to the allocators, which refuse it. A length of 1 would leave the deviation
// or the neighbour test without the samples that they read.
int32_t SetLength(POPSState& state, uint32_t& length, uint32_t value) {
  if (value == 1) return POPS_ERR_PARAM;
  length = value;
  return POPSAllocateBuffers(&state);
}

}  // namespace

int32_t POPSGetParameter(const POPSState* state, uint32_t id, uint32_t* value) {
  if (state == nullptr) return POPS_ERR_NOSTATE;
  switch (id) {
    case POPS_ID_CONST0:
    case POPS_ID_CONST1:
      *value = 1;
      return POPS_OK;
    case POPS_ID_BITS:
      *value = state->ulBytesPerSample * 8;
      return POPS_OK;
    case POPS_ID_RATE:
      *value = state->ulSampleRate;
      return POPS_OK;
    case POPS_ID_OPTION:
      *value = state->ulOption;
      return POPS_OK;
    case POPS_ID_CHANNELS:
      *value = state->ulChannels;
      return POPS_OK;
    case POPS_ID_FLUSH:
      *value = 0;
      return POPS_OK;
    case POPS_ID_STEP:
      *value = ToThousandths(state->fStep);
      return POPS_OK;
    case POPS_ID_CEILING:
      *value = ToThousandths(state->fCeiling);
      return POPS_OK;
    case POPS_ID_FLOOR:
      *value = ToThousandths(state->fFloor);
      return POPS_OK;
    case POPS_ID_SLOPE:
      *value = ToThousandths(state->fSlope);
      return POPS_OK;
    case POPS_ID_ORDER:
      *value = state->ulOrder;
      return POPS_OK;
    case POPS_ID_SETTLE:
      *value = state->ulSettle;
      return POPS_OK;
    case POPS_ID_DELAY:
      *value = state->ulDelay;
      return POPS_OK;
    case POPS_ID_MODE:
      *value = state->ulDetectMode;
      return POPS_OK;
    default:
      return POPS_ERR_PARAM;
  }
}

int32_t POPSSetParameter(POPSState* state, uint32_t id, uint32_t value) {
  if (state == nullptr) return POPS_ERR_NOSTATE;
  switch (id) {
    case POPS_ID_BITS:
      if (value != 16) return POPS_ERR_PARAM;
      state->ulBytesPerSample = sizeof(int16_t);
      return POPS_OK;
    case POPS_ID_RATE:
      if (std::ranges::find(kLegalRates, value) == kLegalRates.end()) return POPS_ERR_PARAM;
      state->ulSampleRate = value;
      return POPS_OK;
    case POPS_ID_OPTION:
      if (value != 0) return POPS_ERR_PARAM;
      state->ulOption = value;
      return POPS_OK;
    case POPS_ID_CHANNELS:
      return value == 1 ? POPS_OK : POPS_ERR_PARAM;
    case POPS_ID_FLUSH:
      if (value != 1) return POPS_ERR_PARAM;
      Flush(*state);
      return POPS_OK;
    case POPS_ID_STEP:
      state->fStep = FromThousandths(value);
      return POPS_OK;
    case POPS_ID_CEILING:
      state->fCeiling = FromThousandths(value);
      return POPS_OK;
    case POPS_ID_FLOOR:
      state->fFloor = FromThousandths(value);
      return POPS_OK;
    case POPS_ID_SLOPE:
      state->fSlope = FromThousandths(value);
      return POPS_OK;
    case POPS_ID_ORDER:
      return SetLength(*state, state->ulOrder, value);
    case POPS_ID_SETTLE:
      if (value == 0) return POPS_ERR_PARAM;
      state->ulSettle = value;
      return POPS_OK;
    case POPS_ID_DELAY:
      return SetLength(*state, state->ulDelay, value);
    case POPS_ID_MODE:
      state->ulDetectMode = value;
      return POPS_OK;
    default:
      return POPS_ERR_PARAM;
  }
}

int32_t POPSGetParameterBlock(const POPSState* state, uint32_t id, void* value,
                              const uint32_t* size) {
  if (state == nullptr) return POPS_ERR_NOSTATE;
  uint32_t read = 0;
  if (value == nullptr || size == nullptr || *size != sizeof(read)) return POPS_ERR_PARAM;
  const int32_t status = POPSGetParameter(state, id, &read);
  if (status == POPS_OK) std::memcpy(value, &read, sizeof(read));
  return status;
}

int32_t POPSSetParameterBlock(POPSState* state, uint32_t id, const void* value, uint32_t size) {
  if (state == nullptr) return POPS_ERR_NOSTATE;
  uint32_t written = 0;
  if (value == nullptr || size != sizeof(written)) return POPS_ERR_PARAM;
  std::memcpy(&written, value, sizeof(written));
  return POPSSetParameter(state, id, written);
}
