// MXCSR, the control of the vector units: apart from the x87's, so that who uses only that holds no
// instruction of theirs.
#include "primitives/processor/floating_point_control.h"

namespace {

constexpr uint32_t kMxcsrRounding = 0x6000;

void LoadMxcsr(uint32_t value) {
  asm volatile("ldmxcsr %0" : : "m"(value));
}

}  // namespace

uint32_t FpResetMxcsr() {
  constexpr uint32_t kMaskedToNearest = 0x1f80;
  const uint32_t old = FpGetMxcsr();
  LoadMxcsr(kMaskedToNearest);
  return old;
}

uint32_t FpGetMxcsr() {
  uint32_t value = 0;
  asm volatile("stmxcsr %0" : "=m"(value));
  return value;
}

uint32_t FpSetMxcsr(uint32_t value, uint32_t mask) {
  const uint32_t old = FpGetMxcsr();
  LoadMxcsr((old & ~mask) | (value & mask));
  return old;
}

void FpSetMxcsrRounding(uint32_t rounding) {
  const uint32_t old = FpGetMxcsr();
  const uint32_t wanted = (old & ~kMxcsrRounding) | (rounding & kMxcsrRounding);
  if (wanted != old) LoadMxcsr(wanted);
}

void FpRestoreMxcsr(uint32_t value) {
  LoadMxcsr(value);
}
