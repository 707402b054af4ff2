// Which families of primitives this build has. The entry of a primitive whose family is left out is
// one that returns -9999, "the requested mode is currently not supported", and touches nothing.
#pragma once

#include <cstdint>

#include "primitives/status.h"

namespace zr::primitives {

template <typename Function>
struct LeftOut;

template <typename... Parameters>
struct LeftOut<int32_t (*)(Parameters...)> {
  static int32_t Entry(Parameters... /*untouched*/) { return kStatusNotSupported; }
};

}  // namespace zr::primitives

// The entry of a primitive, by its family: IS_IN(type, name) or IS_OUT(type, name).
#define IS_IN(type, name) (&zr::primitives::px::name)
#define IS_OUT(type, name) (&zr::primitives::LeftOut<type>::Entry)

#define ENTRY_Frame IS_IN
#define ENTRY_Memory IS_IN
#define ENTRY_Arithmetic IS_IN
#define ENTRY_Statistics IS_IN
#define ENTRY_Conversion IS_IN

// The driver calls no other, and its kernel has no mathematical library.
#ifdef ZR_DRIVER_FAMILIES_ONLY
#define IS_BESIDE_THE_DRIVER IS_OUT
#else
#define IS_BESIDE_THE_DRIVER IS_IN
#endif
#define ENTRY_Random IS_BESIDE_THE_DRIVER
#define ENTRY_Fft IS_BESIDE_THE_DRIVER
#define ENTRY_IntegerArithmetic IS_BESIDE_THE_DRIVER
#define ENTRY_IntegerFunctions IS_BESIDE_THE_DRIVER
#define ENTRY_Sorting IS_BESIDE_THE_DRIVER
#define ENTRY_SingleMath IS_BESIDE_THE_DRIVER
#define ENTRY_DoubleMath IS_BESIDE_THE_DRIVER
#define ENTRY_ElementaryFunctions IS_BESIDE_THE_DRIVER
#define ENTRY_Fir IS_BESIDE_THE_DRIVER
#define ENTRY_FirDesign IS_BESIDE_THE_DRIVER
#define ENTRY_Correlation IS_BESIDE_THE_DRIVER
#define ENTRY_Lms IS_BESIDE_THE_DRIVER
#define ENTRY_Iir IS_BESIDE_THE_DRIVER
#define ENTRY_Wavelet IS_BESIDE_THE_DRIVER
#define ENTRY_Resampling IS_BESIDE_THE_DRIVER
#define ENTRY_NoiseSuppression IS_BESIDE_THE_DRIVER
