// Complex numbers that are only moved, as words: no value changes on the way.
#pragma once

#include <cstdint>
#include <type_traits>

#include "primitives/complex_words.h"

namespace zr::primitives::px {

/// One complex number of two elements, in the fewest words.
template <typename Element>
using ComplexWords =
    std::conditional_t<std::is_same_v<Element, float>, uint64_t, WordPair<uint64_t>>;

/// A vector of elements, two for each number, seen as numbers. To be read and written by Load and
/// Store alone.
template <typename Element>
inline const ComplexWords<Element>* AsComplexWords(const Element* elements) {
  return reinterpret_cast<const ComplexWords<Element>*>(elements);
}
template <typename Element>
inline ComplexWords<Element>* AsComplexWords(Element* elements) {
  return reinterpret_cast<ComplexWords<Element>*>(elements);
}

}  // namespace zr::primitives::px
