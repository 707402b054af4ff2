// One signature for all primitives that are measured.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "primitives/types.h"

namespace zr::test {

template <auto Primitive, typename Element>
void OfOne(const Element* x, const Element* /*y*/, Element* result, int32_t n) {
  Primitive(x, result, n);
}

template <auto Primitive, typename Element>
void InPlace(const Element* x, const Element* /*y*/, Element* result, int32_t n) {
  std::copy_n(x, n, result);
  Primitive(result, n);
}

/// Each element by a call of its own.
template <auto Primitive, typename Element>
void Alone(const Element* x, const Element* /*y*/, Element* result, int32_t n) {
  for (int32_t i = 0; i < n; ++i)
    Primitive(x + i, result + i, 1);
}

template <auto Primitive, typename Element>
void OfTwo(const Element* x, const Element* y, Element* result, int32_t n) {
  Primitive(x, y, result, n);
}

template <auto Primitive, typename Complex>
void OfComplex(const decltype(Complex::re)* x, const decltype(Complex::re)* y,
               decltype(Complex::re)* result, int32_t n) {
  std::vector<Complex> numbers(static_cast<std::size_t>(n));
  for (int32_t i = 0; i < n; ++i)
    numbers[i] = {x[i], y[i]};
  Primitive(numbers.data(), result, n);
}

}  // namespace zr::test
