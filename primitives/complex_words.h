// Vectors seen as vectors of words, complex ones as pairs of words, where elements are only moved.
#pragma once

#include "primitives/element_access.h"
#include "primitives/element_words.h"
#include "primitives/types.h"

namespace zr::primitives {

template <typename Word>
struct WordPair {
  Word re;
  Word im;
};

template <typename Element>
struct WordsOf {
  using Type = WordOf<Element>;
};
template <>
struct WordsOf<Complex32f> {
  using Type = WordPair<uint32_t>;
};
template <>
struct WordsOf<Complex64f> {
  using Type = WordPair<uint64_t>;
};

/// To be read and written by Load and Store alone, which take any type for bytes.
template <typename Element>
inline const typename WordsOf<Element>::Type* AsWords(const Element* vector) {
  return reinterpret_cast<const typename WordsOf<Element>::Type*>(vector);
}
template <typename Element>
inline typename WordsOf<Element>::Type* AsWords(Element* vector) {
  return reinterpret_cast<typename WordsOf<Element>::Type*>(vector);
}

}  // namespace zr::primitives
