// Windows that multiply the taps of a filter in place.
#pragma once

#include <cstdint>

namespace zr::primitives {

enum class Window : int32_t {
  Bartlett = 0,
  Blackman = 1,  ///< With the alpha that is optimal for its length.
  Hamming = 2,
  Hann = 3,
};

/// s[i] = s[i] * w(i), for i in [0, n). Any other window leaves all as it is.
/// Returns -8 if s is null, then -6 if n < 5: of shorter windows, not all are defined.
int32_t ApplyWindow(Window window, double* s, int32_t n);

}  // namespace zr::primitives
