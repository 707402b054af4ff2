// What makes a transform of N real points out of one of h = N/2 complex points, whose real parts
// are the even points and whose imaginary parts are the odd ones. Spectra are in the packed form
// Perm.
#pragma once

#include <cstdint>

namespace zr::primitives::px {

/// Behind the forward complex transform, in place: numbers 1 to h - 1 of the real points' spectrum.
/// Number 0 is left alone. table: MakeForwardRecombination of N points.
void FFTRecombine(float* z, int32_t h, const float* table);

/// Ahead of the inverse complex transform: numbers 1 to h - 1, twice as large as they went in.
/// destination may be source. table: MakeInverseRecombination of N points.
void FFTDecombine(const float* source, float* destination, int32_t h, const float* table);

}  // namespace zr::primitives::px
