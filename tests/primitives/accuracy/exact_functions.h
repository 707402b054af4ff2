// MPFR's functions, all of one signature.
#pragma once

#include <mpfr.h>

namespace zr::test {

inline void ExactSine(mpfr_t result, const mpfr_t x, const mpfr_t /*y*/) {
  mpfr_sin(result, x, MPFR_RNDN);
}
inline void ExactCosine(mpfr_t result, const mpfr_t x, const mpfr_t /*y*/) {
  mpfr_cos(result, x, MPFR_RNDN);
}
inline void ExactTangent(mpfr_t result, const mpfr_t x, const mpfr_t /*y*/) {
  mpfr_tan(result, x, MPFR_RNDN);
}
inline void ExactDecimalLogarithm(mpfr_t result, const mpfr_t x, const mpfr_t /*y*/) {
  mpfr_log10(result, x, MPFR_RNDN);
}
inline void ExactLogarithm(mpfr_t result, const mpfr_t x, const mpfr_t /*y*/) {
  mpfr_log(result, x, MPFR_RNDN);
}
inline void ExactExponential(mpfr_t result, const mpfr_t x, const mpfr_t /*y*/) {
  mpfr_exp(result, x, MPFR_RNDN);
}
inline void ExactRoot(mpfr_t result, const mpfr_t x, const mpfr_t /*y*/) {
  mpfr_sqrt(result, x, MPFR_RNDN);
}
inline void ExactPower(mpfr_t result, const mpfr_t x, const mpfr_t y) {
  mpfr_pow(result, x, y, MPFR_RNDN);
}
inline void ExactMagnitude(mpfr_t result, const mpfr_t re, const mpfr_t im) {
  mpfr_hypot(result, re, im, MPFR_RNDN);
}
inline void ExactPhase(mpfr_t result, const mpfr_t re, const mpfr_t im) {
  mpfr_atan2(result, im, re, MPFR_RNDN);
}
inline void ExactSumOfSquares(mpfr_t result, const mpfr_t re, const mpfr_t im) {
  mpfr_fmma(result, re, re, im, im, MPFR_RNDN);
}

}  // namespace zr::test
