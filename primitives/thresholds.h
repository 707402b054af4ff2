// Vectors held to levels, element by element. Each result is the element or its replacement, bit by
// bit.
//
// a is a source, d a destination that may be a, s a vector in place, of n elements each. In place,
// elements within the levels are not written. A refused call writes nothing. Where nothing else is
// said, a primitive returns -8 if a pointer is null, then -6 if n < 1, else 0.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d = a where a > level, else level. So a NaN becomes the level, and a zero under a level of zero
/// takes the level's sign.
int32_t ippsThreshold_LT_32f(const float* a, float* d, int32_t n, float level);
int32_t ippsThreshold_LT_64f(const double* a, double* d, int32_t n, double level);
int32_t ippsThreshold_LT_32f_I(float* s, int32_t n, float level);
int32_t ippsThreshold_LT_64f_I(double* s, int32_t n, double level);
int32_t ippsThreshold_LT_32s_I(int32_t* s, int32_t n, int32_t level);

/// d = level where a >= level, else a. So a NaN stays, and a zero over a level of zero takes the
/// level's sign.
int32_t ippsThreshold_GT_64f(const double* a, double* d, int32_t n, double level);
int32_t ippsThreshold_GT_32f_I(float* s, int32_t n, float level);
int32_t ippsThreshold_GT_64f_I(double* s, int32_t n, double level);

/// d = valueLow where a < levelLow or a is a NaN, valueHigh where a > levelHigh, else a.
/// Returns -18, behind -8 and -6, if levelLow > levelHigh.
int32_t ippsThreshold_LTValGTVal_64f(const double* a, double* d, int32_t n, double levelLow,
                                     double valueLow, double levelHigh, double valueHigh);
int32_t ippsThreshold_LTValGTVal_32f_I(float* s, int32_t n, float levelLow, float valueLow,
                                       float levelHigh, float valueHigh);
int32_t ippsThreshold_LTValGTVal_64f_I(double* s, int32_t n, double levelLow, double valueLow,
                                       double levelHigh, double valueHigh);

#ifdef __cplusplus
}
#endif
