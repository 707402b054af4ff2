// The frame of a primitive that computes each element by itself: the checks, then one plain loop
// from the first element up, so that a destination may be a source.
#pragma once

#include "primitives/argument_checks.h"
#include "primitives/element_access.h"

namespace zr::primitives {

/// d[i] = operation(sources[i]...), for i in [0, n).
template <typename Operation, typename Destination, typename... Sources>
int32_t ForEachElement(Operation operation, Destination* d, int32_t n, const Sources*... sources) {
  if (const int32_t status = CheckArguments(n, 1, sources..., d)) return status;
  for (int32_t i = 0; i < n; ++i) {
    Store<Destination>(d, i, operation(Load(sources, i)...));
  }
  return kStatusOk;
}

}  // namespace zr::primitives
