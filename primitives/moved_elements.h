// Elements on their way from vector to vector, compared as numbers and moved bit by bit.
#pragma once

#include <cfloat>
#include <type_traits>

#include "primitives/element_words.h"

namespace zr::primitives {

/// What an element is moved as: itself, but on the x87 its word. std::bit_cast<Element> gives the
/// number.
template <typename Element>
using Moved = std::conditional_t<FLT_EVAL_METHOD == 0, Element, WordOf<Element>>;

/// One at any address. Where std::memcpy moves a float, the compiler loads it twice, as a word and
/// as a number, and misses the processor's own maximum of two numbers.
template <typename Element>
struct Anywhere {
  Moved<Element> element;
} __attribute__((packed, may_alias));

/// By address: on the x87 a copy of a float may have gone through the registers already.
template <typename Element>
inline Moved<Element> LoadMoved(const Element* source) {
  return reinterpret_cast<const Anywhere<Element>*>(source)->element;
}

template <typename Element>
inline void StoreMoved(Element* destination, Moved<Element> moved) {
  reinterpret_cast<Anywhere<Element>*>(destination)->element = moved;
}

}  // namespace zr::primitives
