#include "tests/primitives/accuracy/exact.h"

namespace zr::test {

Exact::Exact() {
  mpfr_inits2(53, x_, y_, nullptr);
  mpfr_inits2(160, result_, difference_, nullptr);
}

Exact::~Exact() {
  mpfr_clears(x_, y_, result_, difference_, nullptr);
}

void Exact::Compute(Function function, double x, double y) {
  mpfr_set_d(x_, x, MPFR_RNDN);
  mpfr_set_d(y_, y, MPFR_RNDN);
  function(result_, x_, y_);
}

double Exact::Difference(long double number, long exponent) {
  mpfr_set_ld(difference_, number, MPFR_RNDN);
  mpfr_sub(difference_, difference_, result_, MPFR_RNDN);
  mpfr_div_2si(difference_, difference_, exponent, MPFR_RNDN);
  return mpfr_get_d(difference_, MPFR_RNDN);
}

}  // namespace zr::test
