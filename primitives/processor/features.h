// What the processor can do. Each test asks the processor anew and gives 0 or 1, except where a
// number is told. "Leaf" is the number that the instruction CPUID is asked with; leaf 1 is meant
// where none is named.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Whether there is a CPUID instruction: bit 21 of the flags can be toggled.
uint32_t CpuHasCpuid(void);
/// The highest leaf: EAX of leaf 0.
uint32_t CpuMaxLeaf(void);
/// Bit 4 of EDX: a time-stamp counter.
uint32_t CpuHasTsc(void);
/// Bit 23 of EDX.
uint32_t CpuHasMmx(void);
/// Bit 25 of EDX.
uint32_t CpuHasSse(void);
/// Bit 26 of EDX.
uint32_t CpuHasSse2(void);
/// Bit 28 of EDX, where bits 16 to 23 of EBX count more than one logical processor.
uint32_t CpuHasHyperThreading(void);
/// Bit 0 of ECX.
uint32_t CpuHasSse3(void);
/// Bit 29 of EDX of leaf 0x80000001, which is asked only where leaf 0x80000000 tells of it.
uint32_t CpuHasLongMode(void);
/// Whether leaf 0 gives 0x756e6547 in EBX, 0x49656e69 in EDX and 0x6c65746e in ECX.
uint32_t CpuVendorIsExpected(void);
/// Whether denormals can be taken as zeros: FXSAVE stores a mask for MXCSR, and its bit 6 is set.
uint32_t CpuHasDaz(void);
/// The time-stamp counter.
uint64_t CpuReadTimeStamp(void);

typedef struct CpuInfoRecord {
  uint32_t family;
  uint32_t stepping;
  uint32_t model;
  uint32_t zero;
  uint32_t features;  ///< EDX of leaf 1.
  uint32_t leaf2Eax;
  uint32_t leaf2Edx;
  uint32_t mmx;
  uint32_t untouched;
  uint32_t sse;
  uint32_t sse2;
  uint32_t hyperThreading;
  uint32_t sse3;
  uint32_t longMode;
} CpuInfoRecord;

/// Fills *info but for the field `untouched`. info is not null.
void CpuReadInfo(CpuInfoRecord* info);

#ifdef __cplusplus
}
#endif
