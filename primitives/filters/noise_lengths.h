// How many bins the gain rules of noise suppression take.
#pragma once

#include <cstdint>

#include "primitives/status.h"

namespace zr::primitives {

constexpr bool IsNoiseLength(int32_t length) {
  return length >= 1 && length <= 65535;
}

}  // namespace zr::primitives
