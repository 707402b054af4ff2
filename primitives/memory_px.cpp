// Allocation, copies, fills and reversals, px build: nothing here computes, and all but one
// reversal keeps every bit.
#include <cstring>
#include <limits>

#include "primitives/complex_words.h"
#include "primitives/dispatch/px_entries.h"
#include "primitives/elementwise.h"
#include "primitives/raw_memory.h"
#include "primitives/special_constants.h"

namespace zr::primitives::px {
namespace {

constexpr std::uintptr_t kAlignment = 32;

// The raw block's address stands right below the aligned start, so that the free can find it.
template <typename Element>
Element* Allocate(int32_t length) {
  if (length < 1) return nullptr;
  constexpr uint64_t kOverhead = kAlignment + sizeof(void*);
  const uint64_t byteCount = static_cast<uint64_t>(length) * sizeof(Element) + kOverhead;
  if (byteCount > static_cast<uint64_t>(std::numeric_limits<std::ptrdiff_t>::max())) return nullptr;

  void* const raw = AllocateRawMemory(static_cast<std::size_t>(byteCount));
  if (raw == nullptr) return nullptr;
  const auto rawAddress = reinterpret_cast<std::uintptr_t>(raw);
  const std::uintptr_t offset = ((rawAddress + kOverhead - 1) & ~(kAlignment - 1)) - rawAddress;
  unsigned char* const start = static_cast<unsigned char*>(raw) + offset;
  std::memcpy(start - sizeof(raw), &raw, sizeof(raw));
  return reinterpret_cast<Element*>(start);
}

template <typename Element>
int32_t Copy(const Element* a, Element* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  return CopyElements(a, d, n);
}

template <typename Element>
int32_t Move(const Element* a, Element* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, a, d)) return status;
  // Less than an element above d counts as no distance, as it does where whole elements are counted
  // by a shift.
  const auto distance = reinterpret_cast<std::uintptr_t>(a) - reinterpret_cast<std::uintptr_t>(d);
  if (distance < sizeof(Element)) return kStatusOk;
  std::memmove(d, a, static_cast<std::size_t>(n) * sizeof(Element));
  return kStatusOk;
}

template <typename Element>
int32_t Zero(Element* d, int32_t n) {
  if (const int32_t status = CheckArguments(n, 1, d)) return status;
  std::memset(d, 0, static_cast<std::size_t>(n) * sizeof(Element));
  return kStatusOk;
}

template <typename Element>
int32_t Fill(Element value, Element* d, int32_t n) {
  return ForEachElement([value] { return value; }, d, n);
}

template <typename Element, typename Passage>
int32_t Flip(Element* s, int32_t n, Passage passage) {
  if (const int32_t status = CheckArguments(n, 1, s)) return status;
  for (int32_t low = 0; low < n / 2; ++low) {
    const int32_t high = n - 1 - low;
    const Element fromLow = passage(Load(s, low));
    Store<Element>(s, low, passage(Load(s, high)));
    Store<Element>(s, high, fromLow);
  }
  return kStatusOk;
}

}  // namespace

uint8_t* ippsMalloc_8u(int32_t length) {
  return Allocate<uint8_t>(length);
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
Complex64f* ippsMalloc_64fc(int32_t length) {
  return Allocate<Complex64f>(length);
}

void ippsFree(void* pointer) {
  if (pointer == nullptr) return;
  void* raw = nullptr;
  std::memcpy(&raw, static_cast<unsigned char*>(pointer) - sizeof(raw), sizeof(raw));
  FreeRawMemory(raw);
}

int32_t ippsCopy_16s(const int16_t* a, int16_t* d, int32_t n) {
  return Copy(a, d, n);
}
int32_t ippsCopy_32f(const float* a, float* d, int32_t n) {
  return Copy(a, d, n);
}
int32_t ippsCopy_32fc(const Complex32f* a, Complex32f* d, int32_t n) {
  return Copy(a, d, n);
}

int32_t ippsMove_16s(const int16_t* a, int16_t* d, int32_t n) {
  return Move(a, d, n);
}
int32_t ippsMove_32f(const float* a, float* d, int32_t n) {
  return Move(a, d, n);
}
int32_t ippsMove_64f(const double* a, double* d, int32_t n) {
  return Move(a, d, n);
}
int32_t ippsMove_64fc(const Complex64f* a, Complex64f* d, int32_t n) {
  return Move(a, d, n);
}

int32_t ippsZero_16s(int16_t* d, int32_t n) {
  return Zero(d, n);
}
int32_t ippsZero_32f(float* d, int32_t n) {
  return Zero(d, n);
}
int32_t ippsZero_64f(double* d, int32_t n) {
  return Zero(d, n);
}
int32_t ippsZero_64fc(Complex64f* d, int32_t n) {
  return Zero(d, n);
}

int32_t ippsSet_16s(int16_t value, int16_t* d, int32_t n) {
  return Fill(value, d, n);
}
int32_t ippsSet_32f(float value, float* d, int32_t n) {
  return Fill(LoadWord(&value), AsWords(d), n);
}
int32_t ippsSet_64f(double value, double* d, int32_t n) {
  return Fill(LoadWord(&value), AsWords(d), n);
}
int32_t ippsSet_32fc(float re, float im, Complex32f* d, int32_t n) {
  return Fill({LoadWord(&re), LoadWord(&im)}, AsWords(d), n);
}
int32_t ippsSet_64fc(double re, double im, Complex64f* d, int32_t n) {
  return Fill({LoadWord(&re), LoadWord(&im)}, AsWords(d), n);
}

int32_t ippsFlip_32f_I(float* s, int32_t n) {
  return Flip(AsWords(s), n, [](uint32_t word) { return word; });
}
int32_t ippsFlip_64f_I(double* s, int32_t n) {
  // Adding it changes no double but a signalling NaN, which becomes a quiet one, as by a trip
  // through the registers of the x87. Were its value known, compilers would leave the addition out.
  double negativeZero = -0.0;
  asm("" : "+m"(negativeZero));
  return Flip(s, n, [negativeZero](double x) { return x + negativeZero; });
}

int32_t ippsSwapBytes_16u_I(uint16_t* s, int32_t n) {
  const auto swapped = [](uint16_t word) { return static_cast<uint16_t>(word << 8 | word >> 8); };
  return ForEachElement(swapped, s, n, s);
}

}  // namespace zr::primitives::px
