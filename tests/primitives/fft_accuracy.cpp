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

template <typename Complex>
double ComplexError(int32_t order) {
  using Kind = ComplexFft<Complex>;
  const auto x = RandomUnitComplex<Complex>(static_cast<uint64_t>(order), std::size_t{1} << order);
  std::vector<Complex> y(x.size());
  const Record<Kind> record(order);
  Kind::Forward(x.data(), y.data(), record.Get(), nullptr);
  return InUnits<decltype(Complex::re)>(RelativeError(ToExact(y), ExactTransform(ToExact(x), true)),
                                        order);
}

double RealError(int32_t order) {
  const std::size_t n = std::size_t{1} << order;
  const auto x = RandomUnit<float>(static_cast<uint64_t>(order), n);
  std::vector<Complex32f> y(n / 2 + 1);
  const Record<RealFft> record(order);
  ippsFFTFwd_RToCCS_32f(x.data(), &y[0].re, record.Get(), nullptr);
  std::vector<Exact> expected = ExactTransform({x.begin(), x.end()}, true);
  expected.resize(y.size());
  return InUnits<float>(RelativeError(ToExact(y), expected), order);
}

}  // namespace
}  // namespace zr::test

int main() {
  if (!zr::test::IsLongDoubleWide()) {
    std::fprintf(stderr, "long double is no wider than double here: nothing to measure against\n");
    return 1;
  }
  std::printf("order  complex float  real float  complex double\n");
  for (int32_t order = 0; order <= zr::test::kLargestOrder; ++order) {
    std::printf("%5d %14.3f %11.3f %15.3f\n", order, zr::test::ComplexError<Complex32f>(order),
                zr::test::RealError(order), zr::test::ComplexError<Complex64f>(order));
  }
  return 0;
}
