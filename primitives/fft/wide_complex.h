// Complex numbers in registers: doubles on the way from loaded elements to stored ones. Between
// floats no step can leave a double's range or round twice. Between doubles each operation rounds
// to a double's bits and range, in every build.
#pragma once

#include <cstdint>
#include <type_traits>

#include "primitives/element_access.h"
#include "primitives/exact_operations.h"

namespace zr::primitives::px {

/// A real number on its way from and to elements of the type.
template <typename Element>
struct Wide {
  double value;
};

template <typename Element>
inline constexpr bool kIsFloat = std::is_same_v<Element, float>;

template <typename Element>
inline Wide<Element> operator+(Wide<Element> a, Wide<Element> b) {
  if constexpr (kIsFloat<Element>) return {a.value + b.value};
  return {Plus(a.value, b.value)};
}
template <typename Element>
inline Wide<Element> operator-(Wide<Element> a, Wide<Element> b) {
  if constexpr (kIsFloat<Element>) return {a.value - b.value};
  return {Minus(a.value, b.value)};
}
template <typename Element>
inline Wide<Element> operator*(Wide<Element> a, Wide<Element> b) {
  if constexpr (kIsFloat<Element>) return {a.value * b.value};
  return {Times(a.value, b.value)};
}
template <typename Element>
inline Wide<Element> operator-(Wide<Element> a) {
  return {-a.value};
}

template <typename Element>
inline Wide<Element> LoadWide(const Element* elements, int32_t i) {
  return {Load(elements, i)};
}
template <typename Element>
inline void StoreWide(Element* elements, int32_t i, Wide<Element> wide) {
  if constexpr (kIsFloat<Element>) {
    Store(elements, i, RoundToFloat(wide.value));
  } else {
    Store(elements, i, wide.value);
  }
}

template <typename Element>
struct WideComplex {
  Wide<Element> re;
  Wide<Element> im;
};

template <typename Element>
inline WideComplex<Element> operator+(WideComplex<Element> a, WideComplex<Element> b) {
  return {a.re + b.re, a.im + b.im};
}
template <typename Element>
inline WideComplex<Element> operator-(WideComplex<Element> a, WideComplex<Element> b) {
  return {a.re - b.re, a.im - b.im};
}
template <typename Element>
inline WideComplex<Element> operator*(WideComplex<Element> a, Wide<Element> factor) {
  return {a.re * factor, a.im * factor};
}

/// Number i of a vector whose complex numbers are two elements each.
template <typename Element>
inline WideComplex<Element> LoadComplex(const Element* z, int32_t i) {
  return {LoadWide(z, 2 * i), LoadWide(z, 2 * i + 1)};
}
template <typename Element>
inline void StoreComplex(Element* z, int32_t i, WideComplex<Element> wide) {
  StoreWide(z, 2 * i, wide.re);
  StoreWide(z, 2 * i + 1, wide.im);
}

enum class Direction { kForward, kInverse };

/// a times -i forward, a times i inverse.
template <Direction kDirection, typename Element>
inline WideComplex<Element> QuarterTurn(WideComplex<Element> a) {
  if constexpr (kDirection == Direction::kForward) return {a.im, -a.re};
  return {-a.im, a.re};
}

/// a times w forward, a times the conjugate of w inverse. Tables hold the roots of the forward
/// transform.
template <Direction kDirection, typename Element>
inline WideComplex<Element> Turn(WideComplex<Element> a, WideComplex<Element> w) {
  if constexpr (kDirection == Direction::kForward) {
    return {a.re * w.re - a.im * w.im, a.re * w.im + a.im * w.re};
  }
  return Turn<Direction::kForward>(a, WideComplex<Element>{w.re, -w.im});
}

}  // namespace zr::primitives::px
