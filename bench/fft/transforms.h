// The contenders of bench_fft: one discrete Fourier transform of 2^order points, planned ahead,
// from one vector to another, without scaling and with its source kept.
#pragma once

#include <cstdint>
#include <functional>

namespace zr::bench {

/// Half a spectrum of real points is N/2 + 1 complex numbers. Of the first and the last of them an
/// inverse transform does not look at the imaginary parts.
enum class Form { kComplexForward, kComplexInverse, kRealForward, kRealInverse };

inline bool IsReal(Form form) {
  return form == Form::kRealForward || form == Form::kRealInverse;
}
inline bool IsForward(Form form) {
  return form == Form::kComplexForward || form == Form::kRealForward;
}

/// Elements read and elements written.
inline int32_t SourceLength(Form form, int32_t order) {
  const int32_t n = int32_t{1} << order;
  if (!IsReal(form)) return 2 * n;
  return IsForward(form) ? n : n + 2;
}
inline int32_t DestinationLength(Form form, int32_t order) {
  const int32_t n = int32_t{1} << order;
  if (!IsReal(form)) return 2 * n;
  return IsForward(form) ? n + 2 : n;
}

using Transform = std::function<void()>;

// Vectors stand on lines of the cache. A transform that a contender does not have is empty.

Transform OurTransform(Form form, int32_t order, const float* source, float* destination);
Transform OurTransform(Form form, int32_t order, const double* source, double* destination);

Transform KissFftTransform(Form form, int32_t order, const float* source, float* destination);
Transform KissFftTransform(Form form, int32_t order, const double* source, double* destination);

/// The fastest of the plans that FFTW times when it makes it.
Transform FftwTransform(Form form, int32_t order, const float* source, float* destination);
Transform FftwTransform(Form form, int32_t order, const double* source, double* destination);

/// What results are compared with: FFTW by the first plan that comes.
Transform ReferenceTransform(Form form, int32_t order, const double* source, double* destination);

}  // namespace zr::bench
