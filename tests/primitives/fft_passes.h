// The Fourier transform by recursion over decimated sequences: no permutation, no twiddle tables,
// but the roundings are where the library's are. Every bit must agree.
#pragma once

#include <bit>
#include <complex>
#include <cstdint>
#include <vector>

#include "primitives/fft/sine_table.h"

namespace zr::test {

/// Roots come from the library's sines, the splitting of large orders from the caller.
template <typename Complex>
struct PassByPass {
  using Element = decltype(Complex::re);
  using Wide = std::complex<double>;

  const primitives::px::SineTable<Element> roots;
  int32_t directLimit;
  std::vector<int32_t> splitByOrder;
  bool isForward;

  /// y = the transform of n numbers, every step-th from x on. n is 1, or 4 or more.
  void Transform(const Complex* x, std::size_t step, Complex* y, std::size_t n) const {
    if (n == 1) {
      *y = *x;
      return;
    }
    const int32_t order = std::countr_zero(n);
    const int32_t split = splitByOrder[static_cast<std::size_t>(order)];
    const bool isByHalves = split == 0 && (order > directLimit || order == 3);
    const std::size_t rowCount = split != 0 ? std::size_t{1} << split : isByHalves ? 2 : 4;
    const std::size_t rowLength = n / rowCount;
    for (std::size_t j = 0; j < rowCount; ++j)
      Transform(x + j * step, step * rowCount, y + j * rowLength, rowLength);
    std::vector<Complex> column(split != 0 ? 2 * rowCount : 0);
    for (std::size_t k = 0; k < rowLength; ++k) {
      if (split != 0) {
        for (std::size_t j = 0; j < rowCount; ++j)
          column[j] = Rounded(Turned(y[k + j * rowLength], order, j * k));
        Transform(column.data(), 1, column.data() + rowCount, rowCount);
        for (std::size_t q = 0; q < rowCount; ++q)
          y[k + q * rowLength] = column[rowCount + q];
      } else if (isByHalves) {
        CombineHalves(y + k, rowLength, order, k);
      } else {
        CombineQuarters(y + k, rowLength, order, k);
      }
    }
  }

 private:
  static Complex Rounded(Wide value) {
    return {static_cast<Element>(value.real()), static_cast<Element>(value.imag())};
  }
  /// value * root number index of 2^order.
  Wide Turned(Complex value, int32_t order, std::size_t index) const {
    const auto root = roots.RootAt(order, static_cast<int32_t>(index));
    const double wr = root.re;
    const double wi = isForward ? double{root.im} : -double{root.im};
    const double re = value.re;
    const double im = value.im;
    return {re * wr - im * wi, re * wi + im * wr};
  }
  Wide TurnedUnlessFirst(Complex value, int32_t order, std::size_t index) const {
    return index == 0 ? Wide(value.re, value.im) : Turned(value, order, index);
  }

  void CombineHalves(Complex* y, std::size_t half, int32_t order, std::size_t k) const {
    const Wide even(y[0].re, y[0].im);
    const Wide odd = TurnedUnlessFirst(y[half], order, k);
    y[0] = Rounded(even + odd);
    y[half] = Rounded(even - odd);
  }
  void CombineQuarters(Complex* y, std::size_t quarter, int32_t order, std::size_t k) const {
    Wide t[4];
    for (std::size_t i = 0; i < 4; ++i)
      t[i] = TurnedUnlessFirst(y[i * quarter], order, i * k);
    const Wide difference = isForward ? t[1] - t[3] : t[3] - t[1];
    const Wide turned(difference.imag(), -difference.real());
    y[0] = Rounded((t[0] + t[2]) + (t[1] + t[3]));
    y[quarter] = Rounded((t[0] - t[2]) + turned);
    y[2 * quarter] = Rounded((t[0] + t[2]) - (t[1] + t[3]));
    y[3 * quarter] = Rounded((t[0] - t[2]) - turned);
  }
};

}  // namespace zr::test
