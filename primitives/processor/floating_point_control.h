// The control and status registers of the processor's two floating-point units: the x87's control
// and status word, and MXCSR.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Loads 0x1f80, all exceptions masked and rounding to nearest, into MXCSR; gives the old one.
uint32_t FpResetMxcsr(void);
/// MXCSR.
uint32_t FpGetMxcsr(void);
/// MXCSR becomes (old and not mask) or (value and mask); gives the old one.
uint32_t FpSetMxcsr(uint32_t value, uint32_t mask);
/// Replaces bits 13 and 14 of MXCSR by those of `rounding`; writes it only if they differ.
void FpSetMxcsrRounding(uint32_t rounding);
/// Loads the value into MXCSR.
void FpRestoreMxcsr(uint32_t value);

/// The x87's control word.
uint32_t FpGetControlWord(void);
/// The control word becomes (old and not mask) or (value and mask); gives the old one.
uint32_t FpSetControlWord(uint32_t value, uint32_t mask);
/// The same, but writes only if the masked bits differ from the value.
void FpSetControlBits(uint32_t value, uint32_t mask);
/// Loads the value into the control word.
void FpRestoreControlWord(uint32_t value);
/// The x87's status word.
uint32_t FpGetStatusWord(void);
/// Clears the exception flags; gives the status word from before.
uint32_t FpGetAndClearStatusWord(void);

// The same in a layout that is not the processor's:
//
//   0x00010  invalid         0x80000  denormal        0x00008  zero divide
//   0x00004  overflow        0x00002  underflow       0x00001  inexact
//   0x00300  rounding: 0 nearest, 0x100 down, 0x200 up, 0x300 toward zero
//   0x30000  precision: 0 64 bits, 0x10000 53 bits, 0x20000 24 bits
//   0x40000  infinity control

/// The control word becomes (old and not mask) or (value and mask); gives the new one. Both 24 and
/// 53 bits mean 24.
uint32_t FpControlAbstract(uint32_t value, uint32_t mask);
/// The exception flags of the status word.
uint32_t FpStatusAbstract(void);
/// Clears them; gives those from before.
uint32_t FpClearAbstract(void);

/// 1 if the value is a NaN, else 0.
uint32_t FpIsNan(double value);
/// 1 if the exponent is not all ones, else 0.
uint32_t FpIsFinite(double value);

#ifdef __cplusplus
}
#endif
