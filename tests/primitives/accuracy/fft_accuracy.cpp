// Prints the error of the transforms against the order: relative L2 error over random input, by the
// machine epsilon and the square root of the order.
#include <cstdio>
#include <limits>

#include "primitives/fft/fft.h"
#include "tests/primitives/fft_reference.h"

namespace zr::test {
namespace {

constexpr int32_t kLargestOrder = 20;

template <typename Element>
double InUnits(double error, int32_t order) {
  const double unit = std::numeric_limits<Element>::epsilon() * std::sqrt(order);
  return order == 0 ? error : error / unit;
}

template <typename Complex, typename Transform>
double ComplexError(int32_t order, bool isForward, Transform transform) {
  const auto x = RandomUnitComplex<Complex>(static_cast<uint64_t>(order), std::size_t{1} << order);
  std::vector<Complex> y(x.size());
  const Record<ComplexFft<Complex>> record(order);
  transform(x.data(), y.data(), record.Get(), nullptr);
  const double error = RelativeError(ToExact(y), ExactTransform(ToExact(x), isForward));
  return InUnits<decltype(Complex::re)>(error, order);
}

double RealForwardError(int32_t order) {
  const std::size_t n = std::size_t{1} << order;
  const auto x = RandomUnit<float>(static_cast<uint64_t>(order), n);
  std::vector<Complex32f> y(n / 2 + 1);
  const Record<RealFft> record(order);
  ippsFFTFwd_RToCCS_32f(x.data(), &y[0].re, record.Get(), nullptr);
  std::vector<Exact> expected = ExactTransform({x.begin(), x.end()}, true);
  expected.resize(y.size());
  return InUnits<float>(RelativeError(ToExact(y), expected), order);
}

double RealInverseError(int32_t order) {
  const std::size_t n = std::size_t{1} << order;
  auto half = RandomUnitComplex<Complex32f>(static_cast<uint64_t>(order), n / 2 + 1);
  half.front().im = 0.0F;
  half.back().im = 0.0F;
  std::vector<float> x(n);
  const Record<RealFft> record(order);
  ippsFFTInv_CCSToR_32f(&half[0].re, x.data(), record.Get(), nullptr);
  std::vector<Exact> spectrum = ToExact(half);
  for (std::size_t k = n / 2 + 1; k < n; ++k)
    spectrum.push_back(std::conj(spectrum[n - k]));
  spectrum.resize(n);
  return InUnits<float>(RelativeError({x.begin(), x.end()}, ExactTransform(spectrum, false)),
                        order);
}

// The x87 may run with less than the type holds.
bool IsLongDoubleWide() {
  volatile long double one = 1.0L;
  return one + 0x1p-60L != one;
}

}  // namespace
}  // namespace zr::test

int main() {
  using namespace zr::test;
  if (!IsLongDoubleWide()) {
    std::fprintf(stderr, "long double is no wider than double here: nothing to measure against\n");
    return 1;
  }
  std::printf("       complex float     real float        complex double\n");
  std::printf("order  forward  inverse  forward  inverse  forward\n");
  for (int32_t order = 0; order <= kLargestOrder; ++order) {
    std::printf("%5d %8.3f %8.3f %8.3f %8.3f %8.3f\n", order,
                ComplexError<Complex32f>(order, true, &ippsFFTFwd_CToC_32fc),
                ComplexError<Complex32f>(order, false, &ippsFFTInv_CToC_32fc),
                RealForwardError(order), RealInverseError(order),
                ComplexError<Complex64f>(order, true, &ippsFFTFwd_CToC_64fc));
  }
  return 0;
}
