// The records that the primitives' parameters are made of.
#pragma once

#include <stdint.h>

typedef struct Complex32f {
  float re;
  float im;
} Complex32f;

typedef struct Complex64f {
  double re;
  double im;
} Complex64f;

typedef struct Complex32s {
  int32_t re;
  int32_t im;
} Complex32s;

// What lasts from call to call: made and freed by the primitives of its family, which alone know
// what is in it.
typedef struct ComplexFft32f ComplexFft32f;
typedef struct ComplexFft64f ComplexFft64f;
typedef struct RealFft32f RealFft32f;
typedef struct WaveletForward16s WaveletForward16s;
typedef struct WaveletInverse16s WaveletInverse16s;
typedef struct Fir32f16s Fir32f16s;
typedef struct Iir32f16s Iir32f16s;
typedef struct Iir32s16s Iir32s16s;
typedef struct Iir32f Iir32f;
typedef struct Lms32f16s Lms32f16s;
typedef struct Resampler16s Resampler16s;
typedef struct NoiseTracker32s NoiseTracker32s;
