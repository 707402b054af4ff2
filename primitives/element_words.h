// Elements as their words: moved so, no value changes on the way. Through its registers the x87
// would quieten a signalling NaN.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zr::primitives {

/// The integer that is as wide as an element.
template <typename Element>
using WordOf = std::conditional_t<
    sizeof(Element) == 8, uint64_t,
    std::conditional_t<sizeof(Element) == 4, uint32_t,
                       std::conditional_t<sizeof(Element) == 2, uint16_t, uint8_t>>>;

template <typename Element>
inline WordOf<Element> LoadWord(const Element* source) {
  WordOf<Element> word = 0;
  static_assert(sizeof(word) == sizeof(Element));
  std::memcpy(&word, source, sizeof(word));
  return word;
}

template <typename Element>
inline void StoreWord(Element* destination, WordOf<Element> word) {
  std::memcpy(destination, &word, sizeof(word));
}

template <typename Element>
inline constexpr WordOf<Element> kSignBit = WordOf<Element>{1} << (8 * sizeof(Element) - 1);

}  // namespace zr::primitives
