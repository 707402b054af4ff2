// The working buffers of a record: inside the filter only.
#pragma once

#include "popfilter/pops.h"

/// Frees and makes anew the four buffers at the lengths that the record holds, all zeroed.
/// Returns POPS_ERR_NOMEM at the first that cannot be had; it is null then, and those behind it
/// keep their old contents and lengths.
int32_t POPSAllocateBuffers(POPSState* state);

/// Whether the last allocation succeeded: a record that lacks a buffer must not run.
inline bool HasBuffers(const POPSState& state) {
  return state.psHistory != nullptr && state.pfCoefs != nullptr && state.pfAnalysis != nullptr &&
         state.psTail != nullptr;
}
