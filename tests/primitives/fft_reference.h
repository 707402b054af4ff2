// Fourier transforms to measure the library's against, and what a test needs around them.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <vector>

#include "primitives/fft/fft.h"
#include "tests/primitives/extended_precision.h"
#include "tests/primitives/random_elements.h"

namespace zr::test {

using Exact = std::complex<long double>;

/// exp(-2 pi i k / n), or its conjugate.
inline Exact RootOfUnity(int64_t k, int64_t n, bool isForward) {
  const ExtendedPrecision scope;
  const long double turn = 2.0L * std::numbers::pi_v<long double> / static_cast<long double>(n);
  const Exact root = std::polar(1.0L, turn * static_cast<long double>(k % n));
  return isForward ? std::conj(root) : root;
}

/// y = the transform of n numbers, every step-th from x on.
inline void TransformByHalves(const Exact* x, std::size_t step, const std::vector<Exact>& roots,
                              Exact* y, std::size_t n) {
  if (n == 1) {
    *y = *x;
    return;
  }
  const std::size_t half = n / 2;
  TransformByHalves(x, 2 * step, roots, y, half);
  TransformByHalves(x + step, 2 * step, roots, y + half, half);
  for (std::size_t k = 0; k < half; ++k) {
    const Exact turned = y[k + half] * roots[k * step];
    y[k + half] = y[k] - turned;
    y[k] += turned;
  }
}

/// In long double, with every root from the definition.
inline std::vector<Exact> ExactTransform(const std::vector<Exact>& x, bool isForward) {
  const ExtendedPrecision scope;
  const auto n = static_cast<int64_t>(x.size());
  std::vector<Exact> roots;
  for (int64_t k = 0; k < n / 2; ++k)
    roots.push_back(RootOfUnity(k, n, isForward));
  std::vector<Exact> y(x.size());
  TransformByHalves(x.data(), 1, roots, y.data(), x.size());
  return y;
}

/// Of actual against factor * expected: the error's energy by the expected energy, rooted.
inline double RelativeError(const std::vector<Exact>& actual, const std::vector<Exact>& expected,
                            long double factor = 1.0L) {
  const ExtendedPrecision scope;
  long double error = 0.0L;
  long double energy = 0.0L;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    error += std::norm(actual.at(i) / factor - expected[i]);
    energy += std::norm(expected[i]);
  }
  return static_cast<double>(std::sqrt(error / energy));
}

template <typename Complex>
std::vector<Exact> ToExact(const std::vector<Complex>& values) {
  std::vector<Exact> exact;
  exact.reserve(values.size());
  for (const Complex& value : values)
    exact.emplace_back(value.re, value.im);
  return exact;
}

/// In [-1, 1).
template <typename Element>
std::vector<Element> RandomUnit(uint64_t seed, std::size_t count) {
  RandomElements random(seed, false);
  std::vector<Element> values(count);
  for (Element& value : values) {
    const auto integer = static_cast<int64_t>(random.Bits());
    value = static_cast<Element>(std::ldexp(static_cast<double>(integer), -63));
  }
  return values;
}
template <typename Complex>
std::vector<Complex> RandomUnitComplex(uint64_t seed, std::size_t count) {
  const auto parts = RandomUnit<decltype(Complex::re)>(seed, 2 * count);
  std::vector<Complex> values(count);
  std::memcpy(values.data(), parts.data(), count * sizeof(Complex));
  return values;
}

// One name each for the primitives of a kind.

template <typename Complex>
struct ComplexFft;
template <>
struct ComplexFft<Complex32f> {
  using Record = ComplexFft32f;
  static constexpr auto Make = ippsFFTInitAlloc_C_32fc;
  static constexpr auto Free = ippsFFTFree_C_32fc;
  static constexpr auto Forward = ippsFFTFwd_CToC_32fc;
};
template <>
struct ComplexFft<Complex64f> {
  using Record = ComplexFft64f;
  static constexpr auto Make = ippsFFTInitAlloc_C_64fc;
  static constexpr auto Free = ippsFFTFree_C_64fc;
  static constexpr auto Forward = ippsFFTFwd_CToC_64fc;
};
struct RealFft {
  using Record = RealFft32f;
  static constexpr auto Make = ippsFFTInitAlloc_R_32f;
  static constexpr auto Free = ippsFFTFree_R_32f;
};

/// A record for the length of a test, null if the set-up failed.
template <typename Kind>
class Record {
 public:
  explicit Record(int32_t order, int32_t flag = FFT_NODIV_BY_ANY) {
    status_ = Kind::Make(&record_, order, flag, 0);
  }
  ~Record() {
    if (record_ != nullptr) Kind::Free(record_);
  }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  [[nodiscard]] typename Kind::Record* Get() const { return record_; }
  [[nodiscard]] int32_t Status() const { return status_; }

 private:
  typename Kind::Record* record_ = nullptr;
  int32_t status_ = 0;
};

}  // namespace zr::test
