// The arithmetic that the double-precision routines count on, for as long as they run: rounding to
// nearest, and on the x87 results of 53 bits. What a caller had set comes back.
#pragma once

#include <cfloat>
#include <cstdint>

#include "primitives/processor/floating_point_control.h"

namespace zr::primitives {

/// A compiler moves arithmetic across such calls as it likes: what is to run inside stands in a
/// function of another file.
class DoublePrecisionScope {
 public:
  DoublePrecisionScope() {
    if constexpr (kIsX87) {
      constexpr uint32_t kPrecisionAndRounding = 0xf00;
      constexpr uint32_t kPrecision53ToNearest = 0x200;
      FpSetControlBits(kPrecision53ToNearest, kPrecisionAndRounding);
    } else {
      FpSetMxcsrRounding(0);
    }
  }
  ~DoublePrecisionScope() {
    if (Current() == before_) return;
    if constexpr (kIsX87) {
      FpRestoreControlWord(before_);
    } else {
      FpSetMxcsrRounding(before_);
    }
  }
  DoublePrecisionScope(const DoublePrecisionScope&) = delete;
  DoublePrecisionScope& operator=(const DoublePrecisionScope&) = delete;

 private:
  static constexpr bool kIsX87 = FLT_EVAL_METHOD != 0;

  static uint32_t Current() {
    constexpr uint32_t kMxcsrRounding = 0x6000;
    if constexpr (kIsX87) {
      return FpGetControlWord();
    } else {
      return FpGetMxcsr() & kMxcsrRounding;
    }
  }

  const uint32_t before_ = Current();
};

}  // namespace zr::primitives
