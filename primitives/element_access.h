// Elements of vectors that may stand at any address, odd ones included.
#pragma once

#include <cstdint>
#include <cstring>

namespace zr::primitives {

template <typename Element>
inline Element Load(const Element* vector, int32_t i) {
  Element element;
  std::memcpy(&element, vector + i, sizeof(element));
  return element;
}

template <typename Element>
inline void Store(Element* vector, int32_t i, Element element) {
  std::memcpy(vector + i, &element, sizeof(element));
}

}  // namespace zr::primitives
