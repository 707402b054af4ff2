// Measures the errors of one function over a share of its arguments.
#pragma once

#include "tests/primitives/accuracy/figures.h"
#include "tests/primitives/accuracy/function.h"

namespace zr::test {

/// Of blocks numbered from 0, every step-th from the first on.
struct Share {
  static constexpr int32_t kBlock = 4096;  ///< Arguments, or pairs.

  uint64_t first;
  uint64_t step;
  uint64_t blocks;
  uint64_t stride;  ///< From float to float, where all of them are taken.
};

template <typename Element>
Figures Measure(const Function<Element>& function, const Share& share);

}  // namespace zr::test
