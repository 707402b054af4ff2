// Elements of vectors that may stand at any address, odd ones included.
#pragma once

#include <cstdint>
#include <cstring>

namespace zr::primitives {

// Complex elements part by part: one that is moved as a whole keeps the compiler from moving
// several at once.

template <typename Element>
concept HasParts = requires(Element element) {
  element.re;
  element.im;
};

template <typename Element>
inline Element Load(const Element* vector, int32_t i) {
  if constexpr (HasParts<Element>) {
    const auto* const parts = reinterpret_cast<const decltype(Element::re)*>(vector + i);
    return {Load(parts, 0), Load(parts, 1)};
  } else {
    Element element;
    std::memcpy(&element, vector + i, sizeof(element));
    return element;
  }
}

template <typename Element>
inline void Store(Element* vector, int32_t i, Element element) {
  if constexpr (HasParts<Element>) {
    auto* const parts = reinterpret_cast<decltype(Element::re)*>(vector + i);
    Store(parts, 0, element.re);
    Store(parts, 1, element.im);
  } else {
    std::memcpy(vector + i, &element, sizeof(element));
  }
}

}  // namespace zr::primitives
