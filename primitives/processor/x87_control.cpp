// The x87: control word and status word, in its own layout and the abstract one.
#include "primitives/processor/floating_point_control.h"

#include <bit>

namespace {

constexpr uint32_t kPrecision = 0x300;
constexpr uint32_t kPrecision24 = 0;
constexpr uint32_t kPrecision53 = 0x200;
constexpr uint32_t kPrecision64 = 0x300;
constexpr uint32_t kAbstractPrecision24 = 0x20000;
constexpr uint32_t kAbstractPrecision53 = 0x10000;

struct BitPair {
  uint32_t abstract;
  uint32_t x87;
};
constexpr BitPair kExceptions[] = {{0x10, 0x1}, {0x80000, 0x2}, {0x8, 0x4},
                                   {0x4, 0x8},  {0x2, 0x10},    {0x1, 0x20}};
constexpr BitPair kControls[] = {{0x100, 0x400}, {0x200, 0x800}, {0x40000, 0x1000}};

void LoadControlWord(uint32_t value) {
  const auto word = static_cast<uint16_t>(value);
  asm volatile("fldcw %0" : : "m"(word));
}

uint32_t AbstractExceptions(uint32_t x87) {
  uint32_t abstract = 0;
  for (const BitPair& pair : kExceptions)
    abstract |= (x87 & pair.x87) != 0 ? pair.abstract : 0;
  return abstract;
}

uint32_t AbstractControl(uint32_t x87) {
  uint32_t abstract = AbstractExceptions(x87);
  for (const BitPair& pair : kControls)
    abstract |= (x87 & pair.x87) != 0 ? pair.abstract : 0;
  if ((x87 & kPrecision) == kPrecision24) abstract |= kAbstractPrecision24;
  if ((x87 & kPrecision) == kPrecision53) abstract |= kAbstractPrecision53;
  return abstract;
}

// Bits of the control word that the abstract layout does not have stay as they are in `old`.
uint32_t ControlFromAbstract(uint32_t abstract, uint32_t old) {
  uint32_t x87 = old & ~kPrecision;
  const auto put = [&](const BitPair& pair) {
    x87 = (abstract & pair.abstract) != 0 ? x87 | pair.x87 : x87 & ~pair.x87;
  };
  for (const BitPair& pair : kExceptions)
    put(pair);
  for (const BitPair& pair : kControls)
    put(pair);
  if ((abstract & kAbstractPrecision24) != 0) return x87 | kPrecision24;
  return x87 | ((abstract & kAbstractPrecision53) != 0 ? kPrecision53 : kPrecision64);
}

}  // namespace

uint32_t FpGetControlWord() {
  uint16_t word = 0;
  asm volatile("fnstcw %0" : "=m"(word));
  return word;
}

uint32_t FpSetControlWord(uint32_t value, uint32_t mask) {
  const uint32_t old = FpGetControlWord();
  LoadControlWord((old & ~mask) | (value & mask));
  return old;
}

void FpSetControlBits(uint32_t value, uint32_t mask) {
  const uint32_t old = FpGetControlWord();
  if ((old & mask) != (value & mask)) LoadControlWord((old & ~mask) | (value & mask));
}

void FpRestoreControlWord(uint32_t value) {
  LoadControlWord(value);
}

uint32_t FpGetStatusWord() {
  uint16_t word = 0;
  asm volatile("fnstsw %0" : "=m"(word));
  return word;
}

uint32_t FpGetAndClearStatusWord() {
  const uint32_t before = FpGetStatusWord();
  asm volatile("fnclex");
  return before;
}

uint32_t FpControlAbstract(uint32_t value, uint32_t mask) {
  const uint32_t old = FpGetControlWord();
  const uint32_t wanted = (AbstractControl(old) & ~mask) | (value & mask);
  const uint32_t word = ControlFromAbstract(wanted, old);
  LoadControlWord(word);
  return AbstractControl(word);
}

uint32_t FpStatusAbstract() {
  return AbstractExceptions(FpGetStatusWord());
}

uint32_t FpClearAbstract() {
  return AbstractExceptions(FpGetAndClearStatusWord());
}

uint32_t FpIsNan(double value) {
  return (std::bit_cast<uint64_t>(value) & 0x7fffffffffffffff) > 0x7ff0000000000000 ? 1 : 0;
}

uint32_t FpIsFinite(double value) {
  constexpr uint64_t kExponent = 0x7ff0000000000000;
  return (std::bit_cast<uint64_t>(value) & kExponent) != kExponent ? 1 : 0;
}
