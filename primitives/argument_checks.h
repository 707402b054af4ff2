// The checks that open nearly every primitive, in the order that callers can see: pointers, then
// the length.
#pragma once

#include <cstdint>

#include "primitives/status.h"

namespace zr::primitives {

/// kStatusNullPointer if a pointer is null, else kStatusSize if length < minimum, else kStatusOk.
template <typename... Pointers>
[[nodiscard]] inline int32_t CheckArguments(int32_t length, int32_t minimum,
                                            const Pointers*... pointers) {
  const bool isAnyNull = ((pointers == nullptr) || ...);
  if (isAnyNull) return kStatusNullPointer;
  return length < minimum ? kStatusSize : kStatusOk;
}

}  // namespace zr::primitives
