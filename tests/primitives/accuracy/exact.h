// Results of mathematical functions to 160 bits, by MPFR.
#pragma once

#include <mpfr.h>

namespace zr::test {

class Exact {
 public:
  using Function = void (*)(mpfr_t result, const mpfr_t x, const mpfr_t y);

  Exact();
  ~Exact();
  Exact(const Exact&) = delete;
  Exact& operator=(const Exact&) = delete;

  void Compute(Function function, double x, double y);

  [[nodiscard]] bool IsNaN() const { return mpfr_nan_p(result_) != 0; }
  [[nodiscard]] bool IsInfinite() const { return mpfr_inf_p(result_) != 0; }
  [[nodiscard]] double NearestDouble() const { return mpfr_get_d(result_, MPFR_RNDN); }
  [[nodiscard]] float NearestFloat() const { return mpfr_get_flt(result_, MPFR_RNDN); }

  /// number - result, by 2^exponent.
  double Difference(long double number, long exponent);

 private:
  mpfr_t x_;
  mpfr_t y_;
  mpfr_t result_;
  mpfr_t difference_;
};

}  // namespace zr::test
