// The prototype of a resampler's filters: one half of a sinc under a Kaiser window, from its centre
// outward, as fine as the phases are.
#pragma once

#include <cstdint>

namespace zr::primitives {

struct SincPrototype {
  int32_t inRate;   ///< Reduced.
  int32_t outRate;  ///< Reduced. As many entries stand for one input sample.
  int64_t length;   ///< Of a filter in input samples, a multiple of 4.
  float rolloff;
  float alpha;
};

/// Entries up to the end of the window, which is at length / 2 input samples or a little behind. Of
/// large rates it may be beyond 32 bits.
int64_t PrototypeLength(const SincPrototype& prototype);

/// table[i] is the tap at i / outRate input samples, for i in [0, count), with count from
/// PrototypeLength.
void FillPrototype(const SincPrototype& prototype, double* table, int32_t count);

}  // namespace zr::primitives
