// The packed forms of the spectrum of N real points, and the ways from and to Perm, which the
// transforms work on. Elements are moved as they are.
#pragma once

#include <cstdint>
#include <cstring>

#include "primitives/element_words.h"

namespace zr::primitives::px {

enum class PackedForm { kCcs, kPerm, kPack };

inline void CopyFloat(const float* from, float* to) {
  StoreWord(to, LoadWord(from));
}
inline void MoveFloats(const float* from, float* to, int32_t count) {
  std::memmove(to, from, static_cast<std::size_t>(count) * sizeof(float));
}

/// From Perm, in place.
template <PackedForm kForm>
inline void PackFromPerm(float* spectrum, int32_t n) {
  if constexpr (kForm == PackedForm::kCcs) {
    if (n > 1) {
      CopyFloat(spectrum + 1, spectrum + n);
      StoreWord(spectrum + n + 1, 0);
    }
    StoreWord(spectrum + 1, 0);
  } else if constexpr (kForm == PackedForm::kPack) {
    if (n < 3) return;
    const auto middle = LoadWord(spectrum + 1);
    MoveFloats(spectrum + 2, spectrum + 1, n - 2);
    StoreWord(spectrum + n - 1, middle);
  }
}

/// To Perm. destination may be source.
template <PackedForm kForm>
inline void UnpackToPerm(const float* source, float* destination, int32_t n) {
  static_assert(kForm != PackedForm::kPerm);
  constexpr int32_t kThird = kForm == PackedForm::kPack ? 1 : 2;
  const int32_t middlePlace = kForm == PackedForm::kPack ? n - 1 : n;
  if (n > 1) {
    const auto middle = LoadWord(source + middlePlace);
    MoveFloats(source + kThird, destination + 2, n - 2);
    StoreWord(destination + 1, middle);
  }
  CopyFloat(source, destination);
}

}  // namespace zr::primitives::px
