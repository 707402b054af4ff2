// Vectors seen as vectors of words, complex ones as pairs of words, where elements are only moved.
#pragma once

#include <type_traits>

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

// Word by word: a pair that is moved as a whole keeps the compiler from moving several at once.

template <typename Word>
inline WordPair<Word> Load(const WordPair<Word>* vector, int32_t i) {
  const Word* const parts = reinterpret_cast<const Word*>(vector + i);
  return {Load(parts, 0), Load(parts, 1)};
}

template <typename Pair>
requires std::is_same_v<Pair, WordPair<decltype(Pair::re)>>
inline void Store(Pair* vector, int32_t i, Pair pair) {
  auto* const parts = reinterpret_cast<decltype(Pair::re)*>(vector + i);
  Store(parts, 0, pair.re);
  Store(parts, 1, pair.im);
}

}  // namespace zr::primitives
