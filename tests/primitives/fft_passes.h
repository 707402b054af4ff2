// The Fourier transform by recursion over decimated sequences: no permutation, no tables, nothing
// in place, but the roundings are where the library's are. Every bit must agree.
#pragma once

#include <cstdint>
#include <vector>

#include "primitives/fft/sine_table.h"

namespace zr::test {

/// Roots come from the library's table, the splitting of large orders from the caller.
template <typename Complex>
class PassByPass {
 public:
  using Element = decltype(Complex::re);
  using Sequence = std::vector<Complex>;

  PassByPass(const primitives::px::SineTable<Element>& roots, int32_t directLimit,
             std::vector<int32_t> splitByOrder, bool isForward)
      : roots_(roots),
        directLimit_(directLimit),
        splitByOrder_(std::move(splitByOrder)),
        isForward_(isForward) {}

  Sequence Transform(const Sequence& x) const {
    const int32_t order = OrderOf(x);
    const int32_t split = splitByOrder_[static_cast<std::size_t>(order)];
    if (split != 0) return BySplit(x, split);
    if (order > directLimit_) return ByHalves(x);
    return order == 3 ? ByHalves(x) : ByQuarters(x);
  }

 private:
  struct Wide {
    double re;
    double im;
  };

  static int32_t OrderOf(const Sequence& x) {
    int32_t order = 0;
    while (std::size_t{1} << order < x.size())
      ++order;
    return order;
  }
  static Sequence Decimated(const Sequence& x, std::size_t first, std::size_t step) {
    Sequence part;
    for (std::size_t i = first; i < x.size(); i += step)
      part.push_back(x[i]);
    return part;
  }
  static Complex Rounded(double re, double im) {
    return {static_cast<Element>(re), static_cast<Element>(im)};
  }
  /// value * root number index of 2^order.
  Wide Turned(Complex value, int32_t order, std::size_t index) const {
    const auto root = roots_.RootAt(order, static_cast<int32_t>(index));
    const double wr = root.re;
    const double wi = isForward_ ? double{root.im} : -double{root.im};
    const double re = value.re;
    const double im = value.im;
    return {re * wr - im * wi, re * wi + im * wr};
  }
  Wide TurnedUnlessFirst(Complex value, int32_t order, std::size_t index) const {
    return index == 0 ? Wide{value.re, value.im} : Turned(value, order, index);
  }

  Sequence ByHalves(const Sequence& x) const {
    const int32_t order = OrderOf(x);
    const std::size_t half = x.size() / 2;
    const Sequence even = Transform(Decimated(x, 0, 2));
    const Sequence odd = Transform(Decimated(x, 1, 2));
    Sequence y(x.size());
    for (std::size_t k = 0; k < half; ++k) {
      const Wide turned = TurnedUnlessFirst(odd[k], order, k);
      y[k] = Rounded(even[k].re + turned.re, even[k].im + turned.im);
      y[k + half] = Rounded(even[k].re - turned.re, even[k].im - turned.im);
    }
    return y;
  }

  Sequence ByQuarters(const Sequence& x) const {
    const int32_t order = OrderOf(x);
    if (order == 0) return x;
    const std::size_t quarter = x.size() / 4;
    Sequence parts[4];
    for (std::size_t i = 0; i < 4; ++i)
      parts[i] = Transform(Decimated(x, i, 4));
    Sequence y(x.size());
    const double sign = isForward_ ? 1.0 : -1.0;
    for (std::size_t k = 0; k < quarter; ++k) {
      const Wide t[4] = {TurnedUnlessFirst(parts[0][k], order, 0),
                         TurnedUnlessFirst(parts[1][k], order, k),
                         TurnedUnlessFirst(parts[2][k], order, 2 * k),
                         TurnedUnlessFirst(parts[3][k], order, 3 * k)};
      const Wide p = {t[0].re + t[2].re, t[0].im + t[2].im};
      const Wide m = {t[0].re - t[2].re, t[0].im - t[2].im};
      const Wide s = {t[1].re + t[3].re, t[1].im + t[3].im};
      const Wide d = {sign * (t[1].im - t[3].im), -sign * (t[1].re - t[3].re)};
      y[k] = Rounded(p.re + s.re, p.im + s.im);
      y[k + quarter] = Rounded(m.re + d.re, m.im + d.im);
      y[k + 2 * quarter] = Rounded(p.re - s.re, p.im - s.im);
      y[k + 3 * quarter] = Rounded(m.re - d.re, m.im - d.im);
    }
    return y;
  }

  Sequence BySplit(const Sequence& x, int32_t split) const {
    const int32_t order = OrderOf(x);
    const std::size_t rowCount = std::size_t{1} << split;
    const std::size_t rowLength = x.size() / rowCount;
    std::vector<Sequence> rows;
    for (std::size_t j = 0; j < rowCount; ++j)
      rows.push_back(Transform(Decimated(x, j, rowCount)));
    Sequence y(x.size());
    for (std::size_t k = 0; k < rowLength; ++k) {
      Sequence column;
      for (std::size_t j = 0; j < rowCount; ++j) {
        const Wide turned = Turned(rows[j][k], order, j * k);
        column.push_back(Rounded(turned.re, turned.im));
      }
      column = Transform(column);
      for (std::size_t q = 0; q < rowCount; ++q)
        y[k + rowLength * q] = column[q];
    }
    return y;
  }

  const primitives::px::SineTable<Element>& roots_;
  int32_t directLimit_;
  std::vector<int32_t> splitByOrder_;
  bool isForward_;
};

}  // namespace zr::test
