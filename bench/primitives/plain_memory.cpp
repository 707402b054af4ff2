// Plain loops of the moves, fills and reversals and of the random numbers; allocation by the
// language's own operators.
#include <algorithm>
#include <new>
#include <utility>

#include "bench/primitives/plain.h"

namespace zr::bench::plain {
namespace {

template <typename Real>
void FillUniform(Real* d, int32_t n, double low, double high, uint32_t* seed) {
  const double scale = (high - low) * 2.3283064365387e-10;
  const double middle = (low + high) * 0.5;
  uint32_t x1 = *seed;
  uint32_t x2 = x1 * 69069 + 1013904243;
  uint32_t x3 = x2 * 69069 + 1013904243;
  uint32_t borrow = 1;
  uint32_t linear = 1131199209;
  for (int32_t i = 0; i < n; ++i) {
    linear = linear * 69069 + 1013904243;
    const uint32_t difference = x2 - x3 - borrow;
    borrow = difference >> 31;
    x3 = x2;
    x2 = x1;
    x1 = difference - 18 * borrow;
    d[i] = static_cast<Real>(static_cast<int32_t>(x1 + linear) * scale + middle);
  }
  *seed = x1;
}

constexpr std::align_val_t kAlignment{32};

template <typename Element>
Element* Allocate(int32_t length) {
  return static_cast<Element*>(
      ::operator new(static_cast<std::size_t>(length) * sizeof(Element), kAlignment, std::nothrow));
}

}  // namespace

PLAIN_LOOP(ippsCopy_16s, (const int16_t* a, int16_t* d, int32_t n), d[i] = a[i])
PLAIN_LOOP(ippsCopy_32f, (const float* a, float* d, int32_t n), d[i] = a[i])
PLAIN_LOOP(ippsCopy_32fc, (const Complex32f* a, Complex32f* d, int32_t n), d[i] = a[i])

// Overlap allowed: backward where the destination is above.
#define PLAIN_MOVE(name, Element)                         \
  int32_t name(const Element* a, Element* d, int32_t n) { \
    if (d < a) {                                          \
      std::copy(a, a + n, d);                             \
    } else {                                              \
      std::copy_backward(a, a + n, d + n);                \
    }                                                     \
    return 0;                                             \
  }
PLAIN_MOVE(ippsMove_16s, int16_t)
PLAIN_MOVE(ippsMove_32f, float)
PLAIN_MOVE(ippsMove_64f, double)
PLAIN_MOVE(ippsMove_64fc, Complex64f)

PLAIN_LOOP(ippsZero_16s, (int16_t * d, int32_t n), d[i] = 0)
PLAIN_LOOP(ippsZero_32f, (float* d, int32_t n), d[i] = 0)
PLAIN_LOOP(ippsZero_64f, (double* d, int32_t n), d[i] = 0)
PLAIN_LOOP(ippsZero_32fc, (Complex32f * d, int32_t n), d[i] = {0, 0})
PLAIN_LOOP(ippsZero_64fc, (Complex64f * d, int32_t n), d[i] = {0, 0})

PLAIN_LOOP(ippsSet_16s, (int16_t value, int16_t* d, int32_t n), d[i] = value)
PLAIN_LOOP(ippsSet_32f, (float value, float* d, int32_t n), d[i] = value)
PLAIN_LOOP(ippsSet_64f, (double value, double* d, int32_t n), d[i] = value)
PLAIN_LOOP(ippsSet_32fc, (float re, float im, Complex32f* d, int32_t n), d[i] = {re, im})
PLAIN_LOOP(ippsSet_64fc, (double re, double im, Complex64f* d, int32_t n), d[i] = {re, im})

int32_t ippsFlip_32f_I(float* s, int32_t n) {
  for (int32_t i = 0; i < n / 2; ++i) {
    std::swap(s[i], s[n - 1 - i]);
  }
  return 0;
}
int32_t ippsFlip_64f_I(double* s, int32_t n) {
  // Quietens signalling NaNs. Were it known, compilers would not add it.
  double negativeZero = -0.0;
  asm("" : "+m"(negativeZero));
  for (int32_t i = 0; i < n / 2; ++i) {
    const double low = s[i] + negativeZero;
    s[i] = s[n - 1 - i] + negativeZero;
    s[n - 1 - i] = low;
  }
  return 0;
}

PLAIN_LOOP(ippsSwapBytes_16u_I, (uint16_t * s, int32_t n),
           s[i] = static_cast<uint16_t>(s[i] << 8 | s[i] >> 8))

int32_t ippsRandUniform_Direct_32f(float* d, int32_t n, float low, float high, uint32_t* seed) {
  FillUniform(d, n, low, high, seed);
  return 0;
}
int32_t ippsRandUniform_Direct_64f(double* d, int32_t n, double low, double high, uint32_t* seed) {
  FillUniform(d, n, low, high, seed);
  return 0;
}

uint8_t* ippsMalloc_8u(int32_t length) {
  return Allocate<uint8_t>(length);
}
int8_t* ippsMalloc_8s(int32_t length) {
  return Allocate<int8_t>(length);
}
int16_t* ippsMalloc_16s(int32_t length) {
  return Allocate<int16_t>(length);
}
float* ippsMalloc_32f(int32_t length) {
  return Allocate<float>(length);
}
double* ippsMalloc_64f(int32_t length) {
  return Allocate<double>(length);
}
Complex32f* ippsMalloc_32fc(int32_t length) {
  return Allocate<Complex32f>(length);
}
Complex64f* ippsMalloc_64fc(int32_t length) {
  return Allocate<Complex64f>(length);
}
void ippsFree(void* pointer) {
  ::operator delete(pointer, kAlignment);
}

}  // namespace zr::bench::plain
