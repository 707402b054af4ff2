// Recombination, px build. Numbers k and h - k make each other, so that a pass in place does both
// at once.
#include "primitives/fft/recombination.h"

#include "primitives/fft/wide_complex.h"

namespace zr::primitives::px {

void FFTRecombine(float* z, int32_t h, const float* table) {
  for (int32_t k = 1; 2 * k < h; ++k) {
    const auto a = LoadComplex(z, k);
    const auto b = LoadComplex(z, h - k);
    const auto row = LoadComplex(table, k);
    const auto e = a.re - b.re;
    const auto f = a.im + b.im;
    const auto t = row.im * e + row.re * f;
    const auto u = row.im * f - row.re * e;
    StoreComplex(z, k, {b.re + t, u - b.im});
    StoreComplex(z, h - k, {a.re - t, u - a.im});
  }
  StoreWide(z, h + 1, -LoadWide(z, h + 1));
}

void FFTDecombine(const float* source, float* destination, int32_t h, const float* table) {
  for (int32_t k = 1; 2 * k < h; ++k) {
    const auto a = LoadComplex(source, k);
    const auto b = LoadComplex(source, h - k);
    const auto row = LoadComplex(table, k);
    const auto e = a.re - b.re;
    const auto f = a.im + b.im;
    const WideComplex<float> sums = {a.re + b.re, a.im - b.im};
    const auto turned =
        Turn<Direction::kForward>(WideComplex<float>{e, f}, WideComplex<float>{row.im, row.re});
    StoreComplex(destination, k, sums + turned);
    StoreComplex(destination, h - k, {sums.re - turned.re, turned.im - sums.im});
  }
  const auto middle = LoadComplex(source, h / 2);
  StoreComplex(destination, h / 2, {middle.re + middle.re, -(middle.im + middle.im)});
}

}  // namespace zr::primitives::px
