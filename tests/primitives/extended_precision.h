// The x87 with all of its 64 bits, for references in long double: the 32-bit preset runs with 53.
#pragma once

#include "primitives/processor/floating_point_control.h"

namespace zr::test {

class ExtendedPrecision {
 public:
  ExtendedPrecision() { FpSetControlWord(kPrecision64, kPrecision64); }
  ~ExtendedPrecision() { FpRestoreControlWord(before_); }
  ExtendedPrecision(const ExtendedPrecision&) = delete;
  ExtendedPrecision& operator=(const ExtendedPrecision&) = delete;

 private:
  static constexpr uint32_t kPrecision64 = 0x300;

  const uint32_t before_ = FpGetControlWord();
};

}  // namespace zr::test
