// Uniform random numbers from a seed of 32 bits that the caller keeps from call to call. The same
// seed gives the same vector in every build.
#pragma once

#include "primitives/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/// d[i] = k[i] * scale + middle, for i in [0, n), where k runs over all signed 32-bit integers,
/// scale is (high - low) * 2.3283064365387e-10, about 2^-32, and middle is (low + high) * 0.5. All
/// that is computed in double precision, the result rounded once to its type. The bounds are not
/// tested: with low above high the sequence runs the other way.
///
/// *seed starts the sequence and is replaced by the seed of the next call. A call starts a sequence
/// of its own: two calls in a row give other numbers than one call of their joint length.
/// Returns -8 if a pointer is null, then -6 if n < 1; the seed then stays.
int32_t ippsRandUniform_Direct_32f(float* d, int32_t n, float low, float high, uint32_t* seed);
int32_t ippsRandUniform_Direct_64f(double* d, int32_t n, double low, double high, uint32_t* seed);

#ifdef __cplusplus
}
#endif
